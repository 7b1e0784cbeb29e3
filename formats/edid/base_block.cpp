#include "formats/edid/base_block.h"

#include <stddef.h>

#include "formats/bytes.h"

namespace zvg::formats::edid {

namespace {

// Offsets in the base block.
enum Offset : size_t {
  manufacturer = 0x08,   // three 5-bit letters, high byte first
  product_code = 0x0A,   // 16 bits
  serial_number = 0x0C,  // 32 bits
  week = 0x10,
  year = 0x11,  // since 1990
  version = 0x12,
  revision = 0x13,
  video_input = 0x14,
  width_cm = 0x15,
  height_cm = 0x16,
  gamma = 0x17,  // (gamma - 1) * 100
  features = 0x18,
  chroma_low_rg = 0x19,     // bits 1:0 of the red and green coordinates
  chroma_low_bw = 0x1A,     // bits 1:0 of the blue and white coordinates
  chroma_high = 0x1B,       // eight bytes: bits 9:2, red x first
  established = 0x23,       // three bytes, of which the last has one bit of the field
  standard_timings = 0x26,  // eight pairs
  timing_blocks = 0x36,     // four of 18 bytes
  extension_count = 0x7E,
};

constexpr bool has(uint8_t byte, uint8_t mask) {
  return (byte & mask) != 0;
}

std::optional<double> parse_gamma(uint8_t code) {
  constexpr uint8_t in_extension = 255;
  if (code == in_extension) return std::nullopt;
  return (code + 100) / 100.0;
}

}  // namespace

Identification parse_identification(const uint8_t* edid) {
  constexpr int first_year = 1990;
  // Five bits a letter, and the top bit unused.
  const int letters = edid[manufacturer] << 8 | edid[manufacturer + 1];
  const auto letter = [letters](int lowest_bit) {
    return static_cast<uint8_t>((letters >> lowest_bit) & 0x1F);
  };
  return {.manufacturer = {letter(10), letter(5), letter(0)},
          .product = u16(edid + product_code),
          .serial = u32(edid + serial_number),
          .week = edid[week],
          .year = edid[year] + first_year,
          .version = edid[version],
          .revision = edid[revision]};
}

VideoInput parse_video_input(const uint8_t* edid) {
  const uint8_t input = edid[video_input];
  constexpr uint8_t digital = 0x80;
  if (has(input, digital)) {
    return DigitalInput{.color_depth = static_cast<uint8_t>((input >> 4) & 7),
                        .interface_standard = static_cast<uint8_t>(input & 15)};
  }
  return AnalogInput{.signal_level = static_cast<uint8_t>((input >> 5) & 3),
                     .setup_expected = has(input, 0x10),
                     .separate_sync = has(input, 0x08),
                     .composite_sync = has(input, 0x04),
                     .sync_on_green = has(input, 0x02),
                     .serration = has(input, 0x01)};
}

Features parse_features(const uint8_t* edid) {
  const uint8_t byte = edid[features];
  return {.standby = has(byte, 0x80),
          .suspend = has(byte, 0x40),
          .active_off = has(byte, 0x20),
          .color = static_cast<uint8_t>((byte >> 3) & 3),
          .srgb_default = has(byte, 0x04),
          .preferred_is_native = has(byte, 0x02),
          .continuous_frequency = has(byte, 0x01)};
}

Chromaticity parse_chromaticity(const uint8_t* edid) {
  const uint8_t* const high = edid + chroma_high;
  // Eight codes, two low bits each, red x in the upper bits of the first byte.
  const auto code = [&](size_t i) {
    const uint8_t low = edid[i < 4 ? chroma_low_rg : chroma_low_bw];
    return high[i] * 4 + ((low >> (6 - 2 * (i % 4))) & 3);
  };
  return {.red = {code(0), code(1)},
          .green = {code(2), code(3)},
          .blue = {code(4), code(5)},
          .white = {code(6), code(7)}};
}

uint8_t parse_extension_count(const uint8_t* edid) {
  return edid[extension_count];
}

BaseBlock parse_base_block(const uint8_t* edid) {
  BaseBlock base = {.identification = parse_identification(edid),
                    .video_input = parse_video_input(edid),
                    .width_cm = edid[width_cm],
                    .height_cm = edid[height_cm],
                    .gamma = parse_gamma(edid[gamma]),
                    .features = parse_features(edid),
                    .chromaticity = parse_chromaticity(edid),
                    .established = {},
                    .standard_timings = {},
                    .timing_blocks = {},
                    .extension_count = parse_extension_count(edid)};
  // E-EDID 1.4, 3.8: the two bytes low byte first, and the top bit of the third.
  const uint8_t* const bits = edid + established;
  const int supported = u16(bits) | (bits[2] >> 7) << 16;
  for (size_t i = 0; i < base.established.size(); ++i) {
    base.established[i] = ((supported >> i) & 1) != 0;
  }
  const int edid_revision = base.identification.revision;
  for (size_t i = 0; i < base.standard_timings.size(); ++i) {
    base.standard_timings[i] =
        parse_standard_timing(edid + standard_timings + 2 * i, edid_revision);
  }
  for (size_t i = 0; i < base.timing_blocks.size(); ++i) {
    base.timing_blocks[i] =
        parse_timing_block(edid + timing_blocks + i * descriptor_size, edid_revision);
  }
  return base;
}

}  // namespace zvg::formats::edid
