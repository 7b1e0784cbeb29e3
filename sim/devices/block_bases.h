// Where the blocks of each generation stand in the MMIO space.
#ifndef ZVGSIM_DEVICES_BLOCK_BASES_H
#define ZVGSIM_DEVICES_BLOCK_BASES_H

#include <cstdint>

#include "board/generation.h"

namespace zvgsim {

constexpr unsigned max_ddr_channels = 4;

struct BlockBases {
  uint32_t system_control;
  uint32_t spi_flash;
  uint32_t clocks;
  unsigned ddr_channels;
  uint32_t ddr_controller[max_ddr_channels];  // 0 for a channel that the chip does not have
  uint32_t ddr_phy[max_ddr_channels];
};

constexpr BlockBases block_bases(Generation generation) {
  const hw::Chip& chip = hw::chip_of(generation);
  BlockBases bases = {chip.system_control.first,
                      chip.spi.first,
                      chip.clocks.first,
                      chip.ddr_controllers.count,
                      {},
                      {}};
  for (unsigned channel = 0; channel < bases.ddr_channels; ++channel) {
    bases.ddr_controller[channel] = chip.ddr_controllers.base(channel);
    bases.ddr_phy[channel] = chip.ddr_phys.base(channel);
  }
  return bases;
}

// Blocks that every generation has at the same place.
constexpr uint32_t vga_base = hw::common::vga.first;  // VGA port p is at vga_base + p
constexpr uint32_t i2c_master_base = hw::common::i2c_masters.first;
constexpr uint32_t i2c_master_stride = hw::common::i2c_masters.stride;
constexpr unsigned i2c_masters = hw::common::i2c_masters.count;
constexpr uint32_t mcu_page = hw::common::mcu.first;
constexpr uint32_t mcu_reset = hw::common::mcu_reset.first;
constexpr uint32_t hdmi_base = hw::common::hdmi_transmitters.first;
constexpr uint32_t hdmi_stride = hw::common::hdmi_transmitters.stride;
constexpr uint32_t dp_base = hw::common::dp_phys.first;  // a transmitter every 128 KiB

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_BLOCK_BASES_H
