// What a DisplayPort transmitter puts on its lanes.
#ifndef ZVGSIM_DEVICES_DP_DP_LINK_H
#define ZVGSIM_DEVICES_DP_DP_LINK_H

#include <array>
#include <cstdint>

#include "devices/dp/dp_settings.h"

namespace zvgsim {

struct DpLink {
  bool running = false;  // the PHY is up and the transmitter enabled
  uint32_t rate = 0;     // code
  uint32_t lanes = 0;    // that carry something
  uint32_t pattern = 0;  // 0 none, else the training pattern
  std::array<DpLevels, dp_lanes> drive{};
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_DP_DP_LINK_H
