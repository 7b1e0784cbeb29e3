// The SPI controller's registers with a flash's answers behind them, and its accesses in words.
#ifndef TESTS_FLASH_FLASH_LOG_H
#define TESTS_FLASH_FLASH_LOG_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio.h>

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace zvgtest {

using Log = std::vector<std::string>;

inline Log operator+(Log a, const Log& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}
inline Log operator*(unsigned count, const Log& log) {
  Log all;
  for (unsigned i = 0; i < count; ++i) all = std::move(all) + log;
  return all;
}

// Accesses of the SPI block by the register's offset, as the register node writes them down.
inline std::string w(unsigned offset, unsigned value) {
  char text[48];
  snprintf(text, sizeof text, "w4 0x%x 0x%x", zvg_gpu_hardware[ZVG_HW_SPI_FLASH] + offset, value);
  return text;
}
inline std::string r(unsigned offset) {
  char text[48];
  snprintf(text, sizeof text, "r4 0x%x", zvg_gpu_hardware[ZVG_HW_SPI_FLASH] + offset);
  return text;
}
inline std::string system_read(unsigned offset) {
  char text[48];
  snprintf(text, sizeof text, "r4 0x%x", zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL] + offset);
  return text;
}
inline std::string system_write(unsigned offset, unsigned value) {
  char text[48];
  snprintf(text, sizeof text, "w4 0x%x 0x%x", zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL] + offset,
           value);
  return text;
}

// Pieces of sequences. A poll that ends at its first look is one read of the status.
inline const unsigned control = 0x00, frames = 0x04, enable = 0x08, sel = 0x10, divider = 0x14,
                      status = 0x28, mask = 0x2C, data = 0x60, delay = 0xF0, enhanced = 0xF4;
inline Log looked() {
  return {r(status)};
}
inline Log thresholds(unsigned value) {
  return {w(0x18, value), w(0x1C, value), w(0x20, value), w(0x24, value)};
}
inline Log queued(const std::vector<unsigned>& bytes) {
  Log log = {w(sel, 0)};
  for (const unsigned byte : bytes) log.push_back(w(data, byte));
  return log;
}
inline Log sent(const std::vector<unsigned>& bytes) {
  return queued(bytes) + Log{w(sel, 1)} + looked();
}
inline Log short_sent(unsigned opcode) {
  return Log{w(data, opcode)} + looked();
}
inline Log answered(unsigned opcode) {
  return Log{w(data, opcode), r(status), r(data)};
}
inline Log one_answer() {
  return {w(enable, 0), w(control, 0x70300), w(frames, 0), w(enable, 1)};
}
// Continuous read was left before.
inline Log left() {
  return {system_read(0x168)};
}

// The flash behind the registers: what the status register says, and what the data register gives.
class FlashNode : public testing::Test {
 protected:
  void SetUp() override {
    node_.on_read = [this](uint64_t at, uint64_t* value) {
      const uint64_t offset = at - zvg_gpu_hardware[ZVG_HW_SPI_FLASH];
      if (offset == status) {
        ++status_reads_;
        *value = on_status ? on_status() : ready();
        return true;
      }
      if (offset == data) {
        *value = next();
        return true;
      }
      return false;
    };
    open(0x201);
  }

  void open(uint32_t generation) {
    if (get_s_type() != UINT32_MAX) zvgClose();
    node_.device_id = generation;
    node_.open();
    set(zvg_gpu_hardware[ZVG_HW_SYSTEM_CONTROL] + 0x168, 1);
    node_.take();
  }
  void set(uint64_t at, uint32_t word) {
    for (unsigned i = 0; i < 4; ++i) node_.bytes[at + i] = static_cast<uint8_t>(word >> (8 * i));
  }
  // All that is waited for has come: in the transmitting modes exactly 6.
  uint32_t ready() {
    const uint64_t at = zvg_gpu_hardware[ZVG_HW_SPI_FLASH] + control;
    return node_.bytes[at + 1] == 0x01 ? 6 : 0x18;
  }
  uint32_t next() {
    if (answers.empty()) return otherwise;
    const uint32_t value = answers.front();
    answers.pop_front();
    return value;
  }
  Log take() { return node_.take(); }

  RegisterNode node_;
  // What the controller's status reads as, instead of ready().
  std::function<uint32_t()> on_status;
  unsigned status_reads_ = 0;
  std::deque<uint32_t> answers;  // of the data register, then
  uint32_t otherwise = 0;
};

}  // namespace zvgtest

#endif  // TESTS_FLASH_FLASH_LOG_H
