// The board's I2C masters: whole transfers by the driver, or byte by byte on the masters'
// registers.
#include <stdint.h>

#include "core/chip.h"
#include "core/poll.h"
#include "hw/blocks/i2c_master.h"
#include "hw/driver_requests.h"
#include "util_zvg.h"

namespace {

using zvg::core::g_connection;

// Results of transfers on the registers; the driver path hands on the driver's own.
constexpr int no_channel = -1;
constexpr int no_device = -2;  // a transfer that does not end counts as nobody answering

constexpr uint32_t driver_bad_channel = 4;  // a positive 4, although -4 is "Invalid argument"

using namespace zvg::hw::i2c;

enum class Command : uint8_t {
  send = command_write,
  receive = command_read,
  stop = command_stop,
  send_last = command_write | command_stop,
  receive_last = command_read | command_stop | command_no_acknowledge,
  start = command_write | command_start,
};

constexpr unsigned busy_repeats = 65535;
constexpr useconds_t busy_step_us = 50;

class Master {
 public:
  explicit Master(uint32_t channel) : block_(zvg::core::chip().i2c_masters.base(channel)) {}

  // Has a command carried out. Returns whether it ended in time.
  bool carry_out(Command what) {
    give(what);
    const auto read = [this] {
      zvgRegReadByte(block_ + command, &status_);
      return 0;
    };
    return zvg::core::read_wait_compare(busy_repeats, zvg::core::sleeping(busy_step_us), read,
                                        [this] { return (status_ & status_busy) == 0; }) == 0;
  }
  bool send_byte(uint8_t byte, Command command) {
    zvgRegWriteByte(block_ + data, byte);
    return carry_out(command);
  }
  bool receive_byte(uint8_t* byte, Command command) {
    if (!carry_out(command)) return false;
    zvgRegReadByte(block_ + data, byte);
    return true;
  }

  // The common beginning: addresses the slave for writing and sends the register's number. The
  // address is the only byte whose acknowledge is looked at. Returns 0 or the transfer's error.
  int open_register(uint32_t slave, uint32_t reg) {
    if (!send_byte(static_cast<uint8_t>(slave * 2), Command::start)) return no_device;
    if ((status_ & status_no_acknowledge) != 0) {
      give(Command::stop);
      return no_device;
    }
    return send_byte(static_cast<uint8_t>(reg), Command::send) ? 0 : no_device;
  }

 private:
  void give(Command what) { zvgRegWriteByte(block_ + command, static_cast<uint8_t>(what)); }

  const uint32_t block_;
  uint8_t status_ = 0;
};

int read_registers(uint32_t channel, uint32_t slave, uint32_t reg, int count, uint8_t* buffer) {
  if (channel >= zvg::core::chip().i2c_masters.count) return no_channel;
  Master master(channel);
  if (const int result = master.open_register(slave, reg)) return result;
  if (!master.send_byte(static_cast<uint8_t>(slave * 2 + 1), Command::start)) return no_device;
  // Without a byte to read, the bus is left as it is: no stop.
  for (int i = 0; i < count; ++i) {
    const Command command = i == count - 1 ? Command::receive_last : Command::receive;
    if (!master.receive_byte(buffer + i, command)) return no_device;
  }
  return 0;
}

int write_registers(uint32_t channel, uint32_t slave, uint32_t reg, int count,
                    const uint8_t* data) {
  if (channel >= zvg::core::chip().i2c_masters.count) return no_channel;
  Master master(channel);
  if (const int result = master.open_register(slave, reg)) return result;
  for (int i = 0; i < count; ++i) {
    const Command command = i == count - 1 ? Command::send_last : Command::send;
    if (!master.send_byte(data[i], command)) return no_device;
  }
  return 0;
}

}  // namespace

uint32_t zvgI2cRead(uint32_t channel, uint32_t slave, uint32_t reg, uint32_t count, uint8_t* buf) {
  if (g_connection.mode == ZVG_MODE_DRIVER) {
    if (channel >= zvg::hw::driver::i2c_channels) return driver_bad_channel;
    return static_cast<uint32_t>(zvgI2cOperate(channel, slave, reg, ZVG_OP_READ, count, buf));
  }
  return static_cast<uint32_t>(read_registers(channel, slave, reg, static_cast<int>(count), buf));
}

uint32_t zvgI2cWrite(uint32_t channel, uint32_t slave, uint32_t reg, uint32_t count,
                     uint8_t* data) {
  if (g_connection.mode == ZVG_MODE_DRIVER) {
    if (channel >= zvg::hw::driver::i2c_channels) return driver_bad_channel;
    return static_cast<uint32_t>(zvgI2cOperate(channel, slave, reg, ZVG_OP_WRITE, count, data));
  }
  return static_cast<uint32_t>(write_registers(channel, slave, reg, static_cast<int>(count), data));
}

uint32_t zvgI2cWriteByte(uint32_t channel, uint32_t slave, uint32_t reg, uint32_t value) {
  uint8_t byte = static_cast<uint8_t>(value);
  return zvgI2cWrite(channel, slave, reg, 1, &byte);
}

const char* zvgI2cErrString(int code) {
  constexpr const char* texts[] = {
      "Succeed",
      "I2c channel is not exist",
      "I2c slave device is not exist",
      "I2c slave device acknowledge none",
      "Invalid argument",
  };
  constexpr int last = sizeof texts / sizeof texts[0] - 1;
  return code <= 0 && code >= -last ? texts[-code] : "Unkown error";
}
