// Where the instances of a block begin.
#ifndef ZVG_HW_BASES_H
#define ZVG_HW_BASES_H

#include <stdint.h>

namespace zvg::hw {

// A block that has its own place and, mostly, its own name.
struct Place {
  uint32_t base;
  const char* name = nullptr;
};

// At equal distances, or as a list says. A chip that does not have the block has none.
struct Bases {
  uint32_t count = 0;
  uint32_t first = 0;
  uint32_t stride = 0;
  const Place* places = nullptr;
  unsigned first_number = 0;  // what the first instance is called
  bool is_listed = false;     // in places

  // Past the count, at equal distances, this goes on, and round where 32 bits end.
  constexpr uint32_t base(uint32_t instance) const {
    return is_listed ? places[instance].base : first + instance * stride;
  }
  // Null for an instance that has but a number.
  constexpr const char* name(uint32_t instance) const {
    return is_listed ? places[instance].name : nullptr;
  }
};

constexpr Bases at(uint32_t base) {
  return {1, base};
}

constexpr Bases series(uint32_t count, uint32_t first, uint32_t stride, unsigned first_number = 0) {
  return {count, first, stride, nullptr, first_number};
}

template <uint32_t count>
constexpr Bases listed(const Place (&places)[count]) {
  return {count, places[0].base, 0, places, 0, true};
}

}  // namespace zvg::hw

#endif  // ZVG_HW_BASES_H
