// The report on the base block.
#ifndef ZVG_EDID_BASE_BLOCK_H
#define ZVG_EDID_BASE_BLOCK_H

#include <stdint.h>

namespace zvg::edid {

// Prints everything that the 128 bytes of the base block say, from the manufacturer to the last
// descriptor, and sets edid_revision on the way.
void print_base_block(const uint8_t* edid);

}  // namespace zvg::edid

#endif  // ZVG_EDID_BASE_BLOCK_H
