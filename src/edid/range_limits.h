// The display range limits descriptor (tag 0xFD) with its GTF and CVT variants.
#ifndef ZVG_EDID_RANGE_LIMITS_H
#define ZVG_EDID_RANGE_LIMITS_H

#include <stdint.h>

namespace zvg::edid {

// Prints the 18-byte descriptor. Reads edid_revision.
void print_range_limits(const uint8_t* descriptor);

}  // namespace zvg::edid

#endif  // ZVG_EDID_RANGE_LIMITS_H
