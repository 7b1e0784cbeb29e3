// Display descriptors: the 18-byte blocks without a pixel clock.
#ifndef ZVG_EDID_DISPLAY_DESCRIPTOR_H
#define ZVG_EDID_DISPLAY_DESCRIPTOR_H

#include <stdint.h>

namespace zvg::edid {

// Prints an 18-byte descriptor by its tag. Reads edid_revision.
void print_display_descriptor(const uint8_t* descriptor);

}  // namespace zvg::edid

#endif  // ZVG_EDID_DISPLAY_DESCRIPTOR_H
