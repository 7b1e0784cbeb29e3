#include "devices/amba/amba_bridge.h"

#include "board/file_table.h"
#include "hw/bus.h"

namespace zvgsim {

namespace {

using namespace hw::amba;

constexpr uint64_t bus_latency = microseconds(5);

constexpr unsigned word_size = 4;

}  // namespace

uint8_t AmbaBridge::read(uint8_t index) {
  switch (index) {
    case read_data:
      return read_data_;
    case status:
      if (!answered_ || board_.clock().now() < answered_at_) return 0;
      return hw::chip_of(board_.generation()).amba_done;
    default:
      return registers_[index - first_index];
  }
}

void AmbaBridge::write(uint8_t index, uint8_t value) {
  uint8_t& stored = registers_[index - first_index];
  switch (index) {
    case hw::amba::command: {
      const uint8_t rising = static_cast<uint8_t>(value & ~stored);
      stored = value;  // before the command runs: the bus may lead back here
      command(rising);
      return;
    }
    // The status follows the bus. Writing it selects what it shows, and there is only one thing.
    case status:
    case read_data:
      return;
    default:
      stored = value;
  }
}

void AmbaBridge::command(uint8_t bits) {
  const auto at = [this](uint8_t index) { return registers_[index - first_index]; };
  if ((bits & take_address) != 0) {
    for (unsigned byte = 0; byte < hw::bus_address_bytes; ++byte) {
      if ((at(address_select) & address_bytes & 1u << byte) == 0) continue;
      address_ &= ~(uint64_t{0xFF} << (8 * byte));
      address_ |= uint64_t{at(address_byte)} << (8 * byte);
    }
    address_for_write_ = (at(address_select) & address_is_write) != 0;
  }
  if ((bits & take_write_lane) != 0) {
    if ((at(write_lane) & lane_valid) != 0) {
      line_[at(write_lane) & lane_number] = at(write_data);
    } else {
      line_.fill(0);  // no lane: begins a new line
    }
  }
  if ((bits & take_enables) != 0) {
    const uint8_t enables = at(enables_byte);
    if ((at(enables_select) & enables_low) != 0) {
      enables_ = static_cast<uint16_t>((enables_ & 0xFF00) | enables);
    }
    if ((at(enables_select) & enables_high) != 0) {
      enables_ = static_cast<uint16_t>((enables_ & 0x00FF) | enables << 8);
    }
  }
  if ((bits & hw::amba::start_write) != 0) start_write();
  if ((bits & hw::amba::start_read) != 0) start_read();
  if ((bits & take_read_lane) != 0 && (at(read_lane) & lane_valid) != 0) {
    read_data_ = line_[at(read_lane) & lane_number];
  }
  if ((bits & acknowledge) != 0) answered_ = false;
}

bool AmbaBridge::has_bus() const {
  if (master_) return false;  // one transaction at a time, also when it leads back to the bridge
  const uint8_t mode = hw::chip_of(board_.generation()).amba_bus_mode;
  return mode == 0 || registers_[bus_mode - first_index] == mode;
}

// A bus address that nobody decodes is never answered, and the status never changes.
void AmbaBridge::complete(bool answered) {
  answered_ = answered && !faults_.never_answers;
  answered_at_ = board_.clock().now() + bus_latency;
}

void AmbaBridge::start_read() {
  answered_ = false;
  if (!has_bus() || address_for_write_) return;
  master_ = true;
  const uint64_t base = address_ & ~uint64_t{line_size - 1};
  bool answered = true;
  for (unsigned lane = 0; lane < line_size && answered; lane += word_size) {
    uint32_t word = 0;
    answered = board_.bus_read(base + lane, 0xF, &word, true);
    for (unsigned i = 0; i < word_size; ++i)
      line_[lane + i] = static_cast<uint8_t>(word >> (8 * i));
  }
  complete(answered);
  master_ = false;
}

void AmbaBridge::start_write() {
  answered_ = false;
  if (!has_bus() || !address_for_write_) return;
  master_ = true;
  const uint64_t base = address_ & ~uint64_t{line_size - 1};
  bool answered = Board::decode_bus(base, line_size).has_value();
  for (unsigned lane = 0; lane < line_size && answered; lane += word_size) {
    const unsigned enables = enables_ >> lane & 0xF;
    if (enables == 0) continue;
    uint32_t word = 0;
    for (unsigned i = 0; i < word_size; ++i) word |= uint32_t{line_[lane + i]} << (8 * i);
    answered = board_.bus_write(base + lane, enables, word, true);
  }
  complete(answered);
  master_ = false;
}

// The VGA registers hold the bridge: alone it is nowhere on the board.
Model amba_model() {
  return {.read_faults = [](FileTable& faults, FaultConfig& config) {
    faults.table("amba", [&](FileTable& table) {
      table.boolean("never_answers", &config.of<AmbaFaults>().never_answers);
    });
  }};
}

}  // namespace zvgsim
