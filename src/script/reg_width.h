// Registers by their width in bits, as the files give it.
#ifndef ZVG_SCRIPT_REG_WIDTH_H
#define ZVG_SCRIPT_REG_WIDTH_H

#include <stdint.h>
#include <stdio.h>

#include "util_zvg.h"

namespace zvg::script {

// Says that a width is not one that the register takes; returns the failure.
inline int unsupported_width(int width) {
  fprintf(stderr, "value width %d is not supported\n", width);
  return -1;
}

// Reads a register of 8, 16 or 32 bits into a value that was cleared. Returns 0, or not 0 when the
// access failed or the width is another one.
inline int read_reg(uint64_t address, int width, uint32_t* value) {
  *value = 0;
  int result = 0;
  if (width == 16) {
    uint16_t word = 0;
    result = zvgRegReadWord(address, &word);
    *value = word;
  } else if (width == 32) {
    result = zvgRegReadLong(address, value);
  } else if (width == 8) {
    uint8_t byte = 0;
    result = zvgRegReadByte(address, &byte);
    *value = byte;
  } else {
    return unsupported_width(width);
  }
  return result;
}

// Writes the low bits of a value to a register of 8, 16 or 32 bits. Results as read_reg's.
inline int write_reg(uint64_t address, int width, uint32_t value) {
  if (width == 16) return zvgRegWriteWord(address, static_cast<uint16_t>(value));
  if (width == 32) return zvgRegWriteLong(address, value);
  if (width == 8) return zvgRegWriteByte(address, static_cast<uint8_t>(value));
  return unsupported_width(width);
}

}  // namespace zvg::script

#endif  // ZVG_SCRIPT_REG_WIDTH_H
