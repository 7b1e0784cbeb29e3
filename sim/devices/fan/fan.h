// The board's fan and its PWM controller; a part of the board (board.h).
#ifndef ZVGSIM_DEVICES_FAN_FAN_H
#define ZVGSIM_DEVICES_FAN_FAN_H

#include <array>
#include <cstdint>

#include "hw/blocks/fan.h"

namespace zvgsim {

// The controller's registers are CRTC indices: a period and a duty of 16 bits, low byte first, each
// of which counts from the write of 1 to its latch on. Until a duty was latched, and again after
// set_automatic(), the board drives the fan by its temperature.
class Fan {
 public:
  static constexpr uint8_t first_index = zvg::hw::fan::first_index;
  static constexpr uint8_t last_index = zvg::hw::fan::last_index;

  explicit Fan(double celsius);

  // REQUIRES: first_index <= index <= last_index. Registers read as they were last set, by whoever
  // drives the fan.
  uint8_t read(uint8_t index) const { return registers_[index - first_index]; }
  void write(uint8_t index, uint8_t value);

  // What the driver does.
  void set_manual(unsigned percent);
  void set_automatic();
  void set_temperature(double celsius);

  bool manual() const { return manual_; }
  // How much of the time the motor is driven, 0 to 100.
  double percent() const;

 private:
  unsigned pair(uint8_t low_index) const;
  void show(uint8_t low_index, unsigned value);
  void follow_temperature();

  std::array<uint8_t, last_index - first_index + 1> registers_{};
  unsigned period_ = 0;
  unsigned duty_ = 0;
  bool manual_ = false;
  double celsius_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_FAN_FAN_H
