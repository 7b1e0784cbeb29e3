// The DDR PHYs: many blocks of registers, of which a channel's range shows one at a time.
#ifndef ZVGSIM_DEVICES_DDR_DDR_PHY_H
#define ZVGSIM_DEVICES_DDR_DDR_PHY_H

#include <bitset>
#include <optional>

#include "board/board.h"
#include "board/device.h"
#include "devices/ddr/training_firmware.h"
#include "hw/generations.h"

namespace zvgsim {

// The block that a channel's range shows is the number in its select register, in the system
// control block. A block that nobody wrote reads as its own number in the top byte and the
// register's number below, so that a dump shows what was selected when.
class DdrPhy : public Device {
 public:
  static constexpr uint32_t size = zvg::hw::ddr_phy_size;
  static constexpr unsigned blocks = 16;

  DdrPhy(Board& board, unsigned channel, uint32_t select);

  uint64_t read(uint64_t offset, unsigned width) override;
  void write(uint64_t offset, unsigned width, uint64_t value) override;

 private:
  // Where a register of the selected block is kept. Fills the block in on its first use.
  uint64_t place(uint64_t offset, unsigned width);

  Board& board_;
  const uint32_t select_;
  std::optional<TrainingMailbox> mailbox_;
  Memory registers_{"zvgsim-ddr-phy", uint64_t{blocks} * size};
  std::bitset<blocks> filled_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_DDR_DDR_PHY_H
