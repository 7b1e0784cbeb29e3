#include "devices/mcu/mcu.h"

#include "devices/block_bases.h"
#include "devices/monitor/monitor.h"
#include "hw/blocks/mcu.h"

namespace zvgsim {

namespace {

constexpr uint32_t page = mcu_page - Mcu::block_base;
using hw::mcu::alive_signature;
using hw::mcu::done_signature;
using hw::mcu::fifo_size;
using hw::mcu::reset_released;

enum Register : uint32_t {
  alive = page + hw::mcu::alive,
  completion = page + hw::mcu::completion,
  doorbell = page + hw::mcu::doorbell,
  slave = page + hw::mcu::parameter_b,
  start_offset = page + hw::mcu::start_offset,
  done = page + hw::mcu::done,
  target = page + hw::mcu::target,
  fifo = page + hw::mcu::fifo,
};

// A byte at 100 kHz.
constexpr uint64_t byte_time = microseconds(90);

}  // namespace

Mcu::Mcu(Board& board) : ByteBlock(board, block_base), faults_(board.faults().of<McuFaults>()) {
  const auto& settings = board.config().of<McuSettings>();
  for (const McuSettings::MonitorOn& one : settings.monitors) {
    const auto select = static_cast<uint8_t>(one.second_selector << 4 | one.first_selector);
    connectors_[select].bus.attach(std::make_unique<Monitor>(one.edid));
  }
  if (settings.running) {
    board.mmio_storage().write(mcu_reset, 4, hw::mcu::reset_other_bits | reset_released);
  }
}

bool Mcu::running() {
  return (board().mmio_storage().read(mcu_reset, 4) & reset_released) != 0;
}

uint8_t Mcu::read_byte(uint32_t offset) {
  if (offset >= alive && offset < alive + 4) {
    return static_cast<uint8_t>((running() ? alive_signature : 0) >> 8 * (offset - alive));
  }
  if (pending_ && board().clock().now() >= done_at_ && !faults_.never_done) {
    pending_ = false;
    serve_request();
    store_word(done, done_signature);
  }
  return stored(offset);
}

void Mcu::write_byte(uint32_t offset, uint8_t value) {
  store(offset, value);
  if (offset != doorbell || value != hw::mcu::doorbell_ring || !running()) return;
  pending_ = true;
  done_at_ = board().clock().now() + (fifo_size + 3) * byte_time;
}

void Mcu::serve_request() {
  const auto connector = connectors_.find(stored(target));
  const uint8_t address = stored(slave) & 0x7F;
  const bool answered = connector != connectors_.end() &&
                        connector->second.bus.start(address, false) &&
                        connector->second.bus.write(stored(start_offset)) &&
                        connector->second.bus.start(address, true);
  for (unsigned i = 0; answered && i < fifo_size; ++i)
    store(fifo + i, connector->second.bus.read());
  if (connector != connectors_.end()) connector->second.bus.stop();
  store(completion, answered ? 0 : hw::mcu::completion_failed);
}

void Mcu::store_word(uint32_t offset, uint32_t word) {
  for (unsigned i = 0; i < 4; ++i) store(offset + i, static_cast<uint8_t>(word >> 8 * i));
}

namespace {

void place(Board& board) {
  board.attach(Mcu::block_base, Board::attach_unit, std::make_unique<Mcu>(board));
}

}  // namespace

Model mcu_model() {
  return {.read = read_mcu, .read_faults = read_mcu_faults, .place = place};
}

}  // namespace zvgsim
