// The one place that knows how the open connection reaches a register or a byte of video memory.
#include "core/mmio.h"

#include <errno.h>
#include <stdio.h>
#include <termios.h>

#include "core/connection.h"
#include "core/driver_requests.h"

namespace zvg::core {

namespace {

// One record for every register request of the process: an access allocates and clears nothing.
RegisterRecord register_record;

int by_driver(uint32_t bar, uint32_t op, uint32_t width, uint64_t offset, uint64_t* value) {
  register_record = {g_connection.card, bar, op, width, offset, *value};
  const int result = issue(request_register, &register_record);
  *value = register_record.value;
  return result;
}

// Apertures take accesses at any offset, so that the types carry no alignment.
using Byte [[gnu::may_alias]] = volatile uint8_t;
using Word [[gnu::may_alias, gnu::aligned(1)]] = volatile uint16_t;
using Long [[gnu::may_alias, gnu::aligned(1)]] = volatile uint32_t;
using Quad [[gnu::may_alias, gnu::aligned(1)]] = volatile uint64_t;

template <typename Cell>
void load_or_store(void* address, uint32_t op, uint64_t* value) {
  auto* const cell = static_cast<Cell*>(address);
  if (op == ZVG_OP_READ) {
    *value = *cell;
  } else {
    *cell = static_cast<Cell>(*value);
  }
}

int by_aperture(uint32_t bar, uint32_t op, uint32_t width, uint64_t offset, uint64_t* value) {
  if (bar != ZVG_BAR_MMIO && bar != ZVG_BAR_VRAM) {
    fprintf(stderr, "bar (%d) is out of range\n", static_cast<int>(bar));
    return -EINVAL;
  }
  const Aperture& aperture = bar == ZVG_BAR_MMIO ? g_connection.mmio : g_connection.vram;
  // A width that is none of the four is a 32-bit access; both it and the width must fit.
  const uint32_t access = width == 1 || width == 2 || width == 8 ? width : 4;
  const uint64_t extent = width > access ? width : access;
  if (aperture.limit < extent || offset > aperture.limit - extent) {
    fprintf(stderr, "offset (%ld) is out of range\n", static_cast<long>(offset));
    return -EINVAL;
  }
  if (op != ZVG_OP_READ && op != ZVG_OP_WRITE) {
    fprintf(stderr, "op (%d) is out of range\n", static_cast<int>(op));
    return -EINVAL;
  }
  void* const address = static_cast<uint8_t*>(aperture.base) + offset;
  switch (access) {
    case 1:
      load_or_store<Byte>(address, op, value);
      break;
    case 2:
      load_or_store<Word>(address, op, value);
      break;
    case 8:
      load_or_store<Quad>(address, op, value);
      break;
    default:
      load_or_store<Long>(address, op, value);
      break;
  }
  return 0;
}

int by_serial_link(uint32_t op, uint32_t width, uint64_t offset, uint64_t* value) {
  // A reply that came after its time must not be taken for this access's.
  tcflush(g_connection.fd, TCIFLUSH);
  // The link reports its own errors; callers of this layer see a success in every case.
  zvgUartOperate(static_cast<int>(op), static_cast<int>(width), offset + bus_mmio_base, value);
  return 0;
}

}  // namespace

}  // namespace zvg::core

int zvgMmioOperate(uint32_t bar, uint32_t op, uint32_t width, uint64_t offset, uint64_t* value) {
  using namespace zvg::core;
  switch (g_connection.mode) {
    case ZVG_MODE_DRIVER:
      return by_driver(bar, op, width, offset, value);
    case ZVG_MODE_MEMORY:
      return by_aperture(bar, op, width, offset, value);
    case ZVG_MODE_SERIAL:
      return by_serial_link(op, width, offset, value);
    default:
      fprintf(stderr, "s_type (%d) is not supported\n", g_connection.mode);
      return -EINVAL;
  }
}
