// The exported table of block bases.
#ifndef ZVG_CORE_HARDWARE_BASES_H
#define ZVG_CORE_HARDWARE_BASES_H

#include "hw/generations.h"

namespace zvg::core {

// Fills the table in for a chip whose blocks are elsewhere than in the table that the library
// begins with. For the others it stays what it is, even when it was filled in for another chip
// before.
void provide_bases(const hw::Chip& chip);

}  // namespace zvg::core

#endif  // ZVG_CORE_HARDWARE_BASES_H
