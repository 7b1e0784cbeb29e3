// The analog end of an HDMI transmitter.
#ifndef ZVGSIM_DEVICES_HDMI_HDMI_PHY_H
#define ZVGSIM_DEVICES_HDMI_HDMI_PHY_H

#include <array>
#include <cstdint>

#include "board/i2c_bus.h"

namespace zvgsim {

// Configured over the transmitter's private I2C bus, where it is slave 0x69 with 256 registers of
// 16 bits, high byte first. Its PLL locks some time after the PHY was powered up out of reset.
class HdmiPhy : public I2cDevice {
 public:
  explicit HdmiPhy(uint64_t lock_time) : lock_time_(lock_time) {}

  static constexpr uint8_t slave_address = 0x69;

  bool start(uint8_t address, bool read) override;
  bool write(uint8_t byte) override;
  uint8_t read() override;
  void stop() override {}

  // The reset line: registers go back to 0 and nothing answers while it is held.
  void set_reset(bool held, uint64_t now);
  void set_power(bool on, uint64_t now);
  // Powered and locked long ago, as firmware left it.
  void set_locked();

  bool locked(uint64_t now) const { return powered_ && !reset_ && now >= lock_at_; }

 private:
  static constexpr size_t registers = 256;

  const uint64_t lock_time_;
  bool reset_ = false;
  bool powered_ = false;
  uint64_t lock_at_ = 0;
  std::array<uint16_t, registers> values_{};
  uint8_t address_ = 0;
  unsigned bytes_ = 0;  // since the start
  uint8_t high_ = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_HDMI_HDMI_PHY_H
