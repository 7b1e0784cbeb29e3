// The library has a function for each width of an access; here the width is an argument.
#ifndef ZVG_SERVICE_BOARD_ACCESS_FAMILY_H
#define ZVG_SERVICE_BOARD_ACCESS_FAMILY_H

#include <util_zvg.h>

#include <cstdint>

namespace zvg {

// The library's four widths of one way to the board, for those who have the width as a number.
struct AccessFamily {
  int (*read8)(uint64_t, uint8_t*);
  int (*read16)(uint64_t, uint16_t*);
  int (*read32)(uint64_t, uint32_t*);
  int (*read64)(uint64_t, uint64_t*);
  int (*write8)(uint64_t, uint8_t);
  int (*write16)(uint64_t, uint16_t);
  int (*write32)(uint64_t, uint32_t);
  int (*write64)(uint64_t, uint64_t);
};

inline constexpr AccessFamily register_access = {zvgRegReadByte,  zvgRegReadWord,  zvgRegReadLong,
                                                 zvgRegReadQuad,  zvgRegWriteByte, zvgRegWriteWord,
                                                 zvgRegWriteLong, zvgRegWriteQuad};
inline constexpr AccessFamily video_memory_access = {
    zvgVramReadByte,  zvgVramReadWord,  zvgVramReadLong,  zvgVramReadQuad,
    zvgVramWriteByte, zvgVramWriteWord, zvgVramWriteLong, zvgVramWriteQuad};
inline constexpr AccessFamily line_access = {zvgUartReadByte,  zvgUartReadWord,  zvgUartReadLong,
                                             zvgUartReadQuad,  zvgUartWriteByte, zvgUartWriteWord,
                                             zvgUartWriteLong, zvgUartWriteQuad};

template <typename Word>
int read_as(int (*read)(uint64_t, Word*), uint64_t address, uint64_t* value) {
  Word word = 0;
  const int result = read(address, &word);
  *value = word;
  return result;
}

inline int read_by_width(const AccessFamily& family, uint64_t address, unsigned width,
                         uint64_t* value) {
  switch (width) {
    case 1:
      return read_as(family.read8, address, value);
    case 2:
      return read_as(family.read16, address, value);
    case 4:
      return read_as(family.read32, address, value);
    default:
      return read_as(family.read64, address, value);
  }
}

inline int write_by_width(const AccessFamily& family, uint64_t address, unsigned width,
                          uint64_t value) {
  switch (width) {
    case 1:
      return family.write8(address, static_cast<uint8_t>(value));
    case 2:
      return family.write16(address, static_cast<uint16_t>(value));
    case 4:
      return family.write32(address, static_cast<uint32_t>(value));
    default:
      return family.write64(address, value);
  }
}

}  // namespace zvg

#endif  // ZVG_SERVICE_BOARD_ACCESS_FAMILY_H
