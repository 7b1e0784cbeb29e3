// A physical quantity of the board.
#ifndef ZVGSIM_BOARD_SIGNAL_H
#define ZVGSIM_BOARD_SIGNAL_H

#include <cmath>
#include <cstdint>
#include <numbers>

namespace zvgsim {

// Steady, or swinging around its value as a sine of time.
struct Signal {
  double value = 0;
  double swing = 0;      // how far to either side
  double period_s = 10;  // above 0

  // At a time of the board's clock.
  double at(uint64_t nanoseconds) const {
    if (swing == 0) return value;
    return value + swing * std::sin(2 * std::numbers::pi * static_cast<double>(nanoseconds) / 1e9 /
                                    period_s);
  }
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_SIGNAL_H
