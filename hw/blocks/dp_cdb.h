// The 16-bit configuration registers inside a DisplayPort PHY. Of most of them nothing is known but
// the values that they are given.
#ifndef ZVG_HW_BLOCKS_DP_CDB_H
#define ZVG_HW_BLOCKS_DP_CDB_H

#include "hw/register.h"

namespace zvg::hw::dp_cdb {

enum Address : uint16_t {
  common_4c = 0x004C,
  // Parameters of the common PLL.
  pll_82 = 0x0082,
  pll_84 = 0x0084,
  pll_85 = 0x0085,
  pll_86 = 0x0086,
  pll_88 = 0x0088,
  pll_90 = 0x0090,
  pll_91 = 0x0091,
  pll_92 = 0x0092,
  pll_93 = 0x0093,
  pll_94 = 0x0094,
  pll_95 = 0x0095,
  pll_96 = 0x0096,
  pll_9c = 0x009C,
  pll_9e = 0x009E,
  pll_1a0 = 0x01A0,
  pll_1a1 = 0x01A1,
  pll_1a4 = 0x01A4,
  pll_1a5 = 0x01A5,
  pll_1a6 = 0x01A6,
  // Of lane 0; the others follow at lane_stride.
  lane_40e5 = 0x40E5,
  lane_40e6 = 0x40E6,
  lane_divider = 0x40E7,
  lane_40ea = 0x40EA,
  lane_4100 = 0x4100,
  lane_4102 = 0x4102,
  lane_4103 = 0x4103,
  lane_8000 = 0x8000,
  lane_8002 = 0x8002,
  lane_8003 = 0x8003,
  lane_8006 = 0x8006,
  lane_8108 = 0x8108,
  lane_8110 = 0x8110,
  lane_8118 = 0x8118,
  common_c00e = 0xC00E,
  pll_state = 0xE001,
  pll_enable = 0xE003,
  common_e005 = 0xE005,
  common_e006 = 0xE006,
};

constexpr uint32_t size = 0x10000;
constexpr uint16_t lane_stride = 0x200;
constexpr uint32_t lanes = 4;

constexpr uint16_t pll_settled = 0x4;

namespace map {

constexpr Register of_pll(const char* name, Address address) {
  return {name, address, 16, rw, "parameter of the common PLL"};
}
constexpr Register of_lanes(const char* name, Address address, const char* description) {
  return {.name = name,
          .offset = address,
          .width = 16,
          .access = rw,
          .description = description,
          .count = lanes,
          .stride = lane_stride};
}

inline constexpr Field state_fields[] = {
    field("settled", pll_settled, "the PLL has done what it was told"),
};
inline constexpr Field enable_fields[] = {field("enable", 1, "1 = on")};

inline constexpr Register registers[] = {
    {"common_4c", common_4c, 16, rw, "set-up of the common block"},
    of_pll("pll_82", pll_82),
    of_pll("pll_84", pll_84),
    of_pll("pll_85", pll_85),
    of_pll("pll_86", pll_86),
    of_pll("pll_88", pll_88),
    of_pll("pll_90", pll_90),
    of_pll("pll_91", pll_91),
    of_pll("pll_92", pll_92),
    of_pll("pll_93", pll_93),
    of_pll("pll_94", pll_94),
    of_pll("pll_95", pll_95),
    of_pll("pll_96", pll_96),
    of_pll("pll_9c", pll_9c),
    of_pll("pll_9e", pll_9e),
    of_pll("pll_1a0", pll_1a0),
    of_pll("pll_1a1", pll_1a1),
    of_pll("pll_1a4", pll_1a4),
    of_pll("pll_1a5", pll_1a5),
    of_pll("pll_1a6", pll_1a6),
    of_lanes("lane_40e5_", lane_40e5, "set-up of a lane"),
    of_lanes("lane_40e6_", lane_40e6, "set-up of a lane"),
    of_lanes("lane_divider", lane_divider, "divider of a lane, by the link's rate"),
    of_lanes("lane_40ea_", lane_40ea, "set-up of a lane"),
    of_lanes("lane_4100_", lane_4100, "set-up of a lane"),
    of_lanes("lane_4102_", lane_4102, "set-up of a lane"),
    of_lanes("lane_4103_", lane_4103, "set-up of a lane"),
    of_lanes("lane_8000_", lane_8000, "set-up of a lane"),
    of_lanes("lane_8002_", lane_8002, "set-up of a lane"),
    of_lanes("lane_8003_", lane_8003, "set-up of a lane"),
    of_lanes("lane_8006_", lane_8006, "set-up of a lane"),
    of_lanes("lane_8108_", lane_8108, "set-up of a lane"),
    of_lanes("lane_8110_", lane_8110, "set-up of a lane"),
    of_lanes("lane_8118_", lane_8118, "set-up of a lane"),
    {"common_c00e", common_c00e, 16, rw, "set-up of the common block"},
    {"pll_state", pll_state, 16, ro, "state of the common PLL", state_fields},
    {"pll_enable", pll_enable, 16, rw, "the common PLL", enable_fields},
    {"common_e005", common_e005, 16, rw, "set-up of the common block"},
    {"common_e006", common_e006, 16, rw, "set-up of the common block"},
};

inline constexpr Block block = {"dp_cdb",  Space::cdb, "configuration bus of a DisplayPort PHY",
                                registers, size,       &Chip::dp_phys};

}  // namespace map

}  // namespace zvg::hw::dp_cdb

#endif  // ZVG_HW_BLOCKS_DP_CDB_H
