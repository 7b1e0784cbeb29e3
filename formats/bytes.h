// Numbers in bytes. All that is decoded here stands low byte first, unless its reader says so.
#ifndef ZVG_FORMATS_BYTES_H
#define ZVG_FORMATS_BYTES_H

#include <stdint.h>

namespace zvg::formats {

constexpr uint16_t u16(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

constexpr uint32_t u32(const uint8_t* bytes) {
  return static_cast<uint32_t>(u16(bytes)) | static_cast<uint32_t>(u16(bytes + 2)) << 16;
}

constexpr void put_u16(uint8_t* bytes, uint16_t value) {
  bytes[0] = static_cast<uint8_t>(value);
  bytes[1] = static_cast<uint8_t>(value >> 8);
}

}  // namespace zvg::formats

#endif  // ZVG_FORMATS_BYTES_H
