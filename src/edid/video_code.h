// Short video descriptors: one byte that names a CEA-861 video format.
#ifndef ZVG_EDID_VIDEO_CODE_H
#define ZVG_EDID_VIDEO_CODE_H

#include <stdint.h>

namespace zvg::edid {

// Prints the format and whether it is native.
void print_video_code(uint8_t code);

}  // namespace zvg::edid

#endif  // ZVG_EDID_VIDEO_CODE_H
