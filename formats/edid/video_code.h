// Short video descriptors: one byte that names a CEA-861 video format.
#ifndef ZVG_FORMATS_EDID_VIDEO_CODE_H
#define ZVG_FORMATS_EDID_VIDEO_CODE_H

#include <stdint.h>

#include "formats/edid/standard_tables.h"

namespace zvg::formats::edid {

struct VideoCode {
  enum class Native { no, yes, untold };  // codes beyond 64 cannot tell

  bool reserved;  // the code names no format, now or later
  Native native;
  int number;                 // of the format, as CEA-861 numbers them
  const VideoFormat* format;  // null: not in the table
};

// CTA-861-G, 7.5.1.
VideoCode parse_video_code(uint8_t code);

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_VIDEO_CODE_H
