// The memories on the board's I2C buses, and what can be wrong with the buses.
#ifndef ZVGSIM_DEVICES_I2C_I2C_SETTINGS_H
#define ZVGSIM_DEVICES_I2C_I2C_SETTINGS_H

#include <cstdint>
#include <optional>
#include <vector>

#include "board/board_config.h"

namespace zvgsim {

class FileTable;

// A memory, or a chip of which only the registers matter.
struct I2cMemorySettings {
  unsigned bus = 0;
  uint8_t address = 0;
  std::vector<uint8_t> contents;  // from register 0 on
};

struct I2cSettings {
  std::vector<I2cMemorySettings> memories;
};

// What is wrong with a bus, or with one device on it. They last.
struct I2cFault {
  unsigned bus = 0;
  std::optional<uint8_t> address{};        // not set: the bus
  bool hangs = false;                      // the bus: no transfer ever ends
  bool nack = false;                       // the device does not answer its address
  std::optional<unsigned> nack_at_byte{};  // nor acknowledge this byte after it, counted from 1
  // Power monitors.
  bool stays_busy = false;
  bool never_ready = false;  // no ready bit is ever set
  bool drops_valid = false;  // results come without their data-valid bit
};

struct I2cFaults {
  std::vector<I2cFault> list;

  // The fault of a bus, or of one device on it; null when it is in order.
  const I2cFault* find(unsigned bus, std::optional<uint8_t> address = {}) const;
};

void read_i2c(FileTable& root, BoardConfig& config);
void read_i2c_faults(FileTable& faults, FaultConfig& config);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_I2C_I2C_SETTINGS_H
