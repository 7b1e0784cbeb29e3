// A recorded clock block: accesses by the names of their registers.
#ifndef TESTS_POWER_CLOCK_BLOCK_H
#define TESTS_POWER_CLOCK_BLOCK_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace zvgtest {

using Log = std::vector<std::string>;

enum ClockRegister : uint32_t {
  ctl = 0x00,
  dev = 0x04,
  dev2 = 0x08,
  gpu = 0x0C,
  gpu2 = 0x10,
  fifth = 0x14,
  sel = 0x30,
  post = 0x34,
  lock = 0x50,
};

class ClockBlock : public testing::Test {
 protected:
  void open(uint32_t device_id) {
    node_.device_id = device_id;
    node_.open();
  }

  static uint32_t base() { return zvg_gpu_hardware[ZVG_HW_CLOCK]; }

  void program(ClockRegister reg, uint32_t value) {
    for (int i = 0; i < 4; ++i)
      node_.bytes[base() + reg + i] = static_cast<uint8_t>(value >> 8 * i);
  }

  uint32_t content(ClockRegister reg) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value |= uint32_t{node_.bytes[base() + reg + i]} << 8 * i;
    return value;
  }

  // "r sel", "w gpu 0x1234": 32-bit accesses in the clock block; others stay as they are.
  Log take() {
    Log lines;
    for (const std::string& line : node_.take()) {
      char kind = 0;
      unsigned long offset = 0;
      unsigned long value = 0;
      const int fields = sscanf(line.c_str(), "%c4 0x%lx 0x%lx", &kind, &offset, &value);
      const char* const name = fields >= 2 ? name_of(offset - base()) : nullptr;
      if (name == nullptr) {
        lines.push_back(line);
      } else if (kind == 'r') {
        lines.push_back(std::string("r ") + name);
      } else {
        lines.push_back(write(name, static_cast<uint32_t>(value)));
      }
    }
    return lines;
  }

  static std::string write(const std::string& name, uint32_t value) {
    char text[32];
    snprintf(text, sizeof text, " 0x%x", value);
    return "w " + name + text;
  }

  static const char* name_of(unsigned long offset) {
    switch (offset) {
      case ctl:
        return "ctl";
      case dev:
        return "dev";
      case dev2:
        return "dev2";
      case gpu:
        return "gpu";
      case gpu2:
        return "gpu2";
      case fifth:
        return "fifth";
      case sel:
        return "sel";
      case post:
        return "post";
      case lock:
        return "lock";
      default:
        return nullptr;
    }
  }

  RegisterNode node_;
};

}  // namespace zvgtest

#endif  // TESTS_POWER_CLOCK_BLOCK_H
