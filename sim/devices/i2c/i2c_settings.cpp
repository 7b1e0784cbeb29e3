#include "devices/i2c/i2c_settings.h"

#include <algorithm>
#include <utility>

#include "board/file_table.h"
#include "devices/i2c/i2c_place.h"

namespace zvgsim {

const I2cFault* I2cFaults::find(unsigned bus, std::optional<uint8_t> address) const {
  const auto found = std::find_if(list.begin(), list.end(), [&](const I2cFault& fault) {
    return fault.bus == bus && fault.address == address;
  });
  return found == list.end() ? nullptr : &*found;
}

void read_i2c(FileTable& root, BoardConfig& config) {
  root.tables("i2c_memories", [&](FileTable& table) {
    I2cMemorySettings memory;
    const bool placed = read_i2c_place(table, config, &memory.bus, &memory.address, 0x08, 0x77);
    for (const FileValue& element : table.elements("contents", "an array of bytes")) {
      uint8_t byte = 0;
      element.number(&byte);
      memory.contents.push_back(byte);
    }
    if (memory.contents.size() > 256) table.problem("expected at most 256 bytes of contents");
    if (placed) config.of<I2cSettings>().memories.push_back(std::move(memory));
  });
}

void read_i2c_faults(FileTable& faults, FaultConfig& config) {
  faults.tables("i2c", [&](FileTable& table) {
    I2cFault fault;
    table.needed("bus", &fault.bus, 0, i2c_buses - 1);
    table.number("address", &fault.address, 0, 0x7F);
    table.boolean("hangs", &fault.hangs);
    table.boolean("nack", &fault.nack);
    table.number("nack_at_byte", &fault.nack_at_byte, 1, UINT32_MAX);
    table.boolean("stays_busy", &fault.stays_busy);
    table.boolean("never_ready", &fault.never_ready);
    table.boolean("drops_valid", &fault.drops_valid);
    if (fault.hangs == fault.address.has_value()) {
      table.problem("expected either 'hangs', for the bus, or an 'address'");
    }
    config.of<I2cFaults>().list.push_back(fault);
  });
}

}  // namespace zvgsim
