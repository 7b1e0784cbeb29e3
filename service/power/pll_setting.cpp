#include "service/power/pll_setting.h"

#include <math.h>
#include <util_zvg.h>

#include <nlohmann/json.hpp>

#include "service/board/error.h"
#include "service/text.h"

namespace zvg {

PllSetting::PllSetting(uint32_t value)
    : word(value),
      multiplier((value >> 16 & 0x1FF) + 1),
      input_divider((value >> 8 & 0x3F) + 1),  // the search goes beyond the five bits of the field
      output_shift(value >> 4 & 0x7),
      post_divider((value >> 28) + 1),
      band(value & 0xF) {}

PllPlan plan_pll(double input_mhz, unsigned max_post_divider, double target_mhz) {
  const auto input = static_cast<int>(lround(input_mhz * 1000));
  if (input < 7000 || input > 600'000) {
    throw_error(ErrorKind::bad_argument, "--input: a PLL takes 7 to 600 MHz, not %g", input_mhz);
  }
  const auto target = static_cast<unsigned>(lround(target_mhz * 1000));
  uint32_t word = 0;
  if (zvg_rq300_pllcalc(input, max_post_divider, target, &word) != 0) {
    throw_error(
        ErrorKind::unsupported, "no setting comes within %d MHz of %g MHz%s",
        target < 1'000'000 ? 1 : 2, target_mhz,
        max_post_divider < 16 ? "; a post-divider may help (--max-post up to 16, RQ301 only)" : "");
  }
  const PllSetting setting(word);
  return {setting, target_mhz, setting.output_mhz(input_mhz) / setting.post_divider};
}

Json plan_json(const PllPlan& plan, double input_mhz) {
  const PllSetting& s = plan.setting;
  return {{"word", hex(s.word, 8)},
          {"n", s.multiplier},
          {"m", s.input_divider},
          {"od", s.output_shift},
          {"p", s.post_divider},
          {"band", s.band},
          {"compare_mhz", s.compare_mhz(input_mhz)},
          {"vco_mhz", s.vco_mhz(input_mhz)},
          {"target_mhz", plan.target_mhz},
          {"output_mhz", plan.made_mhz},
          {"error_khz", plan.error_khz()}};
}

}  // namespace zvg
