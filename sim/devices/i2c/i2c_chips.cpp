#include "devices/i2c/i2c_chips.h"

#include <memory>

#include "devices/i2c/i2c_registers.h"
#include "devices/power_monitors/ina3221.h"
#include "devices/power_monitors/ltc299x.h"

namespace zvgsim {

namespace {

std::unique_ptr<I2cDevice> make(Board& board, const PowerMonitorSettings& config) {
  switch (config.chip) {
    case PowerChip::ltc2990:
      return std::make_unique<Ltc2990>(board, config);
    case PowerChip::ltc2991:
      return std::make_unique<Ltc2991>(board, config);
    case PowerChip::ina3221:
      return std::make_unique<Ina3221>(board, config);
  }
  return nullptr;
}

// Faults may come and go while the board runs.
void connect_faults(Board& board, unsigned number) {
  I2cBus& bus = board.i2c(number);
  const FaultPlan& faults = board.faults();
  bus.unheard = [&faults, number](uint8_t address) {
    const I2cFault* const fault = faults.i2c(number, address);
    return fault != nullptr && fault->nack;
  };
  bus.refused = [&faults, number](uint8_t address, unsigned byte) {
    const I2cFault* const fault = faults.i2c(number, address);
    return fault != nullptr && fault->nack_at_byte == byte;
  };
}

}  // namespace

void install_i2c_chips(Board& board) {
  for (unsigned bus = 0; bus < i2c_buses; ++bus) connect_faults(board, bus);
  const BoardConfig& config = board.config();
  for (const PowerMonitorSettings& monitor : config.power_monitors) {
    board.i2c(monitor.bus).attach(make(board, monitor));
  }
  for (const I2cMemorySettings& one : config.i2c_memories) {
    auto memory = std::make_unique<I2cMemory>(one.address);
    for (size_t i = 0; i < one.contents.size(); ++i) {
      (*memory)[static_cast<uint8_t>(i)] = one.contents[i];
    }
    board.i2c(one.bus).attach(std::move(memory));
  }
  for (const auto& input : config.video) {
    if (input) board.i2c(input->bus).attach(std::make_unique<I2cMemory>(input->address));
  }
}

}  // namespace zvgsim
