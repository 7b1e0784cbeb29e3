#include "formats/edid/video_code.h"

namespace zvg::formats::edid {

namespace {

// What the ranges of codes mean, in order; a code belongs to the first range that it does not
// exceed.
enum class Range { reserved, plain, native, without_flag };
struct CodeRange {
  uint8_t last;
  Range range;
};
constexpr CodeRange code_ranges[] = {
    {0, Range::reserved},
    {64, Range::plain},
    {127, Range::without_flag},
    {128, Range::reserved},
    {192, Range::native},  // bit 7 is the native flag of formats 1 to
                           // 64
    {253, Range::without_flag},
    {255, Range::reserved},
};

Range range_of(uint8_t code) {
  const CodeRange* row = code_ranges;
  while (code > row->last) ++row;
  return row->range;
}

}  // namespace

VideoCode parse_video_code(uint8_t code) {
  constexpr uint8_t number_mask = 0x7F;
  using Native = VideoCode::Native;
  const Range range = range_of(code);
  if (range == Range::reserved) return {true, Native::untold, code, nullptr};
  const int number = range == Range::native ? code & number_mask : code;
  const Native native = range == Range::plain    ? Native::no
                        : range == Range::native ? Native::yes
                                                 : Native::untold;
  return {false, native, number, number < video_format_count ? &video_formats[number] : nullptr};
}

}  // namespace zvg::formats::edid
