// The SPI flash, and what can be wrong with it.
#ifndef ZVGSIM_DEVICES_FLASH_FLASH_SETTINGS_H
#define ZVGSIM_DEVICES_FLASH_FLASH_SETTINGS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "board/board_config.h"

namespace zvgsim {

class FileTable;

constexpr uint32_t flash_size = 0x200000;

// An EDID in the flash's board information.
struct FlashEdid {
  unsigned output = 0;
  std::vector<uint8_t> edid;  // 128 or 256 bytes
};

// Serial number and EDIDs are what a new image begins with.
struct FlashSettings {
  std::string image;  // the file of its content; empty: forgotten when the board goes
  std::string serial;
  std::vector<FlashEdid> edids;
  bool write_protected = false;  // all blocks, until the status register is written
};

struct FlashFaults {
  bool stays_busy = false;
  uint64_t lost_write_enable = 0;      // the n-th one does not get through; 0: none
  std::optional<uint32_t> bad_byte{};  // the byte at this address cannot be programmed
  uint64_t power_cut_at_frame = 0;     // the n-th frame written to the controller; 0: never
};

void read_flash(FileTable& root, BoardConfig& config);
void read_flash_faults(FileTable& faults, FaultConfig& config);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_FLASH_FLASH_SETTINGS_H
