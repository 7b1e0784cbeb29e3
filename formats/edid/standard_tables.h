// Tables of the display standards that an EDID refers to by bit or code number.
#ifndef ZVG_FORMATS_EDID_STANDARD_TABLES_H
#define ZVG_FORMATS_EDID_STANDARD_TABLES_H

#include <stdint.h>

#include "formats/edid/mode.h"

namespace zvg::formats::edid {

// Established timings I and II: one mode a bit of the 17-bit field, bit 0 (800x600) first.
constexpr int established_mode_count = 17;
extern const Mode established_modes[established_mode_count];

// Established timings III, in the order of the bits: most significant bit of the first byte first.
struct EstablishedTiming3 {
  int16_t width;
  int16_t height;
  int16_t refresh_hz;
  bool reduced_blanking;
};
constexpr int established_timing_3_count = 44;
extern const EstablishedTiming3 established_timings_3[established_timing_3_count];

// Picture aspect ratios.
enum class PictureAspect : uint8_t { none, of_4_3, of_16_9, of_64_27, of_256_135 };

// CEA-861 video formats, indexed by video identification code; row 0 is empty.
struct VideoFormat {
  const char* name;
  uint16_t field_rate_hz;
  PictureAspect aspect;
};
constexpr int video_format_count = 108;
extern const VideoFormat video_formats[video_format_count];

// Frame sizes whose interlaced detailed timings describe one field.
struct FrameSize {
  int32_t width;
  int32_t height;
};
constexpr int interlaced_size_count = 7;
extern const FrameSize interlaced_sizes[interlaced_size_count];

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_STANDARD_TABLES_H
