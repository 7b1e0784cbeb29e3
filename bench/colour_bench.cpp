// Lookup tables and float ramps, next to the loop that one would write down for them.
#include <benchmark/benchmark.h>
#include <math.h>
#include <stdlib.h>

#include <array>

#include "util_zvg.h"

namespace {

constexpr int entries = 256;
constexpr int ramp_entries = 1024;
constexpr zvg_color_setting setting = {0, 6500, {2.2f, 2.1f, 2.0f}, 0.9f};

template <int size>
using Ramps = std::array<std::array<float, size>, 3>;

template <int size>
Ramps<size> identity() {
  Ramps<size> ramps;
  for (auto& ramp : ramps) {
    for (int i = 0; i < size; ++i) ramp[i] = static_cast<float>(i) / size;
  }
  return ramps;
}

void set_color(benchmark::State& state) {
  for (auto _ : state) {
    zvg_crtc_lut* const lut = zvg_set_color(&setting);
    benchmark::DoNotOptimize(lut);
    free(reinterpret_cast<void*>(static_cast<uintptr_t>(lut->red)));
    free(lut);
  }
}

// The same work: the identity ramps, then each entry by the formula. The white point is 1 at 6500
// K, which the compiler is not told.
void set_color_loop(benchmark::State& state) {
  zvg_color_setting its = setting;
  float white[] = {1, 1, 1};
  benchmark::DoNotOptimize(its);
  benchmark::DoNotOptimize(white);
  for (auto _ : state) {
    auto* const table = static_cast<uint16_t*>(malloc(3 * entries * sizeof(uint16_t)));
    for (int i = 0; i < 3 * entries; ++i) table[i] = static_cast<uint16_t>(i % entries * entries);
    for (int i = 0; i < entries; ++i) {
      for (int c = 0; c < 3; ++c) {
        uint16_t& entry = table[c * entries + i];
        const double in = entry / 65536.0;
        entry =
            static_cast<uint16_t>(pow(in * its.brightness * white[c], 1.0 / its.gamma[c]) * 65536);
      }
    }
    benchmark::DoNotOptimize(table);
    free(table);
  }
}

void ramp_float(benchmark::State& state) {
  const auto start = identity<ramp_entries>();
  for (auto _ : state) {
    auto ramps = start;
    colorramp_fill_float(ramps[0].data(), ramps[1].data(), ramps[2].data(), ramp_entries, &setting);
    benchmark::DoNotOptimize(ramps);
  }
}

void ramp_float_loop(benchmark::State& state) {
  const auto start = identity<ramp_entries>();
  for (auto _ : state) {
    auto ramps = start;
    for (int i = 0; i < ramp_entries; ++i) {
      for (int c = 0; c < 3; ++c) {
        const double in = ramps[c][i];
        ramps[c][i] = static_cast<float>(pow(in * setting.brightness, 1.0 / setting.gamma[c]));
      }
    }
    benchmark::DoNotOptimize(ramps);
  }
}

}  // namespace

BENCHMARK(set_color);
BENCHMARK(set_color_loop);
BENCHMARK(ramp_float);
BENCHMARK(ramp_float_loop);
