// Tables of the display standards that an EDID refers to by bit or code number.
#ifndef ZVG_EDID_STANDARD_TABLES_H
#define ZVG_EDID_STANDARD_TABLES_H

#include <stdint.h>

#include "util_zvg.h"

namespace zvg::edid {

// Established timings I and II: one mode a bit of the 17-bit field, bit 0 (800x600) first.
constexpr int established_mode_count = 17;
extern const zvg_display_mode established_modes[established_mode_count];

// Established timings III, in the order of the bits: most significant bit of the first byte first.
struct EstablishedTiming3 {
  int16_t width;
  int16_t height;
  int16_t refresh_hz;
  int16_t reduced_blanking;  // 0 or 1
};
constexpr int established_timing_3_count = 44;
extern const EstablishedTiming3 established_timings_3[established_timing_3_count];

// Picture aspect ratios as the video formats number them.
enum PictureAspect : uint32_t {
  aspect_none = 0,
  aspect_4_3 = 1,
  aspect_16_9 = 2,
  aspect_64_27 = 3,
  aspect_256_135 = 4,
};

// CEA-861 video formats, indexed by video identification code; row 0 is empty.
struct VideoFormat {
  const char* name;
  uint32_t field_rate_hz;
  uint32_t reserved;  // 0
  uint32_t aspect;    // enum PictureAspect
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

}  // namespace zvg::edid

#endif  // ZVG_EDID_STANDARD_TABLES_H
