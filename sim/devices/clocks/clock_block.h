// The clock generators: four PLLs, a fifth one, the clock selection and the post-dividers.
#ifndef ZVGSIM_DEVICES_CLOCKS_CLOCK_BLOCK_H
#define ZVGSIM_DEVICES_CLOCKS_CLOCK_BLOCK_H

#include <array>
#include <cstdint>

#include "board/board.h"
#include "board/device.h"
#include "devices/clocks/clock_settings.h"
#include "hw/blocks/clocks.h"

namespace zvgsim {

// A PLL loses its lock when its configuration is written or its power goes, and has it again some
// time after both were last changed. Powered up, all are programmed for the board's clocks and
// locked. The other registers keep what is written to them.
class ClockBlock : public Device {
 public:
  static constexpr uint32_t size = zvg::hw::clocks::size;

  ClockBlock(Board& board, uint32_t base);

  uint64_t read(uint64_t offset, unsigned width) override;
  void write(uint64_t offset, unsigned width, uint64_t value) override;

 private:
  uint32_t word(uint32_t offset) const;
  void set_word(uint32_t offset, uint32_t value);
  void update_lock_status();

  Board& board_;
  const ClockSettings& settings_;
  const ClockFaults& faults_;
  const uint32_t base_;
  std::array<uint64_t, plls> locked_at_{};  // ns; the PLL is powered
};

// The configuration word whose PLL output comes nearest to a frequency in MHz, from the board's
// 27 MHz reference.
uint32_t pll_word(double mhz);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_CLOCKS_CLOCK_BLOCK_H
