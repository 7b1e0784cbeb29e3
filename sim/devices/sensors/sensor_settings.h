// What the on-die sensors see.
#ifndef ZVGSIM_DEVICES_SENSORS_SENSOR_SETTINGS_H
#define ZVGSIM_DEVICES_SENSORS_SENSOR_SETTINGS_H

#include <array>
#include <cstdint>

#include "board/board_config.h"
#include "hw/generations.h"

namespace zvgsim {

class FileTable;

using zvg::hw::pvt_sensors;

struct SensorSettings {
  std::array<Signal, pvt_sensors> temperature = {{{45.0}, {47.5}}};  // degrees Celsius
  std::array<Signal, pvt_sensors> voltage = {{{0.85}, {0.8}}};       // volts
  std::array<uint32_t, 3> process = {512, 498, 505};                 // codes of the three types
  unsigned conversion_ms = 1000;
};

void read_sensors(FileTable& root, BoardConfig& config);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_SENSORS_SENSOR_SETTINGS_H
