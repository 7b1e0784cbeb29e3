// Typed access through the dispatcher: what the Reg and Vram families are made of.
#ifndef ZVG_CORE_MMIO_H
#define ZVG_CORE_MMIO_H

#include <stdint.h>

#include "util_zvg.h"

namespace zvg::core {

// Reads sizeof(Value) bytes at an offset that its family has checked. The value is stored whatever
// the result: a failed read leaves what the access left, normally 0.
template <typename Value>
int mmio_read(zvg_bar bar, uint64_t offset, Value* value) {
  uint64_t wide = 0;
  const int result = zvgMmioOperate(bar, ZVG_OP_READ, sizeof(Value), offset, &wide);
  *value = static_cast<Value>(wide);
  return result;
}

template <typename Value>
int mmio_write(zvg_bar bar, uint64_t offset, Value value) {
  uint64_t wide = value;
  return zvgMmioOperate(bar, ZVG_OP_WRITE, sizeof(Value), offset, &wide);
}

// Replaces the bits of mask in a byte, over any family's byte access. The write is made even when
// the read failed. Returns the OR of both results.
template <typename Address>
int masked_write(int (*read)(Address, uint8_t*), int (*write)(Address, uint8_t), Address address,
                 uint8_t mask, uint8_t value) {
  uint8_t old = 0;
  const int read_result = read(address, &old);
  const auto merged = static_cast<uint8_t>((old & ~mask) | (value & mask));
  return read_result | write(address, merged);
}

}  // namespace zvg::core

#endif  // ZVG_CORE_MMIO_H
