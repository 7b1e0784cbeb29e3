// A two-wire bus with devices on it.
#ifndef ZVGSIM_BOARD_I2C_BUS_H
#define ZVGSIM_BOARD_I2C_BUS_H

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace zvgsim {

// A device on the bus, byte by byte as the wires have it.
class I2cDevice {
 public:
  virtual ~I2cDevice() = default;
  // A (repeated) start with this 7-bit address. True acknowledges it and selects the device.
  virtual bool start(uint8_t address, bool read) = 0;
  // A byte from the master. True acknowledges it.
  virtual bool write(uint8_t byte) = 0;
  // A byte for the master.
  virtual uint8_t read() = 0;
  // The end of the transfer; every device on the bus sees it.
  virtual void stop() = 0;
};

class I2cBus {
 public:
  void attach(std::unique_ptr<I2cDevice> device) { devices_.push_back(std::move(device)); }

  // The master's side. start() and write() return whether the byte was acknowledged; read()
  // without a selected device returns 0xFF, as pulled-up wires do.
  bool start(uint8_t address, bool read);
  bool write(uint8_t byte);
  uint8_t read();
  void stop();

  // Faults: addresses that are kept from every device.
  std::function<bool(uint8_t address)> unheard;
  // Bytes after an address, counted from 1, that do not reach the device.
  std::function<bool(uint8_t address, unsigned byte)> refused;

 private:
  std::vector<std::unique_ptr<I2cDevice>> devices_;
  I2cDevice* selected_ = nullptr;
  uint8_t address_ = 0;
  unsigned bytes_ = 0;  // since the start
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_I2C_BUS_H
