// The link rates of a transmitter, and what its PHY needs for each.
#ifndef ZVG_DISPLAY_DP_RATES_H
#define ZVG_DISPLAY_DP_RATES_H

#include <stdint.h>

#include "hw/blocks/dp_cdb.h"

namespace zvg::display::dp {

namespace dp_cdb = hw::dp_cdb;

struct LinkRate {
  uint8_t code;  // as in the DPCD: units of 270 Mbit/s
  uint16_t lane_divider;
  uint16_t pll_1a1, pll_90, pll_91, pll_93, pll_88, pll_95, pll_96;

  constexpr uint16_t pll(dp_cdb::Address reg) const {
    switch (reg) {
      case dp_cdb::pll_88:
        return pll_88;
      case dp_cdb::pll_90:
        return pll_90;
      case dp_cdb::pll_91:
        return pll_91;
      case dp_cdb::pll_93:
        return pll_93;
      case dp_cdb::pll_95:
        return pll_95;
      case dp_cdb::pll_96:
        return pll_96;
      default:
        return pll_1a1;
    }
  }
};

// By link clock index.
constexpr LinkRate link_rates[] = {
    {0x06, 2, 0xF01, 0x184, 0xCCCD, 0x104, 0x317, 0x1E, 0x0C},
    {0x09, 1, 0x701, 0x184, 0xCCCD, 0x104, 0x317, 0x1E, 0x0C},
    {0x0A, 1, 0x701, 0x1B0, 0x0000, 0x120, 0x318, 0x8E, 0x42},
    {0x0C, 2, 0xB00, 0x184, 0xCCCD, 0x104, 0x317, 0x1E, 0x0C},
    {0x14, 0, 0x301, 0x1B0, 0x0000, 0x120, 0x318, 0x8E, 0x42},
    {0x1E, 0, 0x200, 0x144, 0x0000, 0x0D8, 0x318, 0x6A, 0x30},
};
constexpr uint32_t link_rate_count = sizeof link_rates / sizeof *link_rates;

// The rate of an index or of a code; null when there is none.
const LinkRate* rate_of_index(uint32_t index);
const LinkRate* rate_of_code(uint32_t code);

}  // namespace zvg::display::dp

#endif  // ZVG_DISPLAY_DP_RATES_H
