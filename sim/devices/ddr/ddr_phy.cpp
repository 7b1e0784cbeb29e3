#include "devices/ddr/ddr_phy.h"

#include <memory>

#include "devices/block_bases.h"
#include "hw/blocks/system_control.h"

namespace zvgsim {

DdrPhy::DdrPhy(Board& board, unsigned channel, uint32_t select) : board_(board), select_(select) {
  const auto& training = board.config().of<TrainingSettings>();
  if (training.enabled) mailbox_.emplace(training, channel, board.clock());
}

uint64_t DdrPhy::place(uint64_t offset, unsigned width) {
  const auto block = static_cast<unsigned>(board_.mmio_storage().read(select_, 1)) % blocks;
  const uint64_t base = uint64_t{block} * size;
  if (!filled_[block]) {
    filled_.set(block);
    for (uint32_t at = 0; at < size; at += 4) registers_.write(base + at, 4, block << 24 | at / 4);
  }
  // An access that begins at the very end stays inside.
  return base + (offset + width <= size ? offset : size - width);
}

uint64_t DdrPhy::read(uint64_t offset, unsigned width) {
  if (mailbox_ && width == 4) {
    if (const auto word = mailbox_->read(static_cast<uint32_t>(offset))) return *word;
  }
  return registers_.read(place(offset, width), width);
}

void DdrPhy::write(uint64_t offset, unsigned width, uint64_t value) {
  if (mailbox_ && width == 4) {
    mailbox_->write(static_cast<uint32_t>(offset), static_cast<uint32_t>(value));
  }
  registers_.write(place(offset, width), width, value);
}

namespace {

void place(Board& board) {
  const BlockBases bases = block_bases(board.generation());
  for (unsigned channel = 0; channel < bases.ddr_channels; ++channel) {
    const uint32_t select = bases.system_control + hw::system_control::ddr_phy_select + 4 * channel;
    board.attach(bases.ddr_phy[channel], DdrPhy::size,
                 std::make_unique<DdrPhy>(board, channel, select));
  }
}

}  // namespace

Model ddr_model() {
  return {.read = read_training, .place = place};
}

}  // namespace zvgsim
