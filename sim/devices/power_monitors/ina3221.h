// INA3221: three-channel monitor of shunt and load voltages.
#ifndef ZVGSIM_DEVICES_POWER_MONITORS_INA3221_H
#define ZVGSIM_DEVICES_POWER_MONITORS_INA3221_H

#include <array>
#include <cstdint>

#include "board/board.h"
#include "board/i2c_bus.h"
#include "devices/power_monitors/power_monitor_settings.h"

namespace zvgsim {

// Registers are words, most significant byte first, chosen by a pointer that stays where it is.
// After power-up it converts all channels again and again.
class Ina3221 : public I2cDevice {
 public:
  Ina3221(Board& board, const PowerMonitorSettings& settings);

  bool start(uint8_t address, bool read) override;
  bool write(uint8_t byte) override;
  uint8_t read() override;
  void stop() override {}

 private:
  static constexpr unsigned channels = 3;
  static constexpr unsigned register_count = 0x12;

  void configure(uint16_t value);
  void advance();
  uint16_t register_word();
  uint64_t round_time() const;

  const PowerMonitorSettings& settings_;
  Board& board_;
  std::array<uint16_t, register_count> registers_{};
  uint8_t pointer_ = 0;
  unsigned bytes_ = 0;  // since the start
  bool reading_ = false;
  uint8_t high_ = 0;
  uint64_t round_begin_ = 0;
  bool converting_ = false;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_POWER_MONITORS_INA3221_H
