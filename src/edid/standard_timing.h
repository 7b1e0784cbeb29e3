// Standard timings: a mode in two bytes.
#ifndef ZVG_EDID_STANDARD_TIMING_H
#define ZVG_EDID_STANDARD_TIMING_H

#include <stdint.h>

namespace zvg::edid {

// Prints the mode that the pair stands for. revision: of the EDID; it decides the first aspect.
// Returns 0, or -1 without a line when the pair is one of the fillers of unused entries.
int print_standard_timing(uint8_t b0, uint8_t b1, int32_t revision);

}  // namespace zvg::edid

#endif  // ZVG_EDID_STANDARD_TIMING_H
