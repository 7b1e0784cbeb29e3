// The system control block: identification, the flash's continuous read mode, the window of the DDR
// PHYs. The on-die sensors share its place (pvt.h).
#ifndef ZVG_HW_BLOCKS_SYSTEM_CONTROL_H
#define ZVG_HW_BLOCKS_SYSTEM_CONTROL_H

#include "hw/register.h"

namespace zvg::hw::system_control {

enum Offset : uint32_t {
  identifier = 0x004,
  ddr_phy_select = 0x110,  // one a channel
  continuous_read_left = 0x168,
};

constexpr uint32_t size = 0x400;

// Identification: the upper half tells whether the chip ran its firmware out of the flash.
constexpr uint32_t identifier_chip = 0xFFFF0000;
constexpr unsigned identifier_shift = 16;

constexpr uint32_t left_continuous_read = 1;

namespace map {

inline constexpr Field identifier_fields[] = {
    field("chip", identifier_chip, "which chip this is"),
};
inline constexpr Field ddr_phy_select_fields[] = {
    field("block", 0xFF, "the PHY's block that its range shows"),
};
inline constexpr Field continuous_read_fields[] = {
    field("left", left_continuous_read, "the flash has been taken out of continuous read mode"),
};

inline constexpr Register registers[] = {
    {"identifier", identifier, 32, ro, "identification of the chip", identifier_fields},
    {.name = "ddr_phy_select",
     .offset = ddr_phy_select,
     .width = 32,
     .access = rw,
     .description = "which block of a channel's DDR PHY is seen",
     .fields = ddr_phy_select_fields,
     .count = 4,
     .stride = 4},
    {"continuous_read_left", continuous_read_left, 32, rw, "a note that firmware and tools share",
     continuous_read_fields},
};

inline constexpr Block block = {"system",  Space::mmio, "system control",
                                registers, size,        &Chip::system_control};

}  // namespace map

}  // namespace zvg::hw::system_control

#endif  // ZVG_HW_BLOCKS_SYSTEM_CONTROL_H
