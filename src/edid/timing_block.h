// The 18-byte blocks of both the base block and the CEA extension.
#ifndef ZVG_EDID_TIMING_BLOCK_H
#define ZVG_EDID_TIMING_BLOCK_H

#include <stdint.h>

namespace zvg::edid {

// Prints count blocks, numbered from 0, each as a detailed timing or as a display descriptor.
void print_timing_blocks(const uint8_t* first, int count);

}  // namespace zvg::edid

#endif  // ZVG_EDID_TIMING_BLOCK_H
