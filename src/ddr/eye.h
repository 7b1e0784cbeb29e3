// The eyes that the firmware's two-dimensional scans draw.
#ifndef ZVG_DDR_EYE_H
#define ZVG_DDR_EYE_H

#include "formats/training/message.h"

namespace zvg::ddr {

// Tells which eye the rows that follow belong to.
void begin_scan(formats::training::Scan scan);

// Prints the state of both eyes, and the eyes themselves when there is anything in them.
void report_eyes();

}  // namespace zvg::ddr

#endif  // ZVG_DDR_EYE_H
