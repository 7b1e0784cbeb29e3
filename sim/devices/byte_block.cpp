#include "devices/byte_block.h"

namespace zvgsim {

uint64_t ByteBlock::read(uint64_t offset, unsigned width) {
  uint64_t value = 0;
  for (unsigned i = 0; i < width; ++i) {
    value |= uint64_t{read_byte(static_cast<uint32_t>(offset + i))} << (8 * i);
  }
  return value;
}

void ByteBlock::write(uint64_t offset, unsigned width, uint64_t value) {
  for (unsigned i = 0; i < width; ++i) {
    write_byte(static_cast<uint32_t>(offset + i), static_cast<uint8_t>(value >> (8 * i)));
  }
}

}  // namespace zvgsim
