// The clocks of the board, and what can be wrong with them.
#ifndef ZVGSIM_DEVICES_CLOCKS_CLOCK_SETTINGS_H
#define ZVGSIM_DEVICES_CLOCKS_CLOCK_SETTINGS_H

#include <array>
#include <cstdint>

namespace zvgsim {

constexpr unsigned plls = 4;  // devpll, dev2pll, gpupll, gpu2pll

struct ClockSettings {
  uint32_t axi = 600, vpu = 500, core_3d = 1000, core_2d = 500, ddr = 1600;  // MHz
  unsigned lock_us = 20;  // from a PLL's change to its lock
};

struct ClockFaults {
  std::array<bool, plls> never_locks{};
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_CLOCKS_CLOCK_SETTINGS_H
