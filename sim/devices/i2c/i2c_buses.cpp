// The board's I2C buses: the chip's masters, the memories on them, and their faults.
#include <memory>

#include "board/board.h"
#include "devices/block_bases.h"
#include "devices/i2c/i2c_master.h"
#include "devices/i2c/i2c_registers.h"
#include "devices/i2c/i2c_settings.h"

namespace zvgsim {

namespace {

// Faults may come and go while the board runs.
void connect_faults(Board& board, unsigned number) {
  I2cBus& bus = board.i2c(number);
  const auto& faults = board.faults().of<I2cFaults>();
  bus.unheard = [&faults, number](uint8_t address) {
    const I2cFault* const fault = faults.find(number, address);
    return fault != nullptr && fault->nack;
  };
  bus.refused = [&faults, number](uint8_t address, unsigned byte) {
    const I2cFault* const fault = faults.find(number, address);
    return fault != nullptr && fault->nack_at_byte == byte;
  };
}

void place(Board& board) {
  for (unsigned master = 0; master < i2c_masters; ++master) {
    board.attach(i2c_master_base + master * i2c_master_stride, i2c_master_stride,
                 std::make_unique<I2cMaster>(board, master));
  }
  for (unsigned bus = 0; bus < i2c_buses; ++bus) connect_faults(board, bus);
  for (const I2cMemorySettings& one : board.config().of<I2cSettings>().memories) {
    auto memory = std::make_unique<I2cMemory>(one.address);
    for (size_t i = 0; i < one.contents.size(); ++i) {
      (*memory)[static_cast<uint8_t>(i)] = one.contents[i];
    }
    board.i2c(one.bus).attach(std::move(memory));
  }
}

}  // namespace

Model i2c_model() {
  return {.read = read_i2c, .read_faults = read_i2c_faults, .place = place};
}

}  // namespace zvgsim
