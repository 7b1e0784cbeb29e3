#include "board/i2c_bus.h"

namespace zvgsim {

bool I2cBus::start(uint8_t address, bool read) {
  selected_ = nullptr;
  address_ = address;
  bytes_ = 0;
  if (unheard && unheard(address)) return false;
  for (const auto& device : devices_) {
    if (device->start(address, read)) {
      selected_ = device.get();
      return true;
    }
  }
  return false;
}

bool I2cBus::write(uint8_t byte) {
  ++bytes_;
  if (refused && refused(address_, bytes_)) return false;
  return selected_ != nullptr && selected_->write(byte);
}

uint8_t I2cBus::read() {
  return selected_ != nullptr ? selected_->read() : 0xFF;
}

void I2cBus::stop() {
  selected_ = nullptr;
  for (const auto& device : devices_) device->stop();
}

}  // namespace zvgsim
