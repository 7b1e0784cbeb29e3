// An I2C device whose registers are bytes behind a register pointer.
#ifndef ZVGSIM_DEVICES_I2C_I2C_REGISTERS_H
#define ZVGSIM_DEVICES_I2C_I2C_REGISTERS_H

#include <array>
#include <cstdint>

#include "board/i2c_bus.h"

namespace zvgsim {

// The first byte written after a start is the pointer; what is written or read next goes on from
// there, a register a byte. The pointer has as many bits as the mask and outlives a stop.
class I2cRegisters : public I2cDevice {
 public:
  I2cRegisters(uint8_t address, uint8_t pointer_mask)
      : address_(address), pointer_mask_(pointer_mask) {}

  bool start(uint8_t address, bool read) final {
    expects_pointer_ = !read;
    return address == address_;
  }
  bool write(uint8_t byte) final {
    if (expects_pointer_) {
      pointer_ = byte & pointer_mask_;
      expects_pointer_ = false;
      return true;
    }
    write_register(advance(), byte);
    return true;
  }
  uint8_t read() final { return read_register(advance()); }
  void stop() override {}

 protected:
  virtual uint8_t read_register(uint8_t number) = 0;
  virtual void write_register(uint8_t number, uint8_t value) = 0;

 private:
  uint8_t advance() {
    const uint8_t number = pointer_;
    pointer_ = static_cast<uint8_t>(pointer_ + 1) & pointer_mask_;
    return number;
  }

  const uint8_t address_;
  const uint8_t pointer_mask_;
  uint8_t pointer_ = 0;
  bool expects_pointer_ = false;
};

// 256 registers that keep what is written: memories, and chips whose inside does not matter.
class I2cMemory : public I2cRegisters {
 public:
  explicit I2cMemory(uint8_t address) : I2cRegisters(address, 0xFF) {}

  uint8_t& operator[](uint8_t number) { return bytes_[number]; }

 protected:
  uint8_t read_register(uint8_t number) override { return bytes_[number]; }
  void write_register(uint8_t number, uint8_t value) override { bytes_[number] = value; }

 private:
  std::array<uint8_t, 256> bytes_{};
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_I2C_I2C_REGISTERS_H
