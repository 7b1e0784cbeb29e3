// The report on the display range limits descriptor.
#ifndef ZVG_EDID_RANGE_LIMITS_H
#define ZVG_EDID_RANGE_LIMITS_H

#include "formats/edid/range_limits.h"

namespace zvg::edid {

// revision: of the EDID; before 4 there is nothing behind the limits themselves.
void print_range_limits(const formats::edid::RangeLimits& limits, int revision);

}  // namespace zvg::edid

#endif  // ZVG_EDID_RANGE_LIMITS_H
