// Chip registers: byte offsets in the 16 MiB MMIO space.
#include <errno.h>
#include <stdio.h>

#include "core/connection.h"
#include "core/mmio.h"
#include "hw/bus.h"

namespace zvg::core {

namespace {

constexpr uint64_t last_offset = hw::mmio_size - 1;

// The serial link addresses the whole on-chip bus, so that it takes any offset.
bool rejected(uint64_t offset) {
  if (offset <= last_offset || g_connection.mode == ZVG_MODE_SERIAL) return false;
  fprintf(stderr, "Invalid argument: offset is out of range\n");
  return true;
}

template <typename Value>
int reg_read(uint64_t offset, Value* value) {
  if (rejected(offset)) return -EINVAL;
  return mmio_read(ZVG_BAR_MMIO, offset, value);
}

template <typename Value>
int reg_write(uint64_t offset, Value value) {
  if (rejected(offset)) return -EINVAL;
  return mmio_write(ZVG_BAR_MMIO, offset, value);
}

}  // namespace

}  // namespace zvg::core

using zvg::core::reg_read;
using zvg::core::reg_write;

int zvgRegReadByte(uint64_t offset, uint8_t* value) {
  return reg_read(offset, value);
}
int zvgRegReadWord(uint64_t offset, uint16_t* value) {
  return reg_read(offset, value);
}
int zvgRegReadLong(uint64_t offset, uint32_t* value) {
  return reg_read(offset, value);
}
int zvgRegReadQuad(uint64_t offset, uint64_t* value) {
  return reg_read(offset, value);
}
int zvgRegWriteByte(uint64_t offset, uint8_t value) {
  return reg_write(offset, value);
}
int zvgRegWriteWord(uint64_t offset, uint16_t value) {
  return reg_write(offset, value);
}
int zvgRegWriteLong(uint64_t offset, uint32_t value) {
  return reg_write(offset, value);
}
int zvgRegWriteQuad(uint64_t offset, uint64_t value) {
  return reg_write(offset, value);
}

int zvgRegMskWriteByte(uint64_t offset, uint8_t mask, uint8_t value) {
  return zvg::core::masked_write(zvgRegReadByte, zvgRegWriteByte, offset, mask, value);
}

uint32_t zvgRegReadLongBase(const uint8_t* base, uint64_t offset) {
  const uint64_t address = reinterpret_cast<uintptr_t>(base) + offset;
  uint32_t value = 0;
  if (zvgRegReadLong(address, &value) != 0) printf("read long from 0x%lx error\n", address);
  return value;
}
