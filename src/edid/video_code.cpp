#include "edid/video_code.h"

#include <stdio.h>

#include "edid/standard_tables.h"

namespace zvg::edid {
namespace {

// What the ranges of codes mean, in order; a code belongs to the first range that it does not
// exceed.
enum class Kind { reserved, not_native, native, native_low };
struct CodeRange {
  uint8_t last;
  Kind kind;
};
constexpr CodeRange code_ranges[] = {
    {0, Kind::reserved},   {64, Kind::not_native},
    {127, Kind::native},  // reported as native although these codes have no native flag
    {128, Kind::reserved}, {192, Kind::native_low},  // bit 7 is the native flag of formats 1 to 64
    {253, Kind::native},   {255, Kind::reserved},
};

constexpr uint8_t low_code_mask = 0x7F;

constexpr VideoFormat unknown_format = {"Unknown", 0, 0, aspect_none};

Kind kind_of(uint8_t code) {
  const CodeRange* range = code_ranges;
  while (code > range->last) ++range;
  return range->kind;
}

void print_picture_aspect(uint32_t aspect) {
  constexpr const char* lines[] = {
      "\tPicture Aspect Ratio: Error!",  "\tPicture Aspect Ratio: 4:3",
      "\tPicture Aspect Ratio: 16:9",    "\tPicture Aspect Ratio: 64:27",
      "\tPicture Aspect Ratio: 256:135",
  };
  puts(lines[aspect <= aspect_256_135 ? aspect : aspect_none]);
}

}  // namespace

void print_video_code(uint8_t code) {
  const Kind kind = kind_of(code);
  if (kind == Kind::reserved) {
    puts("\tThe VIC is reserved for the future");
    return;
  }
  puts(kind == Kind::not_native ? "\tNative Format:\tnot-native" : "\tNative Format:\tnative");
  const int row = kind == Kind::native_low ? code & low_code_mask : code;
  const VideoFormat& format = row < video_format_count ? video_formats[row] : unknown_format;
  printf("\t\tVideo Descriptor: Index[%d]\tFormats:%s\tFiled Rate:%d", row, format.name,
         static_cast<int>(format.field_rate_hz));
  print_picture_aspect(format.aspect);
}

}  // namespace zvg::edid
