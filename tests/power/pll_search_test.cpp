// The divider search: against the plain loops for thousands of inputs, and its edges by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <random>

#include "power/reference_pll_search.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace {

struct Found {
  int result;
  uint32_t word;
  bool operator==(const Found&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Found& found) {
  return out << found.result << " 0x" << std::hex << found.word << std::dec;
}

Found search(int input, unsigned max_post, unsigned target) {
  Found found = {0, 0xDEADBEEF};
  found.result = zvg_rq300_pllcalc(input, max_post, target, &found.word);
  return found;
}

Found reference(int input, unsigned max_post, unsigned target) {
  Found found = {0, 0xDEADBEEF};
  found.result = zvgtest::reference_pll_search(input, max_post, target, &found.word);
  return found;
}

void expect_agreement(int input, unsigned max_post, unsigned target) {
  EXPECT_EQ(search(input, max_post, target), reference(input, max_post, target))
      << "input " << input << " max post-divider " << max_post << " target " << target;
}

TEST(PllSearch, AgreesOnTheBoardsOwnReference) {
  std::mt19937 random(20231);
  std::uniform_int_distribution<unsigned> target(0, 3'100'000);
  for (int i = 0; i < 2500; ++i) expect_agreement(27000, 16u, target(random));
  for (unsigned mhz = 0; mhz <= 3100; ++mhz) expect_agreement(27000, 16u, mhz * 1000);
}

TEST(PllSearch, AgreesOnAnyInput) {
  std::mt19937 random(5);
  std::uniform_int_distribution<int> input(7000, 600000);
  std::uniform_int_distribution<unsigned> max_post(0, 24);
  std::uniform_int_distribution<unsigned> target(0, 3'100'000);
  for (int i = 0; i < 1500; ++i) expect_agreement(input(random), max_post(random), target(random));
}

TEST(PllSearch, AgreesOnTargetsAroundAndBeyondTheReachable) {
  // The highest output is that of the highest VCO frequency, halved; the tolerance is 2 MHz.
  std::mt19937 random(7);
  std::uniform_int_distribution<int> input(7000, 600000);
  std::uniform_int_distribution<unsigned> max_post(1, 40);
  std::uniform_int_distribution<unsigned> near(2'990'000, 3'010'000);
  std::uniform_int_distribution<unsigned> any(0, UINT32_MAX);
  for (int i = 0; i < 200; ++i) {
    expect_agreement(input(random), max_post(random), near(random));
    expect_agreement(input(random), max_post(random), any(random));
  }
}

TEST(PllSearch, AgreesOnSmallTargets) {
  std::mt19937 random(6);
  std::uniform_int_distribution<int> input(7000, 80000);
  std::uniform_int_distribution<unsigned> max_post(1, 300);
  std::uniform_int_distribution<unsigned> target(0, 30000);
  for (int i = 0; i < 400; ++i) expect_agreement(input(random), max_post(random), target(random));
  // Post-dividers so large that outputs of nothing count as near.
  for (const unsigned few : {0u, 1u, 2u, 999u, 1000u, 1001u, 2000u}) {
    expect_agreement(27000, 30000u, few);
    expect_agreement(9001, 50000u, few);
  }
}

TEST(PllSearch, AgreesAtEveryLimit) {
  // Inputs where the phase comparator's limits, bands and the VCO's limits fall on a divider.
  const int inputs[] = {7000,   7001,   10999,  11000,  11001,  13999,  14000,  14001,  18000,
                        18001,  30000,  30001,  50000,  50001,  54000,  80000,  80001,  130000,
                        130001, 200000, 200001, 300000, 399999, 400000, 448000, 599999, 600000};
  for (const int input : inputs) {
    for (const unsigned max_post : {1u, 2u, 15u, 16u, 17u}) {
      for (const unsigned target : {1465u, 24437u, 99999u, 600000u, 999999u, 1000000u, 1500000u}) {
        expect_agreement(input, max_post, target);
      }
    }
  }
}

TEST(PllSearch, AgreesWhereTheErrorIsTheTolerance) {
  // With few settings, targets around an output meet the tolerance exactly, from both sides.
  for (const int input : {7000, 27000, 600000}) {
    for (const unsigned max_post : {1u, 3u, 16u, 20u}) {
      // The lowest output that there is lies around here, the highest around 3 GHz.
      const unsigned lowest = (3'000'000 >> 7) / max_post;
      for (unsigned target = lowest > 1300 ? lowest - 1300 : 0; target < lowest - 700;
           target += 7) {
        expect_agreement(input, max_post, target);
      }
      for (unsigned target = 3'001'990; target < 3'002'010; ++target) {
        expect_agreement(input, max_post, target);
      }
    }
  }
}

TEST(PllSearch, AcceptsTheToleranceItselfOnlyBelowPostDivider16) {
  // 7 MHz, M 1: VCO 14 MHz x n, from 3,010 to 5,992 MHz. The top output is 2,996,000 kHz.
  EXPECT_EQ(search(7000, 16, 2'998'000), (Found{0, 427u << 16 | 1 << 4 | 1}));
  EXPECT_EQ(search(7000, 16, 2'998'001), (Found{-2, 0}));
  // The lowest output, of OD 7 and P 16: 1,469 kHz; with P 15 it is 1,567.
  const Found sixteen = search(7000, 16, 470);
  EXPECT_EQ(sixteen.result, 0);  // 1 kHz inside
  EXPECT_EQ(sixteen.word >> 28, 15u);
  EXPECT_EQ(search(7000, 16, 469), (Found{-2, 0}));  // the tolerance itself
  EXPECT_EQ(search(7000, 15, 567).result, 0);        // the same at P 15
  EXPECT_EQ(search(7000, 15, 567).word >> 28, 14u);
  EXPECT_EQ(search(7000, 15, 566), (Found{-2, 0}));
}

TEST(PllSearch, ToleranceDoublesFromOneGigahertzOn) {
  // 600 MHz / M: with P 1 only, near 1 GHz outputs are 7 MHz and more apart at 7 MHz input.
  const auto gap = [](unsigned from, unsigned to) {
    unsigned misses = 0;
    for (unsigned target = from; target < to; target += 10) {
      misses += search(7000, 1, target).result != 0;
    }
    return misses;
  };
  EXPECT_GT(gap(990'000, 997'000), gap(1'004'000, 1'011'000));
  for (unsigned target = 999'000; target <= 1'001'000; ++target) expect_agreement(7000, 1u, target);
}

TEST(PllSearch, AmongEqualErrorsTheSmallestPostDividerWins) {
  // 600 MHz: only a VCO of 3,600 MHz, 200 / 3 times the doubled input, gives it exactly.
  EXPECT_EQ(search(27000, 16, 600'000), (Found{0, 2u << 28 | 199 << 16 | 2 << 8 | 1 << 4 | 1}));
  // The same VCO by two input dividers: the smaller n, so the smaller M, comes first.
  EXPECT_EQ(search(54000, 1, 2'700'000), (Found{0, 49u << 16 | 0 << 8 | 1 << 4 | 5}));
}

TEST(PllSearch, TakesPostDividersThatTheWordCannotHold) {
  const Found found = search(27000, 17, 1379);
  EXPECT_EQ(found, reference(27000, 17, 1379));
  EXPECT_EQ(found.word >> 28, 0u);  // 16, without its fifth bit
}

TEST(PllSearch, TakesInputDividersThatTheWordReadsBackDifferently) {
  // 600 MHz with M above 32 sets bit 13, which no field has.
  bool seen = false;
  std::mt19937 random(9);
  std::uniform_int_distribution<unsigned> target(100'000, 3'000'000);
  for (int i = 0; i < 300 && !seen; ++i) seen = (search(600'000, 1, target(random)).word >> 13 & 1);
  EXPECT_TRUE(seen);
}

TEST(PllSearch, EndsSoonForAnyLimitAndTarget) {
  // The loops would go on for hours here.
  EXPECT_EQ(search(27000, UINT32_MAX, 600'000), search(27000, 16, 600'000));
  EXPECT_EQ(search(600'000, UINT32_MAX, 0).result, 0);
  EXPECT_EQ(search(600'000, UINT32_MAX, 500).result, 0);
  EXPECT_EQ(search(600'000, UINT32_MAX, UINT32_MAX), (Found{-2, 0}));
  EXPECT_EQ(search(7000, UINT32_MAX, 0x80000000), (Found{-2, 0}));
}

TEST(PllSearch, IsAtLeastTenTimesFasterThanTheLoops) {
  using Clock = std::chrono::steady_clock;
  // The fastest of a few rounds: what disturbs one only makes it slower.
  const auto fastest = [](Found (*find)(int, unsigned, unsigned)) {
    auto best = Clock::duration::max();
    for (int round = 0; round < 5; ++round) {
      const auto start = Clock::now();
      for (unsigned mhz = 100; mhz <= 3000; mhz += 100) find(27000, 16, mhz * 1000 + round);
      best = std::min(best, Clock::now() - start);
    }
    return best;
  };
  EXPECT_LT(fastest(search) * 10, fastest(reference));
}

TEST(PllSearch, RefusesInputsOutOfRange) {
  for (const int input : {6999, 600'001, 0, -1, INT32_MIN, INT32_MAX}) {
    Found found{};
    const auto output = zvgtest::capture([&] { found = search(input, 16, 600'000); });
    EXPECT_EQ(found, (Found{-1, 0xDEADBEEF})) << input;
    EXPECT_EQ(output.out, "input frequency " + std::to_string(input) + " is out of range\n");
    EXPECT_EQ(output.err, "");
  }
  for (const int input : {7000, 600'000}) {
    Found found{};
    const auto output = zvgtest::capture([&] { found = search(input, 16, 600'000); });
    EXPECT_EQ(found.result, 0) << input;
    EXPECT_EQ(output.out, "");
  }
}

TEST(PllSearch, StoresNothingFoundAsZero) {
  EXPECT_EQ(search(27000, 0, 600'000), (Found{-2, 0}));
  EXPECT_EQ(search(27000, 16, 4'000'000), (Found{-2, 0}));
}

TEST(PllSearch, WordIsOptional) {
  EXPECT_EQ(zvg_rq300_pllcalc(27000, 16, 600'000, nullptr), 0);
  EXPECT_EQ(zvg_rq300_pllcalc(27000, 0, 600'000, nullptr), -2);
  EXPECT_EQ(zvgtest::capture([] { zvg_rq300_pllcalc(1, 16, 600'000, nullptr); }).out,
            "input frequency 1 is out of range\n");
}

}  // namespace
