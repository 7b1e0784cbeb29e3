// What the flash's small records have in common.
#ifndef ZVG_FLASH_CHECKSUM_H
#define ZVG_FLASH_CHECKSUM_H

#include <stdint.h>
#include <string.h>

namespace zvg::flash {

constexpr uint16_t record_magic = 0x0709;

// The sum of 16-bit words, modulo 65536.
inline uint16_t sum(const void* bytes, uint32_t words) {
  uint16_t total = 0;
  for (uint32_t i = 0; i < words; ++i) {
    uint16_t word;
    memcpy(&word, static_cast<const uint8_t*>(bytes) + 2 * i, sizeof word);
    total = static_cast<uint16_t>(total + word);
  }
  return total;
}

// What takes the sum to 0.
inline uint16_t negated_sum(const void* bytes, uint32_t words) {
  return static_cast<uint16_t>(-sum(bytes, words));
}

}  // namespace zvg::flash

#endif  // ZVG_FLASH_CHECKSUM_H
