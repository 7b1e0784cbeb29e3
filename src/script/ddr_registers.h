// How large the blocks of a DDR channel are.
#ifndef ZVG_SCRIPT_DDR_REGISTERS_H
#define ZVG_SCRIPT_DDR_REGISTERS_H

#include <stdint.h>

#include "core/ddr_channels.h"

namespace zvg::script::ddr {

using namespace core::ddr;

constexpr uint32_t controller_size = 0x8000;
constexpr uint32_t phy_size = 0x40000;

}  // namespace zvg::script::ddr

#endif  // ZVG_SCRIPT_DDR_REGISTERS_H
