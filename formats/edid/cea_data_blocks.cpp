#include "formats/edid/cea_data_blocks.h"

#include <stddef.h>

#include <algorithm>

namespace zvg::formats::edid {

namespace {

// Bits 7:5 of the header byte; the tag that follows `extended` is the next byte.
enum Tag : uint8_t {
  audio_tag = 1,
  video_tag = 2,
  vendor_tag = 3,
  speakers_tag = 4,
  transfer_characteristic_tag = 5,
  extended_tag = 7,
};

constexpr int any = data_block_max_length;  // as a maximum

// The kinds by tag; those of tag 7 by the tag that follows it.
struct Row {
  uint8_t tag;
  DataBlockKind kind;
  int min_length;
  int max_length;
};
using enum DataBlockKind;
constexpr Row kinds[] = {
    {audio_tag, audio, 0, any},
    {video_tag, video, 0, any},
    {vendor_tag, vendor, 0, any},
    {speakers_tag, speakers, 0, any},
    {transfer_characteristic_tag, transfer_characteristic, 0, any},
};
constexpr Row extended_kinds[] = {
    {0, video_capability, 2, 2},
    {1, vendor_video, 5, any},
    {5, colorimetry, 3, 3},
    {6, hdr_static_metadata, 1, any},
    {13, video_format_preference, 1, any},
    {14, ycbcr420_video, 1, any},
    {15, ycbcr420_capability_map, 1, any},
    {17, vendor_audio, 5, any},
    {32, infoframe, 8, any},
};

DataBlockKind find(std::span<const Row> rows, uint8_t tag, int length) {
  for (const Row& row : rows) {
    if (row.tag != tag) continue;
    return length >= row.min_length && length <= row.max_length ? row.kind : unknown;
  }
  return unknown;
}

// Offsets in an HDMI block.
enum HdmiOffset : int {
  hdmi_address = 4,
  hdmi_deep_color = 6,
  hdmi_max_tmds_clock = 7,
  hdmi_presence = 8,
  hdmi_first_latency = 9,
  hdmi_three_d = 13,
  hdmi_list_lengths = 14,
  hdmi_lists = 15,
};

HdmiDeepColor parse_deep_color(uint8_t byte) {
  const auto has = [byte](uint8_t mask) { return (byte & mask) != 0; };
  return {.supports_ai = has(0x80),
          .bits_48 = has(0x40),
          .bits_36 = has(0x20),
          .bits_30 = has(0x10),
          .ycbcr_444 = has(0x08),
          .dvi_dual = has(0x01)};
}

}  // namespace

std::span<const uint8_t> DataBlock::payload() const {
  const bool extended = bytes[0] >> 5 == extended_tag;
  const std::span<const uint8_t> behind_header(bytes + 1, static_cast<size_t>(length));
  return extended && length > 0 ? behind_header.subspan(1) : behind_header;
}

DataBlock parse_data_block(const uint8_t* bytes) {
  const auto tag = static_cast<uint8_t>(bytes[0] >> 5);
  const int length = bytes[0] & data_block_max_length;
  const DataBlockKind kind =
      tag == extended_tag ? find(extended_kinds, bytes[1], length) : find(kinds, tag, length);
  return {kind, length, bytes};
}

std::optional<int> audio_descriptor_count(const DataBlock& block) {
  constexpr int descriptor_size = 3;
  if (block.length % descriptor_size != 0) return std::nullopt;
  return block.length / descriptor_size;
}

uint32_t vendor_identifier(const DataBlock& block) {
  return static_cast<uint32_t>(block.bytes[1] | block.bytes[2] << 8 | block.bytes[3] << 16);
}

HdmiBlock parse_hdmi_block(const DataBlock& block) {
  constexpr int tmds_clock_unit_mhz = 5;
  const uint8_t* const b = block.bytes;
  const auto is_there = [&](int offset) { return offset <= block.length; };
  const auto byte = [&](int offset) {
    return is_there(offset) ? std::optional(b[offset]) : std::nullopt;
  };
  // Up to the block's end, or an offset before it.
  const auto bytes_from = [&](int first, int end) {
    const int stop = std::min(end, block.length + 1);
    return std::span(b + first, static_cast<size_t>(std::max(stop - first, 0)));
  };
  HdmiBlock hdmi = {};
  for (size_t i = 0; i < 4; ++i) {
    const uint8_t pair = b[hdmi_address + i / 2];
    hdmi.physical_address[i] = i % 2 == 0 ? pair >> 4 : pair & 0x0F;
  }
  if (is_there(hdmi_deep_color)) hdmi.deep_color = parse_deep_color(b[hdmi_deep_color]);
  if (is_there(hdmi_max_tmds_clock)) {
    hdmi.max_tmds_clock_mhz = b[hdmi_max_tmds_clock] * tmds_clock_unit_mhz;
  }
  hdmi.presence = byte(hdmi_presence);
  hdmi.latencies = bytes_from(hdmi_first_latency, hdmi_three_d);
  hdmi.three_d = byte(hdmi_three_d);
  hdmi.list_lengths = byte(hdmi_list_lengths);
  hdmi.lists = bytes_from(hdmi_lists, data_block_max_size);
  return hdmi;
}

Colorimetry parse_colorimetry(const DataBlock& block) {
  const uint8_t byte = block.bytes[2];
  const auto has = [byte](uint8_t mask) { return (byte & mask) != 0; };
  return {.xvycc_601 = has(0x80),
          .xvycc_709 = has(0x40),
          .sycc_601 = has(0x20),
          .adobe_ycc_601 = has(0x10),
          .adobe_rgb = has(0x08),
          .bt2020_rgb = has(0x04),
          .bt2020_ycc = has(0x02),
          .bt2020_cycc = has(0x01),
          .metadata = block.bytes[3]};
}

VideoCapability parse_video_capability(uint8_t flags) {
  return {.ycc_quantization_selectable = (flags & 0x80) != 0,
          .rgb_quantization_selectable = (flags & 0x40) != 0,
          .preferred_scan = static_cast<uint8_t>((flags >> 4) & 3),
          .it_scan = static_cast<uint8_t>((flags >> 2) & 3),
          .ce_scan = static_cast<uint8_t>(flags & 3)};
}

int ycbcr420_map_size(const DataBlock& block) {
  return 8 * (block.length - 1);
}

bool in_ycbcr420_map(const DataBlock& block, int descriptor) {
  constexpr int first_byte = 2;
  return ((block.bytes[first_byte + descriptor / 8] >> (descriptor % 8)) & 1) != 0;
}

}  // namespace zvg::formats::edid
