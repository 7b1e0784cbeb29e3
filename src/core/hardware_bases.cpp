#include "core/hardware_bases.h"

#include <stdint.h>
#include <string.h>

#include "util_zvg.h"

namespace zvg::core {

namespace {

constexpr unsigned ddr_bases = 4;  // of each kind, used or not

struct Table {
  uint32_t words[ZVG_HW_WORDS];
};

constexpr Table table_of(const hw::Chip& chip) {
  Table table = {};
  uint32_t* const words = table.words;
  words[ZVG_HW_SYSTEM_CONTROL] = chip.system_control.first;
  words[ZVG_HW_SPI_FLASH] = chip.spi.first;
  words[ZVG_HW_CLOCK] = chip.clocks.first;
  words[3] = chip.unused_blocks[0];
  words[4] = chip.unused_blocks[1];
  const uint32_t channels = chip.ddr_controllers.count;
  words[ZVG_HW_DDR_CHANNELS] = channels;
  // The entries of channels that the chip does not have repeat the first one.
  for (uint32_t i = 0; i < ddr_bases; ++i) {
    const uint32_t channel = i < channels ? i : 0;
    words[ZVG_HW_DDR_CONTROLLER + i] = chip.ddr_controllers.base(channel);
    words[ZVG_HW_DDR_PHY + i] = chip.ddr_phys.base(channel);
  }
  return table;
}

constexpr Table initial = table_of(hw::chip_of(hw::Generation::rq301));

void fill_in(const hw::Chip& chip) {
  const Table table = table_of(chip);
  memcpy(zvg_gpu_hardware, table.words, sizeof table.words);
}

}  // namespace

void provide_bases(const hw::Chip& chip) {
  const Table table = table_of(chip);
  if (memcmp(table.words, initial.words, sizeof table.words) != 0) fill_in(chip);
}

}  // namespace zvg::core

using zvg::core::initial;

uint32_t zvg_gpu_hardware[ZVG_HW_WORDS] = {
    initial.words[0],  initial.words[1],  initial.words[2],  initial.words[3],  initial.words[4],
    initial.words[5],  initial.words[6],  initial.words[7],  initial.words[8],  initial.words[9],
    initial.words[10], initial.words[11], initial.words[12], initial.words[13],
};
static_assert(ZVG_HW_WORDS == 14);

uint32_t* set_rq302_reg_base(void) {
  zvg::core::fill_in(zvg::hw::chip_of(zvg::hw::Generation::rq302));
  return zvg_gpu_hardware;
}
