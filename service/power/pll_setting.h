// A PLL's configuration word, taken apart.
#ifndef ZVG_SERVICE_POWER_PLL_SETTING_H
#define ZVG_SERVICE_POWER_PLL_SETTING_H

#include <cstdint>

#include "service/json.h"

namespace zvg {

struct PllSetting {
  uint32_t word;
  unsigned multiplier;
  unsigned input_divider;
  unsigned output_shift;
  unsigned post_divider;
  unsigned band;

  explicit PllSetting(uint32_t value);

  double compare_mhz(double input_mhz) const { return input_mhz / input_divider; }
  double vco_mhz(double input_mhz) const { return 2 * input_mhz * multiplier / input_divider; }
  // Without the post-divider.
  double output_mhz(double input_mhz) const { return vco_mhz(input_mhz) / (1u << output_shift); }
};

constexpr double board_reference_mhz = 27;

// A setting that was looked for, and what comes of it.
struct PllPlan {
  PllSetting setting;
  double target_mhz;
  double made_mhz;

  double error_khz() const { return (made_mhz - target_mhz) * 1000; }
};

// The best setting for a frequency at the PLL's output. Throws an Error when there is none.
PllPlan plan_pll(double input_mhz, unsigned max_post_divider, double target_mhz);

Json plan_json(const PllPlan& plan, double input_mhz);

}  // namespace zvg

#endif  // ZVG_SERVICE_POWER_PLL_SETTING_H
