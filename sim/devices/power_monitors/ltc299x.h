// LTC2990 and LTC2991: what their converters have in common.
#ifndef ZVGSIM_DEVICES_POWER_MONITORS_LTC299X_H
#define ZVGSIM_DEVICES_POWER_MONITORS_LTC299X_H

#include <cstdint>
#include <vector>

#include "board/board.h"
#include "devices/i2c/i2c_registers.h"
#include "devices/power_monitors/power_monitor_settings.h"

namespace zvgsim {

// Result registers in pairs of bytes. A new result sets the pair's data-valid bit, on top of its
// high byte, and its ready bit; reading the high byte clears both.
//
// One conversion follows the other; what is converted, and for how long, a generation of the chip
// says. Time passes only when somebody looks: advance() catches up.
class Ltc299x : public I2cRegisters {
 public:
  Ltc299x(Board& board, const PowerMonitorSettings& settings, uint8_t pointer_mask,
          unsigned results)
      : I2cRegisters(settings.address, pointer_mask),
        settings_(settings),
        board_(board),
        results_(results) {}

 protected:
  struct Conversion {
    unsigned result;  // which of the result registers
    double step;      // volts a code, or degrees
    double value;     // when it is converted
    bool ready_bit = true;

    uint64_t duration() const;
  };
  // What a whole acquisition converts, in order, at a time.
  virtual std::vector<Conversion> acquisition(uint64_t time) = 0;

  // Begins one acquisition, or acquisitions without an end.
  void trigger(bool repeat);
  void advance();
  bool busy();

  // A byte of a result register. Reading the high byte makes the result an old one.
  uint8_t result_byte(unsigned result, bool high);
  bool ready(unsigned result) const { return results_[result].ready; }

  // Volts at a pair of inputs, counted from 0: across the shunt, or between two inputs.
  double difference(unsigned pair, uint64_t time) const;
  double volts(unsigned input, uint64_t time) const {
    return input < settings_.volts.size() ? settings_.volts[input].at(time) : 0;
  }
  const PowerMonitorSettings& settings_;

  static constexpr double volt_step = 305.18e-6;
  static constexpr double supply_offset = 2.5;
  static constexpr double degree_step = 0.0625;

 private:
  struct Result {
    uint16_t code = 0;  // without the data-valid bit
    bool valid = false;
    bool ready = false;
  };

  Board& board_;
  std::vector<Result> results_;
  std::vector<Conversion> running_;
  size_t next_ = 0;
  uint64_t next_done_ = 0;
  bool repeat_ = false;
};

class Ltc2990 : public Ltc299x {
 public:
  Ltc2990(Board& board, const PowerMonitorSettings& settings);

 protected:
  uint8_t read_register(uint8_t number) override;
  void write_register(uint8_t number, uint8_t value) override;
  std::vector<Conversion> acquisition(uint64_t time) override;

 private:
  uint8_t control_ = 0;
};

class Ltc2991 : public Ltc299x {
 public:
  Ltc2991(Board& board, const PowerMonitorSettings& settings);

 protected:
  uint8_t read_register(uint8_t number) override;
  void write_register(uint8_t number, uint8_t value) override;
  std::vector<Conversion> acquisition(uint64_t time) override;

 private:
  uint8_t enables_ = 0;
  uint8_t pair_controls_[2] = {};
  uint8_t acquisition_control_ = 0;
  uint8_t pwm_threshold_ = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_POWER_MONITORS_LTC299X_H
