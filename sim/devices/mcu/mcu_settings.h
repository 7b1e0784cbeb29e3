// What the microcontroller reaches, and what can be wrong with it.
#ifndef ZVGSIM_DEVICES_MCU_MCU_SETTINGS_H
#define ZVGSIM_DEVICES_MCU_MCU_SETTINGS_H

#include <cstdint>
#include <vector>

#include "board/board_config.h"

namespace zvgsim {

class FileTable;

struct McuSettings {
  bool running = true;  // firmware started it
  // On the controller's own I2C buses.
  struct MonitorOn {
    unsigned first_selector = 0;
    unsigned second_selector = 0;
    std::vector<uint8_t> edid;
  };
  std::vector<MonitorOn> monitors;
};

struct McuFaults {
  bool never_done = false;
};

void read_mcu(FileTable& root, BoardConfig& config);
void read_mcu_faults(FileTable& faults, FaultConfig& config);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_MCU_MCU_SETTINGS_H
