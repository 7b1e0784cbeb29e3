// Detailed timing descriptors.
#ifndef ZVG_EDID_DETAILED_TIMING_H
#define ZVG_EDID_DETAILED_TIMING_H

#include <stdint.h>

namespace zvg::edid {

// Decodes an 18-byte descriptor whose pixel clock is not 0 and prints its mode, or why there is
// none.
void print_detailed_timing(const uint8_t* descriptor);

}  // namespace zvg::edid

#endif  // ZVG_EDID_DETAILED_TIMING_H
