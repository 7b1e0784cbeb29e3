// The registers of an HDMI transmitter, wherever the board has it.
#ifndef ZVG_DISPLAY_HDMI_REGISTERS_H
#define ZVG_DISPLAY_HDMI_REGISTERS_H

#include <stdint.h>

#include "core/chip.h"
#include "hw/blocks/hdmi_transmitter.h"

namespace zvg::display::hdmi {

using namespace hw::hdmi;

constexpr uint32_t last_transmitter = 3;

// Where a register of a transmitter stands in the MMIO space.
inline uint64_t at(uint32_t transmitter, uint32_t reg) {
  return uint64_t{core::chip().hdmi_transmitters.base(transmitter)} + reg;
}

}  // namespace zvg::display::hdmi

#endif  // ZVG_DISPLAY_HDMI_REGISTERS_H
