// The registers of the clock block, wherever the board has it.
#ifndef ZVG_POWER_CLOCK_REGISTERS_H
#define ZVG_POWER_CLOCK_REGISTERS_H

#include <stdint.h>

#include "core/chip.h"
#include "hw/blocks/clocks.h"
#include "util_zvg.h"

namespace zvg::power {

using namespace hw::clocks;

// The block's base is looked up at every access: the table may be switched at any time.
inline uint64_t clock_address(Offset reg) {
  return uint64_t{zvg_gpu_hardware[ZVG_HW_CLOCK]} + reg;
}

inline uint32_t read_clock(Offset reg) {
  uint32_t value = 0;
  zvgRegReadLong(clock_address(reg), &value);
  return value;
}

inline void write_clock(Offset reg, uint32_t value) {
  zvgRegWriteLong(clock_address(reg), value);
}

inline bool has_rq302_clocks() {
  return core::chip().clock_tree == hw::ClockTree::rq302;
}

}  // namespace zvg::power

#endif  // ZVG_POWER_CLOCK_REGISTERS_H
