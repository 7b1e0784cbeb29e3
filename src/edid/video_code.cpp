#include "edid/video_code.h"

#include <stdio.h>

#include "formats/edid/video_code.h"

namespace zvg::edid {
namespace {

using namespace formats::edid;

constexpr VideoFormat unknown_format = {"Unknown", 0, PictureAspect::none};

void print_picture_aspect(PictureAspect aspect) {
  constexpr const char* lines[] = {
      "\tPicture Aspect Ratio: Error!",  "\tPicture Aspect Ratio: 4:3",
      "\tPicture Aspect Ratio: 16:9",    "\tPicture Aspect Ratio: 64:27",
      "\tPicture Aspect Ratio: 256:135",
  };
  puts(lines[static_cast<size_t>(aspect)]);
}

}  // namespace

void print_video_code(uint8_t byte) {
  const VideoCode code = parse_video_code(byte);
  if (code.reserved) {
    puts("\tThe VIC is reserved for the future");
    return;
  }
  // Codes that cannot tell are reported as native.
  puts(code.native == VideoCode::Native::no ? "\tNative Format:\tnot-native"
                                            : "\tNative Format:\tnative");
  const VideoFormat& format = code.format != nullptr ? *code.format : unknown_format;
  printf("\t\tVideo Descriptor: Index[%d]\tFormats:%s\tFiled Rate:%d", code.number, format.name,
         format.field_rate_hz);
  print_picture_aspect(format.aspect);
}

}  // namespace zvg::edid
