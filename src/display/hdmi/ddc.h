// The start of an EDID byte read, for the fetch as well as for the byte read.
#ifndef ZVG_DISPLAY_HDMI_DDC_H
#define ZVG_DISPLAY_HDMI_DDC_H

#include <stdint.h>

namespace zvg::display::hdmi {

// Reads one byte at an EDID offset of 256 or more: with the segment pointer. Returns 0 when the
// byte was stored.
int read_segmented(uint32_t transmitter, uint32_t offset, uint8_t* byte);

}  // namespace zvg::display::hdmi

#endif  // ZVG_DISPLAY_HDMI_DDC_H
