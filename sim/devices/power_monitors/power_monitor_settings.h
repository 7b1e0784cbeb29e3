// The power-monitor chips of the board, and what they measure.
#ifndef ZVGSIM_DEVICES_POWER_MONITORS_POWER_MONITOR_SETTINGS_H
#define ZVGSIM_DEVICES_POWER_MONITORS_POWER_MONITOR_SETTINGS_H

#include <cstdint>
#include <string>
#include <vector>

#include "board/board_config.h"

namespace zvgsim {

class FileTable;

// A current through a sense resistor.
struct Shunt {
  std::string name;  // of the rail, for who reads the board file
  double milliohms = 1;
  Signal amperes;
};

enum class PowerChip { ltc2990, ltc2991, ina3221 };

struct PowerMonitorSettings {
  std::string name;
  PowerChip chip = PowerChip::ltc2990;
  unsigned bus = 0;
  uint8_t address = 0;
  Signal supply = {3.3};      // volts
  Signal temperature = {25};  // degrees Celsius, inside
  std::vector<Signal> volts;  // at its inputs (INA3221: at the loads), the first one first
  std::vector<Shunt> shunts;  // across its pairs of inputs (INA3221: its channels)
};

struct PowerMonitors {
  std::vector<PowerMonitorSettings> list;
};

void read_power_monitors(FileTable& root, BoardConfig& config);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_POWER_MONITORS_POWER_MONITOR_SETTINGS_H
