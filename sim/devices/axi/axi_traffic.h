// What passes a port of the bus during one measuring period.
#ifndef ZVGSIM_DEVICES_AXI_AXI_TRAFFIC_H
#define ZVGSIM_DEVICES_AXI_AXI_TRAFFIC_H

#include <cstdint>

namespace zvgsim {

// How much passes a port.
enum class AxiLoad { idle, bursty, saturated };

// One direction of a port, as its monitor counts it. Sums may exceed what a register holds.
struct AxiTraffic {
  uint64_t active = 0;        // cycles in which the port was busy
  uint64_t transactions = 0;  // those that ended
  uint64_t bursts = 0;        // of them
  uint64_t singles = 0;
  uint64_t data_cycles = 0;
  uint64_t bytes = 0;
  uint64_t full_beats = 0;     // with every byte enabled
  uint64_t partial_beats = 0;  // with only some
  uint64_t latency = 0;        // cycles, of all transactions together
  uint64_t latency_max = 0;
  uint64_t latency_min = 0;
  uint64_t outstanding = 0;  // transactions under way, summed over the cycles
  uint64_t outstanding_max = 0;
  uint64_t outstanding_min = 0;
  uint64_t bandwidth_max = 0;  // bytes in the busiest 1024 cycles
};

enum class AxiDirection { write, read };

// seed and port make each port's traffic its own; period is the number of the measuring period.
AxiTraffic axi_traffic(AxiLoad load, AxiDirection direction, uint64_t seed, unsigned port,
                       uint64_t period, uint64_t period_cycles);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_AXI_AXI_TRAFFIC_H
