// The link rates of a transmitter, and what its PHY needs for each.
#ifndef ZVG_DISPLAY_DP_RATES_H
#define ZVG_DISPLAY_DP_RATES_H

#include <stdint.h>

namespace zvg::display::dp {

// CDB registers of the PHY's PLL that depend on the rate.
enum PllRegister : uint16_t {
  pll_88 = 0x88,
  pll_90 = 0x90,
  pll_91 = 0x91,
  pll_93 = 0x93,
  pll_95 = 0x95,
  pll_96 = 0x96,
  pll_1a1 = 0x1A1,
};

struct LinkRate {
  uint8_t code;  // as in the DPCD: units of 270 Mbit/s
  uint16_t lane_divider;
  uint16_t pll_1a1, pll_90, pll_91, pll_93, pll_88, pll_95, pll_96;

  constexpr uint16_t pll(PllRegister reg) const {
    switch (reg) {
      case PllRegister::pll_88:
        return pll_88;
      case PllRegister::pll_90:
        return pll_90;
      case PllRegister::pll_91:
        return pll_91;
      case PllRegister::pll_93:
        return pll_93;
      case PllRegister::pll_95:
        return pll_95;
      case PllRegister::pll_96:
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
