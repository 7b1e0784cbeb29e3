// The report on a CEA-861 extension block.
#ifndef ZVG_EDID_CEA_EXTENSION_H
#define ZVG_EDID_CEA_EXTENSION_H

#include <stddef.h>
#include <stdint.h>

#include "edid/cea_data_blocks.h"

namespace zvg::edid {

// How far past its first byte an extension may be read. Where its data blocks end is a byte of
// the extension itself, so a broken one leads the walk past the block's 128 bytes.
constexpr size_t cea_reach = 0xFF + data_block_max_size;

// Prints general information, data blocks and detailed timings. block: cea_reach readable bytes.
void print_cea_extension(const uint8_t* block);

}  // namespace zvg::edid

#endif  // ZVG_EDID_CEA_EXTENSION_H
