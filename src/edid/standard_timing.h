// Standard timings, of the base block and of a descriptor.
#ifndef ZVG_EDID_STANDARD_TIMING_H
#define ZVG_EDID_STANDARD_TIMING_H

#include <stdio.h>

#include <optional>

#include "formats/edid/standard_timing.h"

namespace zvg::edid {

// Returns whether there was one to print.
inline bool print_standard_timing(const std::optional<formats::edid::StandardTiming>& timing) {
  if (timing) printf("\t%dx%d@%dHz\n", timing->width, timing->height, timing->refresh_hz);
  return timing.has_value();
}

}  // namespace zvg::edid

#endif  // ZVG_EDID_STANDARD_TIMING_H
