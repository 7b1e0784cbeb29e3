#include "formats/edid/timing_block.h"

#include <stddef.h>
#include <string.h>

#include <algorithm>

#include "formats/bytes.h"

namespace zvg::formats::edid {

namespace {

constexpr size_t tag_at = 3;
constexpr size_t payload_at = 5;  // byte 4 belongs to the range limits alone

enum Tag : uint8_t {
  established_timings_3_tag = 0xF7,
  cvt_codes_tag = 0xF8,
  color_management_tag = 0xF9,
  standard_timings_tag = 0xFA,
  color_points_tag = 0xFB,
  product_name_tag = 0xFC,
  range_limits_tag = 0xFD,
  data_string_tag = 0xFE,
  product_serial_tag = 0xFF,
};

EstablishedTimings3 parse_established_timings_3(const uint8_t* d) {
  constexpr size_t first_byte = 6;
  EstablishedTimings3 timings;
  // The last four bits of the field are beyond the table and mean nothing.
  for (size_t i = 0; i < timings.supported.size(); ++i) {
    timings.supported[i] = ((d[first_byte + i / 8] >> (7 - i % 8)) & 1) != 0;
  }
  return timings;
}

StandardTimings parse_standard_timings(const uint8_t* payload, int revision) {
  StandardTimings list;
  for (size_t i = 0; i < list.timings.size(); ++i) {
    list.timings[i] = parse_standard_timing(payload + 2 * i, revision);
  }
  return list;
}

ColorPoint parse_color_point(const uint8_t* entry) {
  constexpr uint8_t no_gamma = 255;
  ColorPoint point = {
      .index = entry[0],
      .white = {entry[2] * 4 + ((entry[1] >> 2) & 3), entry[3] * 4 + (entry[1] & 3)},
      .reserved = static_cast<uint8_t>(entry[1] >> 4),
      .gamma = {}};
  if (entry[4] != no_gamma) point.gamma = (entry[4] + 100) / 100.0;
  return point;
}

ColorPoints parse_color_points(const uint8_t* payload) {
  constexpr size_t entry_size = 5;
  return {{parse_color_point(payload), parse_color_point(payload + entry_size)}};
}

template <typename Text>
Text parse_text(const uint8_t* payload) {
  Text text;
  memcpy(text.characters.data(), payload, text.characters.size());
  return text;
}

}  // namespace

std::string_view DescriptorText::text() const {
  const auto end = std::find(characters.begin(), characters.end(), '\n');
  return {characters.data(), static_cast<size_t>(end - characters.begin())};
}

TimingBlock parse_timing_block(const uint8_t* bytes, int revision) {
  const bool has_pixel_clock = u16(bytes) != 0;
  if (has_pixel_clock) return parse_detailed_timing(bytes);
  const uint8_t* const payload = bytes + payload_at;
  switch (const uint8_t tag = bytes[tag_at]) {
    case established_timings_3_tag:
      return parse_established_timings_3(bytes);
    case cvt_codes_tag:
      return CvtCodes{};
    case color_management_tag:
      return ColorManagement{};
    case standard_timings_tag:
      return parse_standard_timings(payload, revision);
    case color_points_tag:
      return parse_color_points(payload);
    case product_name_tag:
      return parse_text<ProductName>(payload);
    case range_limits_tag:
      return parse_range_limits(bytes);
    case data_string_tag:
      return parse_text<DataString>(payload);
    case product_serial_tag:
      return parse_text<ProductSerial>(payload);
    default:
      return UndefinedDescriptor{tag};
  }
}

}  // namespace zvg::formats::edid
