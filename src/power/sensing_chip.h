// What the board's power-monitor chips have in common on their I2C bus.
#ifndef ZVG_POWER_SENSING_CHIP_H
#define ZVG_POWER_SENSING_CHIP_H

#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include <optional>

#include "core/poll.h"
#include "util_zvg.h"

namespace zvg::power {

// A chip at one address of one bus. Both directions return the I2C master's code, 0 for success.
struct SensingChip {
  uint32_t bus;
  uint32_t address;

  int read(uint32_t reg, uint8_t* bytes, uint32_t count) const {
    return static_cast<int>(zvgI2cRead(bus, address, reg, count, bytes));
  }
  int read(uint32_t reg, uint8_t* byte) const { return read(reg, byte, 1); }
  int write(uint32_t reg, uint8_t value) const {
    return static_cast<int>(zvgI2cWriteByte(bus, address, reg, value));
  }
};

// The LTC chips' waits, for what a first look has read already. Returns 0, look's error, or nothing
// in ten seconds.
template <typename Look, typename Done>
std::optional<int> wait_until(Look look, Done done) {
  constexpr uint64_t repeats = 10000;
  constexpr useconds_t step_us = 1000;
  return core::wait_read_compare(repeats, core::sleeping(step_us), look, done);
}
constexpr int busy_timeout = -1;
constexpr int ready_timeout = -2;

// What an LTC result word has on top: whether it is fresh.
constexpr uint16_t result_valid = 0x8000;

// Volts of an LTC chip's single-ended input.
constexpr double ltc_volts(int code) {
  return code * 305.18 / 1e6;
}
constexpr double ltc_supply_offset = 2.5;

constexpr char invalid_voltage[] = "invalid raw voltage is exist";

inline uint16_t big_endian(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}

inline void store(float* output, double value) {
  if (output != nullptr) *output = static_cast<float>(value);
}

}  // namespace zvg::power

#endif  // ZVG_POWER_SENSING_CHIP_H
