// What a board's fault plan begins with.
#ifndef ZVGSIM_BOARD_FAULT_CONFIG_H
#define ZVGSIM_BOARD_FAULT_CONFIG_H

#include <cstdint>
#include <optional>
#include <vector>

#include "board/settings.h"

namespace zvgsim {

// Fails driver requests. Either from the n-th on, count times, or each with a probability.
struct DriverFault {
  uint64_t request = 0;              // counted from 1; 0: by probability
  double probability = 0;            // 0 to 1
  std::optional<unsigned> number{};  // only requests of this number count, for example 0x01
  int error = 5;                     // errno; EIO
  uint64_t count = 1;
};

enum class UartAction {
  drop,     // nothing is sent
  corrupt,  // one byte is changed
  cut,      // only the first `bytes` are sent
  delay,    // the reply comes `delay_ms` late
  noise,    // `bytes` arbitrary bytes come in front of the reply
};

// Spoils replies on the debug UART, chosen as above.
struct UartFault {
  uint64_t reply = 0;
  double probability = 0;
  UartAction action = UartAction::drop;
  unsigned bytes = 1;
  unsigned delay_ms = 3000;
  uint64_t count = 1;
};

// The faults of the ways into a board, and of(): those of each model.
struct FaultConfig : Settings {
  uint64_t seed = 1;
  std::vector<DriverFault> driver;
  std::vector<UartFault> uart;
  // The driver's node goes before this request, counted from 1; 0: it stays.
  uint64_t node_gone_at_request = 0;
  bool reads_ones = false;  // registers and memory: the card is off the bus
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_FAULT_CONFIG_H
