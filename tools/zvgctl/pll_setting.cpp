#include "zvgctl/pll_setting.h"

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <util_zvg.h>

#include <nlohmann/json.hpp>

#include "zvgctl/errors.h"
#include "zvgctl/number.h"

namespace zvgctl {

PllSetting::PllSetting(uint32_t word)
    : word(word),
      multiplier((word >> 16 & 0x1FF) + 1),
      input_divider((word >> 8 & 0x3F) + 1),  // the search goes beyond the five bits of the field
      output_shift(word >> 4 & 0x7),
      post_divider((word >> 28) + 1),
      band(word & 0xF) {}

double parse_mhz(const std::string& name, const std::string& text) {
  char* end = nullptr;
  const double mhz = strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !(mhz > 0) || mhz > 4000) {
    usage_error("%s: expected MHz above 0, up to 4000, found '%s'", name.c_str(), text.c_str());
  }
  return mhz;
}

PllPlan plan_pll(double input_mhz, unsigned max_post_divider, double target_mhz) {
  const auto input = static_cast<int>(lround(input_mhz * 1000));
  if (input < 7000 || input > 600'000) {
    usage_error("--input: a PLL takes 7 to 600 MHz, not %g", input_mhz);
  }
  const auto target = static_cast<unsigned>(lround(target_mhz * 1000));
  uint32_t word = 0;
  if (zvg_rq300_pllcalc(input, max_post_divider, target, &word) != 0) {
    fail(
        "no setting comes within %d MHz of %g MHz%s", target < 1'000'000 ? 1 : 2, target_mhz,
        max_post_divider < 16 ? "; a post-divider may help (--max-post up to 16, RQ301 only)" : "");
  }
  const PllSetting setting(word);
  return {setting, target_mhz, setting.output_mhz(input_mhz) / setting.post_divider};
}

void print_plan(const PllPlan& plan, double input_mhz) {
  const PllSetting& s = plan.setting;
  printf("word              %s\n", hex(s.word, 8).c_str());
  printf("N, M, OD, P       %u, %u, %u, %u\n", s.multiplier, s.input_divider, s.output_shift,
         s.post_divider);
  printf("phase comparator  %.3f MHz (loop band %u)\n", s.compare_mhz(input_mhz), s.band);
  printf("VCO               %.3f MHz\n", s.vco_mhz(input_mhz));
  printf("output            %.3f MHz, %+.0f kHz off %g MHz\n", plan.made_mhz, plan.error_khz(),
         plan.target_mhz);
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

}  // namespace zvgctl
