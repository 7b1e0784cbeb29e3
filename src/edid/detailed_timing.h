// The report on detailed timing descriptors.
#ifndef ZVG_EDID_DETAILED_TIMING_H
#define ZVG_EDID_DETAILED_TIMING_H

#include "formats/edid/detailed_timing.h"

namespace zvg::edid {

// Prints the timing's mode, or why there is none.
void print_detailed_timing(const formats::edid::DetailedTiming& timing);

}  // namespace zvg::edid

#endif  // ZVG_EDID_DETAILED_TIMING_H
