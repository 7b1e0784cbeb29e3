// The EDID store: one exported object of the library, which only its own file touches. Programs may
// point it elsewhere.
#ifndef ZVG_EDID_STORE_H
#define ZVG_EDID_STORE_H

#include <stddef.h>
#include <stdint.h>

#include "formats/edid/block.h"

namespace zvg::edid {

constexpr size_t edid_size = 2 * formats::edid::block_size;  // the base block and one extension

// edid_size bytes.
const uint8_t* stored_edid();

}  // namespace zvg::edid

#endif  // ZVG_EDID_STORE_H
