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
  constexpr BlockBases rq300_rq301 = {
      0x308400,
      0x30AC00,
      0x308000,
      4,
      {0x3C0000, 0x3C8000, 0x3D0000, 0x3D8000},
      {0x400000, 0x440000, 0x480000, 0x4C0000},
  };
  constexpr BlockBases rq302 = {
      0x288400, 0x28AC00, 0x288000, 2, {0x280000, 0x130000, 0, 0}, {0x2C0000, 0x1C0000, 0, 0},
  };
  return generation == Generation::rq302 ? rq302 : rq300_rq301;
}

// Blocks that every generation has at the same place.
constexpr uint32_t vga_base = 0x10000;  // VGA port p is at vga_base + p
constexpr uint32_t i2c_master_base = 0x100000;
constexpr uint32_t i2c_master_stride = 0x400;
constexpr unsigned i2c_masters = 4;
constexpr uint32_t mcu_page = 0x3FF00;
constexpr uint32_t mcu_reset = 0x308068;
constexpr uint32_t hdmi_base = 0x110000;
constexpr uint32_t hdmi_stride = 0x10000;
constexpr uint32_t dp_base = 0x500000;  // a transmitter every 128 KiB

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_BLOCK_BASES_H
