// The registers of a DisplayPort transmitter: 32 bits each, in a block of 128 KiB a port. The PHY
// is in the lower half of the block, the controller in the upper.
#ifndef ZVG_DISPLAY_DP_REGISTERS_H
#define ZVG_DISPLAY_DP_REGISTERS_H

#include <stdint.h>

#include "core/chip.h"
#include "hw/blocks/dp_controller.h"
#include "hw/blocks/dp_phy.h"

namespace zvg::display::dp {

using ControllerRegister = hw::dp_controller::Offset;
using PhyRegister = hw::dp_phy::Offset;
using namespace hw::dp_controller;
using namespace hw::dp_phy;

constexpr uint32_t last_port = 3;
constexpr uint32_t panel_port = 3;  // wired to the embedded panel

constexpr uint32_t controller_offset = offset_in_transmitter;

inline uint32_t block_of(uint32_t port) {
  return core::chip().dp_phys.base(port);
}

}  // namespace zvg::display::dp

#endif  // ZVG_DISPLAY_DP_REGISTERS_H
