// The divider search for the board's 27 MHz reference and post-dividers up to 16, next to the plain
// loops that its tests compare it with.
#include <benchmark/benchmark.h>

#include <array>

#include "power/reference_pll_search.h"
#include "util_zvg.h"

namespace {

constexpr int input_khz = 27000;
constexpr unsigned max_post_divider = 16;

// Low and high, exact and not, and one that is out of reach.
constexpr std::array<unsigned, 8> targets_khz = {27'000,  148'500,   400'000,   600'000,
                                                 733'333, 1'000'000, 1'600'000, 3'900'000};

template <typename Search>
void run(benchmark::State& state, Search search) {
  size_t next = 0;
  for (auto _ : state) {
    uint32_t word = 0;
    benchmark::DoNotOptimize(
        search(input_khz, max_post_divider, targets_khz[next++ % targets_khz.size()], &word));
    benchmark::DoNotOptimize(word);
  }
}

void pll_search(benchmark::State& state) {
  run(state, zvg_rq300_pllcalc);
}
BENCHMARK(pll_search);

void pll_search_loops(benchmark::State& state) {
  run(state, zvgtest::reference_pll_search);
}
BENCHMARK(pll_search_loops);

}  // namespace
