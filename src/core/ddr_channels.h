// Where the DDR channels have their blocks.
#ifndef ZVG_CORE_DDR_CHANNELS_H
#define ZVG_CORE_DDR_CHANNELS_H

#include <stdint.h>

#include "util_zvg.h"

namespace zvg::core::ddr {

constexpr unsigned bases = 4;  // of each kind in the block table, used or not

inline uint32_t controller_base(unsigned channel) {
  return zvg_gpu_hardware[ZVG_HW_DDR_CONTROLLER + channel];
}

inline uint32_t phy_base(unsigned channel) {
  return zvg_gpu_hardware[ZVG_HW_DDR_PHY + channel];
}

// How many channels the board has.
inline unsigned channels() {
  const auto count = static_cast<int32_t>(zvg_gpu_hardware[ZVG_HW_DDR_CHANNELS]);
  if (count < 1) return 0;
  return static_cast<unsigned>(count) < bases ? static_cast<unsigned>(count) : bases;
}

inline bool selected(unsigned mask, unsigned channel) {
  return (mask >> channel & 1) != 0;
}

}  // namespace zvg::core::ddr

#endif  // ZVG_CORE_DDR_CHANNELS_H
