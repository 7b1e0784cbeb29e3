// What the link has from the PHY besides its exported functions.
#ifndef ZVG_DISPLAY_DP_PHY_H
#define ZVG_DISPLAY_DP_PHY_H

#include "display/dp/registers.h"
#include "util_zvg.h"

namespace zvg::display::dp {

// Waits until bit 0 of a PHY register is set, a tick between reads. Returns whether it was.
bool wait_for_phy(const zvg_dptx* device, PhyRegister reg, unsigned tries);

}  // namespace zvg::display::dp

#endif  // ZVG_DISPLAY_DP_PHY_H
