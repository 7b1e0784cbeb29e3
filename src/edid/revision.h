// The revision of the EDID that is being decoded.
#ifndef ZVG_EDID_REVISION_H
#define ZVG_EDID_REVISION_H

#include <stdint.h>

namespace zvg::edid {

// Process-wide: 0 from the start of each report until the base block's revision byte is printed.
extern int32_t edid_revision;

}  // namespace zvg::edid

#endif  // ZVG_EDID_REVISION_H
