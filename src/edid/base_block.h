// The report on the base block.
#ifndef ZVG_EDID_BASE_BLOCK_H
#define ZVG_EDID_BASE_BLOCK_H

#include "formats/edid/base_block.h"

namespace zvg::edid {

// Prints everything that the block says, from the manufacturer to the last descriptor.
void print_base_block(const formats::edid::BaseBlock& base);

}  // namespace zvg::edid

#endif  // ZVG_EDID_BASE_BLOCK_H
