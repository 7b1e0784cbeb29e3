// The faults of a board: what fails, when.
#ifndef ZVGSIM_BOARD_FAULT_PLAN_H
#define ZVGSIM_BOARD_FAULT_PLAN_H

#include <cstdint>
#include <random>
#include <vector>

#include "board/fault_config.h"

namespace zvgsim {

// Answers each model's question whether it fails now. The same plan with the same seed and the
// same sequence of questions gives the same answers on every machine. of() are the standing faults
// of a model; a test may change them at any time.
class FaultPlan : public Settings {
 public:
  explicit FaultPlan(const FaultConfig& config);

  // Called once a driver request; returns the errno to fail it with, or 0.
  int driver_request(unsigned number);

  // Whether the driver's node is no longer there to be opened; requests on a descriptor that is
  // open still fail then.
  bool node_gone() const { return gone_at_ != 0 && requests_ + 1 >= gone_at_; }

  // What happens to the next UART reply. Both counts are 0 for a reply that is sent as it is.
  struct Reply {
    bool drop = false;
    unsigned keep = 4;         // bytes of the reply that are sent
    uint32_t flip = 0;         // exclusive-or with the reply
    uint64_t delay = 0;        // ns
    unsigned noise_bytes = 0;  // in front; noise() gives them
  };
  Reply uart_reply();
  uint8_t noise() { return static_cast<uint8_t>(random_()); }

 private:
  struct CountedDriverFault : DriverFault {
    uint64_t seen = 0;
  };

  bool strikes(uint64_t from, uint64_t count, double probability, uint64_t seen);

  std::mt19937_64 random_;
  const uint64_t gone_at_;
  uint64_t requests_ = 0;
  std::vector<CountedDriverFault> driver_;
  std::vector<UartFault> uart_;
  uint64_t replies_ = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_FAULT_PLAN_H
