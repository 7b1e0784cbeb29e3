// A monitor, as its DDC wires show it.
#ifndef ZVGSIM_DEVICES_MONITOR_MONITOR_H
#define ZVGSIM_DEVICES_MONITOR_MONITOR_H

#include <cstdint>
#include <optional>
#include <vector>

#include "board/i2c_bus.h"

namespace zvgsim {

// An EDID ROM at address 0x50: the first byte written after a start is the word offset, reads go on
// from there and wrap at 256. A ROM of more than two blocks also has a segment pointer at address
// 0x30, counting 256-byte segments; a stop takes it back to 0. Beyond its end the ROM reads 0xFF.
class Monitor : public I2cDevice {
 public:
  explicit Monitor(std::vector<uint8_t> edid);
  // nack_at_byte: a byte of the EDID whose offset is not acknowledged, a fault that may come and go
  // at any time; outlives the monitor.
  Monitor(std::vector<uint8_t> edid, const std::optional<uint32_t>& nack_at_byte);

  static constexpr uint8_t rom_address = 0x50;
  static constexpr uint8_t segment_address = 0x30;

  bool start(uint8_t address, bool read) override;
  bool write(uint8_t byte) override;
  uint8_t read() override;
  void stop() override;

 private:
  enum class Expects { offset, data, segment };

  const std::vector<uint8_t> edid_;
  const std::optional<uint32_t>& nack_at_byte_;
  Expects expects_ = Expects::offset;
  uint8_t offset_ = 0;
  uint8_t segment_ = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_MONITOR_MONITOR_H
