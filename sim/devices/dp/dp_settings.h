// The DisplayPort outputs of the board, and what can be wrong with them.
#ifndef ZVGSIM_DEVICES_DP_DP_SETTINGS_H
#define ZVGSIM_DEVICES_DP_DP_SETTINGS_H

#include <array>
#include <cstdint>
#include <vector>

#include "board/board_config.h"

namespace zvgsim {

class FileTable;

constexpr unsigned dp_lanes = 4;

// Of a lane: what its transmitter drives it with, or what its cable needs before the receiver
// recovers the clock.
struct DpLevels {
  unsigned swing = 0;  // 0 to 3
  unsigned preemphasis = 0;
};

// One transmitter and the sink on it.
struct DpPortSettings {
  bool sink = false;  // nothing answers without one
  std::vector<uint8_t> edid;
  uint8_t rate = 0x14;       // the highest link rate's code
  uint8_t lanes = 4;         // at most
  uint8_t revision = 0x12;   // of the DPCD
  uint8_t aux_interval = 0;  // of equalisation, in units of 4 ms; 0: 400 us
  bool panel = false;        // an embedded panel: with self-test and backlight registers
  std::array<DpLevels, dp_lanes> channel{};
};

struct DpSettings {
  std::array<DpPortSettings, dp_ports> port;
};

struct DpPortFaults {
  bool no_reply = false;     // requests run into the reply timeout
  bool reply_error = false;  // replies cannot be decoded
  bool nack = false;         // every request is refused
  uint32_t defers = 0;       // this many native requests are deferred, or all of them
  uint32_t i2c_defers = 0;   // the same for I2C
  static constexpr uint32_t always = UINT32_MAX;
  unsigned short_by = 0;              // bytes that reads deliver less than was asked for
  bool never_equalises = false;       // the sink recovers the clock and no more
  bool cdb_busy = false;              // the PHY's configuration bus hangs
  bool no_power_acknowledge = false;  // the PHY ignores power states
  bool pll_never_locks = false;
  bool timer_stopped = false;  // the controller's counter stands still
};

struct DpFaults {
  std::array<DpPortFaults, dp_ports> port;
};

void read_dp(FileTable& root, BoardConfig& config);
void read_dp_faults(FileTable& faults, FaultConfig& config);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_DP_DP_SETTINGS_H
