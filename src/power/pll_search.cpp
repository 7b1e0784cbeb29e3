// Finds the PLL setting for a frequency.
//
// A PLL makes VCO = floor(2 x fin x n / M) and gives out floor(floor(VCO / 2^OD) / P), which is
// floor(2 x fin x n / (M x 2^OD x P)). Wanted is the setting with the smallest error; among those
// the one with the smallest P, and among those the first by n, then M, then OD. P, OD and M are
// gone through; n is not: the output rises with it, so that only the two values on both sides of
// the target matter.
#include <stdint.h>
#include <stdio.h>

#include <algorithm>
#include <compare>
#include <iterator>

#include "util_zvg.h"

namespace zvg::power {

namespace {

constexpr uint32_t input_min = 7000, input_max = 600000;      // kHz
constexpr uint32_t compare_min = 7000, compare_max = 200000;  // kHz, after the input divider
constexpr uint32_t vco_min = 3000000, vco_max = 6000000;      // kHz
constexpr uint32_t multipliers = 512, input_dividers = 64, output_shifts = 7;

constexpr uint32_t tolerance_below_1ghz = 1000, tolerance_from_1ghz = 2000;  // kHz
constexpr uint32_t one_ghz = 1000000;                                        // kHz

// At the tolerance itself only post-dividers below this one are accepted.
constexpr uint32_t first_best_post_divider = 16;

constexpr int range_error = -1;
constexpr int not_found = -2;

uint32_t loop_band(uint64_t compare_frequency) {
  constexpr uint32_t limits[] = {11000, 18000, 30000, 50000, 80000, 130000};  // kHz
  const auto* const limit =
      std::lower_bound(std::begin(limits), std::end(limits), compare_frequency);
  return static_cast<uint32_t>(limit - limits) + 1;
}

constexpr uint64_t divided_up(uint64_t value, uint64_t divisor) {
  return (value + divisor - 1) / divisor;
}

// The order of the members is the order of preference.
struct Setting {
  uint64_t error;  // kHz
  uint64_t post_divider;
  uint64_t multiplier;
  uint64_t input_divider;
  uint64_t output_shift;

  auto operator<=>(const Setting&) const = default;
};

class Search {
 public:
  Search(uint32_t input, uint32_t target)
      : input_(input),
        target_(target),
        best_{target < one_ghz ? tolerance_below_1ghz : tolerance_from_1ghz,
              first_best_post_divider, 0, 0, 0} {}

  void run(uint64_t max_post_divider) {
    for (uint64_t post = 1; post <= max_post_divider; ++post) {
      // After an exact hit, or where all outputs are too low, no larger one is better.
      if (best_.error == 0 || vco_max / (2 * post) + best_.error < target_) break;
      for (uint64_t shift = 1; shift <= output_shifts; ++shift) {
        for (uint64_t divider = first_divider(); divider <= last_divider(); ++divider) {
          try_multipliers(post, shift, divider);
        }
      }
    }
  }

  bool found() const { return best_.multiplier != 0; }

  uint32_t word() const {
    if (!found()) return 0;
    // A post-divider beyond 16 loses its high bits here, and an input divider beyond 32 overlaps
    // what the field is read back with.
    return static_cast<uint32_t>((best_.post_divider - 1) << 28 | (best_.multiplier - 1) << 16 |
                                 (best_.input_divider - 1) << 8 | best_.output_shift << 4 |
                                 loop_band(input_ / best_.input_divider));
  }

 private:
  // The input dividers that give the phase comparator a frequency it can work with.
  uint64_t first_divider() const { return input_ / (compare_max + 1) + 1; }
  uint64_t last_divider() const { return std::min<uint64_t>(input_dividers, input_ / compare_min); }

  void try_multipliers(uint64_t post, uint64_t shift, uint64_t divider) {
    const uint64_t up = 2 * input_;
    const uint64_t down = divider * (post << shift);
    // The multipliers that keep the VCO in its range.
    const uint64_t first = divided_up(vco_min * divider, up);
    const uint64_t last =
        std::min<uint64_t>(multipliers, (uint64_t{vco_max + 1} * divider - 1) / up);
    if (first > last) return;

    const auto output_of = [&](uint64_t multiplier) { return up * multiplier / down; };
    const auto first_reaching = [&](uint64_t output) {
      return std::max(first, divided_up(output * down, up));
    };
    const auto consider = [&](uint64_t multiplier) {
      const uint64_t output = output_of(multiplier);
      const uint64_t error = output > target_ ? output - target_ : target_ - output;
      best_ = std::min(best_, {error, post, multiplier, divider, shift});
    };
    // On either side of the target the smallest multiplier that gives the output next to it.
    const uint64_t above = first_reaching(target_);
    if (above <= last) consider(above);
    if (above > first) consider(first_reaching(output_of(std::min(above - 1, last))));
  }

  const uint64_t input_;
  const uint64_t target_;
  Setting best_;
};

}  // namespace

}  // namespace zvg::power

int zvg_rq300_pllcalc(int input_khz, unsigned max_post_divider, unsigned target_khz,
                      uint32_t* word) {
  using namespace zvg::power;
  if (input_khz < static_cast<int>(input_min) || input_khz > static_cast<int>(input_max)) {
    printf("input frequency %d is out of range\n", input_khz);
    return range_error;
  }
  Search search(static_cast<uint32_t>(input_khz), target_khz);
  search.run(max_post_divider);
  if (word != nullptr) *word = search.word();
  return search.found() ? 0 : not_found;
}
