// Finds the PLL setting for a frequency.
//
// A PLL makes VCO = floor(2 x fin x n / M), and its output floor(floor(VCO / 2^OD) / P). Wanted is
// the setting with the smallest error; among those the smallest P, and among those the first by n,
// then M, then OD. Trying all of n, M, OD and P takes 40,000 divisions for a 27 MHz input. But for
// one M and OD the output rises with n and falls with P, so that of every n only the P on both
// sides of the target matter, and of every P only the n: the shorter of the two is gone through.
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
constexpr uint64_t first_best_post_divider = 16;

constexpr int range_error = -1;
constexpr int not_found = -2;

// The order of the members is the order of preference.
struct Setting {
  uint64_t error;  // kHz
  uint64_t post_divider;
  uint32_t multiplier;
  uint32_t input_divider;
  uint32_t output_shift;

  auto operator<=>(const Setting&) const = default;
};

uint32_t loop_band(uint32_t compare_frequency) {
  constexpr uint32_t limits[] = {11000, 18000, 30000, 50000, 80000, 130000};  // kHz
  const auto* const limit =
      std::lower_bound(std::begin(limits), std::end(limits), compare_frequency);
  return static_cast<uint32_t>(limit - limits) + 1;
}

constexpr uint64_t divided_up(uint64_t value, uint64_t divider) {
  return (value + divider - 1) / divider;
}

class Search {
 public:
  Search(uint32_t input, uint32_t max_post_divider, uint32_t target)
      : input_(input),
        max_post_divider_(max_post_divider),
        target_(target),
        best_{target < one_ghz ? tolerance_below_1ghz : tolerance_from_1ghz,
              first_best_post_divider, 0, 0, 0} {}

  void run() {
    for (uint32_t divider = 1; divider <= input_dividers; ++divider) {
      const uint32_t compare_frequency = input_ / divider;
      if (compare_frequency < compare_min) break;
      if (compare_frequency <= compare_max) try_input_divider(divider);
    }
  }

  bool found() const { return best_.multiplier != 0; }

  uint32_t word() const {
    if (!found()) return 0;
    // A post-divider beyond 16 loses its high bits here, and an input divider beyond 32 overlaps
    // what the field is read back with.
    return static_cast<uint32_t>(best_.post_divider - 1) << 28 | (best_.multiplier - 1) << 16 |
           (best_.input_divider - 1) << 8 | best_.output_shift << 4 |
           loop_band(input_ / best_.input_divider);
  }

 private:
  uint64_t vco(uint64_t multiplier, uint32_t divider) const {
    return 2 * uint64_t{input_} * multiplier / divider;
  }

  void consider(uint64_t output, uint64_t post_divider, uint64_t multiplier, uint32_t divider,
                uint32_t shift) {
    const uint64_t error = output > target_ ? output - target_ : target_ - output;
    best_ =
        std::min(best_, {error, post_divider, static_cast<uint32_t>(multiplier), divider, shift});
  }

  void try_input_divider(uint32_t divider) {
    const uint64_t step = 2 * uint64_t{input_};
    const uint64_t first = divided_up(uint64_t{vco_min} * divider, step);
    const uint64_t last =
        std::min<uint64_t>(multipliers, ((uint64_t{vco_max} + 1) * divider - 1) / step);
    if (first > last) return;
    for (uint32_t shift = 1; shift <= output_shifts; ++shift) {
      // The post-dividers with which some VCO frequency comes as near as the best one so far.
      const uint64_t low = vco(first, divider) >> shift;
      const uint64_t high = vco(last, divider) >> shift;
      const uint64_t error = best_.error;
      const uint64_t min = low / (target_ + error + 1) + 1;
      const uint64_t max =
          std::min(max_post_divider_, target_ > error ? high / (target_ - error) : high + 1);
      if (min > max) continue;
      if (max - min < last - first) {
        for (uint64_t post = min; post <= max; ++post) {
          try_post_divider(post, first, last, divider, shift);
        }
      } else {
        for (uint64_t multiplier = first; multiplier <= last; ++multiplier) {
          try_multiplier(multiplier, divider, shift);
        }
      }
    }
  }

  // The first multipliers that give the outputs next to the target from above and from below.
  void try_post_divider(uint64_t post, uint64_t first, uint64_t last, uint32_t divider,
                        uint32_t shift) {
    const uint64_t up = 2 * uint64_t{input_};
    const uint64_t down = (post * divider) << shift;
    const uint64_t above = std::max(first, divided_up(target_ * down, up));
    if (above <= last) consider(up * above / down, post, above, divider, shift);
    if (above > first) {
      const uint64_t output = up * std::min(above - 1, last) / down;
      const uint64_t same = std::max(first, divided_up(output * down, up));
      consider(output, post, same, divider, shift);
    }
  }

  // The first post-dividers that do.
  void try_multiplier(uint64_t multiplier, uint32_t divider, uint32_t shift) {
    const uint64_t frequency = vco(multiplier, divider) >> shift;
    const uint64_t above =
        target_ == 0 ? max_post_divider_ : std::min(max_post_divider_, frequency / target_);
    if (above >= 1) {
      const uint64_t output = frequency / above;
      consider(output, frequency / (output + 1) + 1, multiplier, divider, shift);
    }
    if (above < max_post_divider_) {
      consider(frequency / (above + 1), above + 1, multiplier, divider, shift);
    }
  }

  const uint32_t input_;
  const uint64_t max_post_divider_;
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
  Search search(static_cast<uint32_t>(input_khz), max_post_divider, target_khz);
  search.run();
  if (word != nullptr) *word = search.word();
  return search.found() ? 0 : not_found;
}
