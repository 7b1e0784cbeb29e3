#include "devices/i2c/i2c_master.h"

#include <memory>

#include "devices/block_bases.h"
#include "devices/i2c/i2c_settings.h"
#include "hw/blocks/i2c_master.h"

namespace zvgsim {

namespace {

using namespace hw::i2c;

// SCL is the block's clock by 5 times the prescaler and one.
constexpr uint64_t block_clock_mhz = 54;
constexpr unsigned prescale_100_khz = 107;
constexpr unsigned clocks_a_byte = 9;  // with the acknowledge

}  // namespace

I2cMaster::I2cMaster(Board& board, unsigned number)
    : ByteBlock(board, i2c_master_base + number * i2c_master_stride),
      number_(number),
      bus_(board.i2c(number)) {
  store(prescale_low, prescale_100_khz & 0xFF);
  store(prescale_high, prescale_100_khz >> 8);
  store(control, control_enable);
}

uint64_t I2cMaster::clock_period() {
  const uint64_t prescale = stored(prescale_low) | stored(prescale_high) << 8;
  return 5 * (prescale + 1) * 1000 / block_clock_mhz;
}

uint8_t I2cMaster::status() {
  const I2cFault* const fault = board().faults().of<I2cFaults>().find(number_);
  const bool busy = (fault != nullptr && fault->hangs) || board().clock().now() < busy_until_;
  return static_cast<uint8_t>((acknowledged_ ? 0 : status_no_acknowledge) |
                              (bus_taken_ ? status_bus_taken : 0) | (busy ? status_busy : 0));
}

uint8_t I2cMaster::read_byte(uint32_t offset) {
  switch (offset) {
    case data:
      return received_;
    case command:
      return status();
    default:
      return stored(offset);
  }
}

void I2cMaster::write_byte(uint32_t offset, uint8_t value) {
  switch (offset) {
    case data:
      transmit_ = value;
      return;
    case command:
      if ((stored(control) & control_enable) != 0) carry_out(value);
      return;
    default:
      store(offset, value);
  }
}

// The devices see the byte at once; the master says so only when the wires had the time for it.
void I2cMaster::carry_out(uint8_t value) {
  unsigned clocks = 0;
  if ((value & command_write) != 0) {
    if ((value & command_start) != 0) {
      acknowledged_ = bus_.start(transmit_ >> 1, (transmit_ & 1) != 0);
      bus_taken_ = true;
      ++clocks;
    } else {
      acknowledged_ = bus_.write(transmit_);
    }
    clocks += clocks_a_byte;
  } else if ((value & command_read) != 0) {
    received_ = bus_.read();
    clocks += clocks_a_byte;
  }
  if ((value & command_stop) != 0) {
    bus_.stop();
    bus_taken_ = false;
    ++clocks;
  }
  busy_until_ = board().clock().now() + clocks * clock_period();
}

}  // namespace zvgsim
