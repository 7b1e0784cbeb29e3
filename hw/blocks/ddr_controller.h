// A DDR controller. Which registers it has is the memory's business: scripts know them by number.
#ifndef ZVG_HW_BLOCKS_DDR_CONTROLLER_H
#define ZVG_HW_BLOCKS_DDR_CONTROLLER_H

#include "hw/register.h"

namespace zvg::hw::ddr_controller {

namespace map {

inline constexpr Block block = {"ddr", Space::mmio,         "DDR controller",
                                {},    ddr_controller_size, &Chip::ddr_controllers};

}  // namespace map

}  // namespace zvg::hw::ddr_controller

#endif  // ZVG_HW_BLOCKS_DDR_CONTROLLER_H
