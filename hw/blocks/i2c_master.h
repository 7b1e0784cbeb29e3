// The board's I2C masters: OpenCores I2C, byte registers.
#ifndef ZVG_HW_BLOCKS_I2C_MASTER_H
#define ZVG_HW_BLOCKS_I2C_MASTER_H

#include "hw/register.h"

namespace zvg::hw::i2c {

enum Offset : uint32_t {
  prescale_low = 0,
  prescale_high = 1,
  control = 2,
  data = 3,
  command = 4,  // status when read
};

constexpr uint32_t size = 0x400;

constexpr uint8_t control_enable = 0x80;

constexpr uint8_t command_start = 0x80;
constexpr uint8_t command_stop = 0x40;
constexpr uint8_t command_read = 0x20;
constexpr uint8_t command_write = 0x10;
constexpr uint8_t command_no_acknowledge = 0x08;

constexpr uint8_t status_no_acknowledge = 0x80;
constexpr uint8_t status_bus_taken = 0x40;
constexpr uint8_t status_busy = 0x02;

namespace map {

inline constexpr Field control_fields[] = {field("enable", control_enable, "the master runs")};
// One register with two faces: the upper bits are a command when written, a status when read.
inline constexpr Field command_fields[] = {
    field("start", command_start, "written: a start; read: nobody acknowledged"),
    field("stop", command_stop, "written: a stop; read: the bus is taken"),
    field("read", command_read, "written: receive a byte"),
    field("write", command_write, "written: send a byte"),
    field("no_acknowledge", command_no_acknowledge, "written: do not acknowledge the byte"),
    field("busy", status_busy, "read: a transfer is under way"),
};

inline constexpr Register registers[] = {
    {"prescale_low", prescale_low, 8, rw, "clock divider, low byte"},
    {"prescale_high", prescale_high, 8, rw, "clock divider, high byte"},
    {"control", control, 8, rw, "the master", control_fields},
    {"data", data, 8, rw, "byte to send; byte that was received"},
    {"command", command, 8, rw, "command when written, status when read", command_fields,
     Effect::write_starts},
};
inline constexpr Block block = {"i2c",     Space::mmio, "I2C master",
                                registers, size,        &Chip::i2c_masters};

}  // namespace map

}  // namespace zvg::hw::i2c

#endif  // ZVG_HW_BLOCKS_I2C_MASTER_H
