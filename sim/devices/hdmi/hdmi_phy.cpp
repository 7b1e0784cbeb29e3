#include "devices/hdmi/hdmi_phy.h"

namespace zvgsim {

bool HdmiPhy::start(uint8_t address, bool) {
  bytes_ = 0;
  return address == slave_address && !reset_;
}

bool HdmiPhy::write(uint8_t byte) {
  switch (bytes_++) {
    case 0:
      address_ = byte;
      break;
    case 1:
      high_ = byte;
      break;
    default:
      values_[address_] = static_cast<uint16_t>(high_ << 8 | byte);
      // Further bytes go into the registers that follow.
      ++address_;
      bytes_ = 1;
  }
  return true;
}

uint8_t HdmiPhy::read() {
  if (bytes_++ % 2 == 0) return static_cast<uint8_t>(values_[address_] >> 8);
  return static_cast<uint8_t>(values_[address_++]);
}

void HdmiPhy::set_reset(bool held, uint64_t now) {
  if (held) values_.fill(0);
  if (reset_ && !held) lock_at_ = now + lock_time_;
  reset_ = held;
}

void HdmiPhy::set_power(bool on, uint64_t now) {
  if (on && !powered_) lock_at_ = now + lock_time_;
  powered_ = on;
}

void HdmiPhy::set_locked() {
  powered_ = true;
  lock_at_ = 0;
}

}  // namespace zvgsim
