// How large the blocks of a DDR channel are.
#ifndef ZVG_SCRIPT_DDR_REGISTERS_H
#define ZVG_SCRIPT_DDR_REGISTERS_H

#include <stdint.h>

#include "core/ddr_channels.h"
#include "hw/generations.h"

namespace zvg::script::ddr {

using namespace core::ddr;

constexpr uint32_t controller_size = hw::ddr_controller_size;
constexpr uint32_t phy_size = hw::ddr_phy_size;

}  // namespace zvg::script::ddr

#endif  // ZVG_SCRIPT_DDR_REGISTERS_H
