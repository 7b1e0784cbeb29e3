// The data blocks of a CEA-861 extension.
#ifndef ZVG_EDID_CEA_DATA_BLOCKS_H
#define ZVG_EDID_CEA_DATA_BLOCKS_H

#include <stdint.h>

namespace zvg::edid {

constexpr int data_block_length_mask = 0x1F;
constexpr int data_block_max_size = 1 + data_block_length_mask;  // with its header byte

// Prints one data block by its tag and length; nothing when it is of no known kind. block: its
// header byte, followed by data_block_max_size - 1 readable bytes whatever its length says.
void print_data_block(const uint8_t* block);

}  // namespace zvg::edid

#endif  // ZVG_EDID_CEA_DATA_BLOCKS_H
