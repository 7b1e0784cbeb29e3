// A driver node whose I2C requests a test answers.
#ifndef TESTS_SUPPORT_I2C_NODE_H
#define TESTS_SUPPORT_I2C_NODE_H

#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace zvgtest {

// Transfers are written down as
//   "i2c r 1:4c 04 x12"       bus 1, device 0x4C, register 4, 12 bytes
//   "i2c w 1:4c 01 5f"        the bytes written
// Devices are plain registers: what is written is read back, unless on_read decides otherwise.
class I2cNode {
 public:
  I2cNode() {
    node.on_request = [this](unsigned long number, void* record) { return answer(number, record); };
    node.open();
  }

  RegisterNode node;
  // Registers by bus, device and number.
  std::map<uint8_t, uint8_t>& device(uint32_t bus, uint32_t address) {
    return registers_[bus << 8 | address];
  }
  // Called before the bytes of a read are taken; may change the registers.
  std::function<void(uint32_t address, uint32_t reg)> on_read;
  // The driver's status of the n-th transfer, counted from 1.
  std::function<int(unsigned transfer)> status;

  std::vector<std::string> take() { return node.take(); }
  unsigned transfers() const { return transfers_; }
  void restart() {
    transfers_ = 0;
    node.slept_us = 0;
    take();
  }

 private:
  struct Record {
    uint32_t card, bus, device, reg, op, length;
    uint8_t data[512];
    uint32_t result;
  };

  int answer(unsigned long number, void* bytes) {
    if (_IOC_NR(number) != 0x0F) return -1;
    Record record;
    memcpy(&record, bytes, sizeof record);
    ++transfers_;
    const bool write = record.op == ZVG_OP_WRITE;
    char line[64];
    snprintf(line, sizeof line, "i2c %c %u:%02x %02x", write ? 'w' : 'r', record.bus, record.device,
             record.reg);
    std::string text = line;
    text += write ? " " + hex(record.data, record.length) : " x" + std::to_string(record.length);
    if (!node.quiet) node.platform.note(text);
    record.result = static_cast<uint32_t>(status ? status(transfers_) : 0);
    if (record.result == 0) {
      if (!write && on_read) on_read(record.device, record.reg);
      auto& registers = device(record.bus, record.device);
      for (uint32_t i = 0; i < record.length; ++i) {
        uint8_t& reg = registers[static_cast<uint8_t>(record.reg + i)];
        if (write) {
          reg = record.data[i];
        } else {
          record.data[i] = reg;
        }
      }
    }
    memcpy(bytes, &record, sizeof record);
    return 0;
  }

  std::map<uint32_t, std::map<uint8_t, uint8_t>> registers_;
  unsigned transfers_ = 0;
};

}  // namespace zvgtest

#endif  // TESTS_SUPPORT_I2C_NODE_H
