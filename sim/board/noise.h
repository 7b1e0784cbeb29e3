// Numbers that look random and are the same on every machine and in every run.
#ifndef ZVGSIM_BOARD_NOISE_H
#define ZVGSIM_BOARD_NOISE_H

#include <cstdint>
#include <initializer_list>

namespace zvgsim {

// A number from 0 up to, not including, 1 that depends on all of the keys.
constexpr double noise(std::initializer_list<uint64_t> keys) {
  uint64_t state = 0;
  for (const uint64_t key : keys) {
    // The finaliser of SplitMix64.
    state += key + 0x9E3779B97F4A7C15;
    state = (state ^ state >> 30) * 0xBF58476D1CE4E5B9;
    state = (state ^ state >> 27) * 0x94D049BB133111EB;
    state ^= state >> 31;
  }
  return static_cast<double>(state >> 11) / static_cast<double>(uint64_t{1} << 53);
}

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_NOISE_H
