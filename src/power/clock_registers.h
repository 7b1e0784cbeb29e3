// The clock block and the words in it.
#ifndef ZVG_POWER_CLOCK_REGISTERS_H
#define ZVG_POWER_CLOCK_REGISTERS_H

#include <stdint.h>

#include "core/chip.h"
#include "util_zvg.h"

namespace zvg::power {

// Offsets in the clock block.
enum Register : uint32_t {
  control = 0x00,  // enable, bypass and power-down bits of the PLLs
  devpll = 0x04,   // configuration words
  dev2pll = 0x08,
  gpupll = 0x0C,
  gpu2pll = 0x10,
  fifth_pll = 0x14,
  clock_select = 0x30,
  post_dividers = 0x34,  // 4 bits an output of devpll and dev2pll
  pll_lock = 0x50,
};

// Bits of clock_select.
constexpr uint32_t select_device_plls = 1u << 0;     // set: devpll, dev2pll; clear: the reference
constexpr uint32_t select_3d_gpu2pll = 1u << 8;      // set: gpu2pll; clear: gpupll
constexpr uint32_t select_shader_gpu2pll = 1u << 9;  // the same
constexpr uint32_t select_2d = 1u << 10;             // which PLLs it chooses from: per generation
constexpr uint32_t select_3d_and_shader = select_3d_gpu2pll | select_shader_gpu2pll;

// Bits of pll_lock.
constexpr uint32_t lock_gpu2pll = 1u << 28;
constexpr uint32_t lock_gpupll = 1u << 29;
constexpr uint32_t lock_dev2pll = 1u << 30;

// RQ302 bypasses a PLL in its configuration word.
constexpr uint32_t config_bypass = 1u << 31;

// The block's base is looked up at every access: the table may be switched at any time.
inline uint64_t clock_address(Register reg) {
  return uint64_t{zvg_gpu_hardware[ZVG_HW_CLOCK]} + reg;
}

inline uint32_t read_clock(Register reg) {
  uint32_t value = 0;
  zvgRegReadLong(clock_address(reg), &value);
  return value;
}

inline void write_clock(Register reg, uint32_t value) {
  zvgRegWriteLong(clock_address(reg), value);
}

inline bool has_rq302_clocks() {
  return core::chip().clock_tree == hw::ClockTree::rq302;
}

}  // namespace zvg::power

#endif  // ZVG_POWER_CLOCK_REGISTERS_H
