// The chip's I2C masters.
#ifndef ZVGSIM_DEVICES_I2C_I2C_MASTER_H
#define ZVGSIM_DEVICES_I2C_I2C_MASTER_H

#include <cstdint>

#include "devices/byte_block.h"

namespace zvgsim {

// An OpenCores I2C master: prescaler, control, data and command registers of a byte each. A command
// sends or receives one byte and keeps the master busy for as long as the wires take. Firmware left
// it enabled, at 100 kHz.
class I2cMaster : public ByteBlock {
 public:
  I2cMaster(Board& board, unsigned number);

 protected:
  uint8_t read_byte(uint32_t offset) override;
  void write_byte(uint32_t offset, uint8_t value) override;

 private:
  void carry_out(uint8_t command);
  uint64_t clock_period();  // of SCL, ns
  uint8_t status();

  const unsigned number_;
  I2cBus& bus_;
  uint8_t transmit_ = 0;
  uint8_t received_ = 0;
  bool acknowledged_ = true;
  bool bus_taken_ = false;  // between a start and a stop
  uint64_t busy_until_ = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_I2C_I2C_MASTER_H
