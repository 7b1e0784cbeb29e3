// Video memory: byte offsets in the 256 MiB VRAM aperture.
#include <errno.h>

#include "core/connection.h"
#include "core/mmio.h"
#include "hw/bus.h"

namespace zvg::core {

namespace {

constexpr uint64_t last_offset = hw::vram_size - 1;

// What the dispatcher adds for the serial link is the MMIO base; this moves an offset on to VRAM.
constexpr uint64_t serial_shift = hw::bus_vram_base - hw::bus_mmio_base;

// Checks the offset and moves it to where the connection has video memory.
bool locate(uint64_t* offset) {
  if (g_connection.mode == ZVG_MODE_SERIAL) {
    *offset += serial_shift;
    return true;
  }
  return *offset <= last_offset;
}

template <typename Value>
int vram_read(uint64_t offset, Value* value) {
  if (!locate(&offset)) return -EINVAL;
  return mmio_read(ZVG_BAR_VRAM, offset, value);
}

template <typename Value>
int vram_write(uint64_t offset, Value value) {
  if (!locate(&offset)) return -EINVAL;
  return mmio_write(ZVG_BAR_VRAM, offset, value);
}

}  // namespace

}  // namespace zvg::core

using zvg::core::vram_read;
using zvg::core::vram_write;

int zvgVramReadByte(uint64_t offset, uint8_t* value) {
  return vram_read(offset, value);
}
int zvgVramReadWord(uint64_t offset, uint16_t* value) {
  return vram_read(offset, value);
}
int zvgVramReadLong(uint64_t offset, uint32_t* value) {
  return vram_read(offset, value);
}
int zvgVramReadQuad(uint64_t offset, uint64_t* value) {
  return vram_read(offset, value);
}
int zvgVramWriteByte(uint64_t offset, uint8_t value) {
  return vram_write(offset, value);
}
int zvgVramWriteWord(uint64_t offset, uint16_t value) {
  return vram_write(offset, value);
}
int zvgVramWriteLong(uint64_t offset, uint32_t value) {
  return vram_write(offset, value);
}
int zvgVramWriteQuad(uint64_t offset, uint64_t value) {
  return vram_write(offset, value);
}
