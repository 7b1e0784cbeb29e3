// The report on the 18-byte blocks of both the base block and the CEA extension.
#ifndef ZVG_EDID_TIMING_BLOCK_H
#define ZVG_EDID_TIMING_BLOCK_H

#include <stddef.h>

#include "formats/edid/timing_block.h"

namespace zvg::edid {

// number: of the block in its list, from 0 on. revision: of the EDID.
void print_timing_block(size_t number, const formats::edid::TimingBlock& block, int revision);

}  // namespace zvg::edid

#endif  // ZVG_EDID_TIMING_BLOCK_H
