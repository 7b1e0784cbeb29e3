// What the flash's small records have in common: how they begin, and their checksum.
#ifndef ZVG_FORMATS_BOARD_INFO_RECORD_H
#define ZVG_FORMATS_BOARD_INFO_RECORD_H

#include <stdint.h>

#include "formats/bytes.h"

namespace zvg::formats::board_info {

constexpr uint16_t record_magic = 0x0709;

// The sum of 16-bit words, modulo 65536. bytes: 2 * words of them.
constexpr uint16_t sum(const uint8_t* bytes, uint32_t words) {
  uint16_t total = 0;
  for (uint32_t i = 0; i < words; ++i) total = static_cast<uint16_t>(total + u16(bytes + 2 * i));
  return total;
}

// What takes the sum to 0.
constexpr uint16_t negated_sum(const uint8_t* bytes, uint32_t words) {
  return static_cast<uint16_t>(-sum(bytes, words));
}

}  // namespace zvg::formats::board_info

#endif  // ZVG_FORMATS_BOARD_INFO_RECORD_H
