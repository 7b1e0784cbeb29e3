// The transmitters of the board: one device record a port, for the life of the process.
#ifndef ZVG_DISPLAY_DP_PORTS_H
#define ZVG_DISPLAY_DP_PORTS_H

#include <stdint.h>

#include "util_zvg.h"

namespace zvg::display::dp {

// The record of a port. It is empty, and so invalid, until zvgDpInit() of that port.
zvg_dptx& record_of(uint32_t port);

// The record of a port for register-driven transfers. Sets the port up when no port was before;
// after that the others are taken as they are.
zvg_dptx& record_for_transfer(uint32_t port);

// The record of a port for the link: sets the port up when it was not.
zvg_dptx& record_for_link(uint32_t port);

// Says that there is no such channel. Returns -1.
int refuse_channel(uint32_t port);

}  // namespace zvg::display::dp

#endif  // ZVG_DISPLAY_DP_PORTS_H
