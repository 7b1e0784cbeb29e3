// What passes the ports of the chip's bus.
#ifndef ZVGSIM_DEVICES_AXI_AXI_SETTINGS_H
#define ZVGSIM_DEVICES_AXI_AXI_SETTINGS_H

#include <cstdint>
#include <string>
#include <vector>

#include "board/board_config.h"
#include "devices/axi/axi_traffic.h"

namespace zvgsim {

class FileTable;

struct AxiPortSettings {
  std::string name;
  AxiLoad load = AxiLoad::idle;
  uint64_t timeout_every = 0;  // measuring periods from one that has a timeout to the next; 0: none
  bool data_update = true;     // whether periods that end are told
};

struct AxiSettings {
  uint64_t seed = 1;
  uint32_t period_cycles = 60'000'000;  // at power-up; 100 ms at 600 MHz
  std::vector<AxiPortSettings> ports;   // those that are not as they usually are
};

void read_axi(FileTable& root, BoardConfig& config);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_AXI_AXI_SETTINGS_H
