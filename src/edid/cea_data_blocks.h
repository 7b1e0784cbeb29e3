// The report on the data blocks of a CEA-861 extension.
#ifndef ZVG_EDID_CEA_DATA_BLOCKS_H
#define ZVG_EDID_CEA_DATA_BLOCKS_H

#include "formats/edid/cea_data_blocks.h"

namespace zvg::edid {

// Prints nothing when the block is of no known kind.
void print_data_block(const formats::edid::DataBlock& block);

}  // namespace zvg::edid

#endif  // ZVG_EDID_CEA_DATA_BLOCKS_H
