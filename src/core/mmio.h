// How the open connection reaches a register or a byte of video memory. Inline, because every
// family's every width is made of it: a typed access becomes one load, store or system call with
// nothing between it and the caller.
#ifndef ZVG_CORE_MMIO_H
#define ZVG_CORE_MMIO_H

#include <stdint.h>

#include "core/connection.h"
#include "core/driver_requests.h"
#include "util_zvg.h"

namespace zvg::core {

// One record for every register request of the process: an access allocates and clears nothing.
extern hw::driver::RegisterRecord g_register_record;

inline int by_driver(uint32_t bar, uint32_t op, uint32_t width, uint64_t offset, uint64_t* value) {
  g_register_record = {g_connection.card, bar, op, width, offset, *value};
  const int result = issue(hw::driver::request_register, &g_register_record, offset);
  *value = g_register_record.value;
  return result;
}

// A register or a piece of memory in an aperture. Apertures take accesses at any offset, so that
// the type carries no alignment; each access is one load or store all the same.
template <typename Value>
struct [[gnu::packed, gnu::may_alias]] Cell {
  volatile Value value;
};

template <typename Value>
inline void load_or_store(void* address, uint32_t op, uint64_t* value) {
  auto* const cell = static_cast<Cell<Value>*>(address);
  if (op == ZVG_OP_READ) {
    *value = cell->value;
  } else {
    cell->value = static_cast<Value>(*value);
  }
}

// Says what is wrong with an access that an aperture cannot take; returns -22.
int refuse_aperture_access(uint32_t bar, uint32_t op, bool in_range, uint64_t offset);

inline int by_aperture(uint32_t bar, uint32_t op, uint32_t width, uint64_t offset,
                       uint64_t* value) {
  const Aperture& aperture = bar == ZVG_BAR_MMIO ? g_connection.mmio : g_connection.vram;
  // A width that is none of the four is a 32-bit access; both it and the width must fit.
  const uint32_t access = width == 1 || width == 2 || width == 8 ? width : 4;
  const uint64_t extent = width > access ? width : access;
  const bool in_range = extent <= aperture.limit && offset <= aperture.limit - extent;
  const bool known_bar = bar == ZVG_BAR_MMIO || bar == ZVG_BAR_VRAM;
  const bool known_op = op == ZVG_OP_READ || op == ZVG_OP_WRITE;
  if (!known_bar || !in_range || !known_op) [[unlikely]] {
    return refuse_aperture_access(bar, op, in_range, offset);
  }
  void* const address = static_cast<uint8_t*>(aperture.base) + offset;
  switch (access) {
    case 1:
      load_or_store<uint8_t>(address, op, value);
      break;
    case 2:
      load_or_store<uint16_t>(address, op, value);
      break;
    case 8:
      load_or_store<uint64_t>(address, op, value);
      break;
    default:
      load_or_store<uint32_t>(address, op, value);
      break;
  }
  return 0;
}

// Serial mode, and the refusal of any mode that is none.
int by_serial_link(uint32_t op, uint32_t width, uint64_t offset, uint64_t* value);

// The one switch on the access mode.
[[gnu::always_inline]] inline int operate(uint32_t bar, uint32_t op, uint32_t width,
                                          uint64_t offset, uint64_t* value) {
  switch (g_connection.mode) {
    case ZVG_MODE_DRIVER:
      return by_driver(bar, op, width, offset, value);
    case ZVG_MODE_MEMORY:
      return by_aperture(bar, op, width, offset, value);
    default:
      return by_serial_link(op, width, offset, value);
  }
}

// Reads sizeof(Value) bytes at an offset that its family has checked. The value is stored whatever
// the result: a failed read leaves what the access left, normally 0.
template <typename Value>
int mmio_read(zvg_bar bar, uint64_t offset, Value* value) {
  uint64_t wide = 0;
  const int result = operate(bar, ZVG_OP_READ, sizeof(Value), offset, &wide);
  *value = static_cast<Value>(wide);
  return result;
}

template <typename Value>
int mmio_write(zvg_bar bar, uint64_t offset, Value value) {
  uint64_t wide = value;
  return operate(bar, ZVG_OP_WRITE, sizeof(Value), offset, &wide);
}

// Replaces the bits of mask in a byte, over any family's byte access. The write is made even when
// the read failed. Returns the OR of both results.
inline int masked_write(int (*read)(uint64_t, uint8_t*), int (*write)(uint64_t, uint8_t),
                        uint64_t address, uint8_t mask, uint8_t value) {
  uint8_t old = 0;
  const int read_result = read(address, &old);
  const auto merged = static_cast<uint8_t>((old & ~mask) | (value & mask));
  return read_result | write(address, merged);
}

}  // namespace zvg::core

#endif  // ZVG_CORE_MMIO_H
