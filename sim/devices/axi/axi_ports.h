// The ports of the chip's bus that a monitor watches.
#ifndef ZVGSIM_DEVICES_AXI_AXI_PORTS_H
#define ZVGSIM_DEVICES_AXI_AXI_PORTS_H

#include <cstdint>
#include <span>
#include <string_view>

#include "board/generation.h"
#include "devices/axi/axi_traffic.h"

namespace zvgsim {

// Which directions a monitor counts. On RQ302 the last kind counts both, without their sum.
enum class AxiMonitorType { both, reads, writes };

struct AxiPort {
  std::string_view name;
  AxiMonitorType type;
  uint32_t counters;  // MMIO offset of the first
  uint32_t slots;     // of its slot addresses; 0 for none
  AxiLoad load;       // unless the board file says otherwise
};

// In the order of their flags.
std::span<const AxiPort> axi_ports(Generation generation);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_AXI_AXI_PORTS_H
