#include "power/reference_pll_search.h"

namespace zvgtest {

namespace {

uint32_t band_of(uint32_t pfd) {
  if (pfd <= 11000) return 1;
  if (pfd <= 18000) return 2;
  if (pfd <= 30000) return 3;
  if (pfd <= 50000) return 4;
  if (pfd <= 80000) return 5;
  if (pfd <= 130000) return 6;
  return 7;
}

}  // namespace

int reference_pll_search(int input_khz, unsigned max_post_divider, unsigned target_khz,
                         uint32_t* word) {
  const auto input = static_cast<uint32_t>(input_khz);
  uint32_t tolerance = target_khz < 1000000 ? 1000 : 2000;
  uint32_t best_post = 16;
  uint32_t best_word = 0;
  bool found = false;
  for (uint32_t n = 1; n <= 512; ++n) {
    for (uint32_t m = 1; m <= 64; ++m) {
      const uint32_t pfd = input / m;
      if (pfd < 7000 || pfd > 200000) continue;
      const uint32_t vco = 2 * input * n / m;
      if (vco < 3000000 || vco > 6000000) continue;
      for (uint32_t shift = 1; shift <= 7; ++shift) {
        const uint32_t base = (n - 1) << 16 | (m - 1) << 8 | shift << 4 | band_of(pfd);
        for (uint32_t post = 1; post <= max_post_divider; ++post) {
          const uint32_t output = (vco >> shift) / post;
          const uint32_t error = output > target_khz ? output - target_khz : target_khz - output;
          const bool nearer = error < tolerance;
          if (!nearer && !(error == tolerance && post < best_post)) continue;
          if (nearer) tolerance = error;
          best_post = post;
          best_word = base | (post - 1) << 28;
          found = true;
        }
      }
    }
  }
  *word = best_word;
  return found ? 0 : -2;
}

}  // namespace zvgtest
