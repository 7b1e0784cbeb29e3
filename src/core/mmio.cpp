#include "core/mmio.h"

#include <errno.h>
#include <stdio.h>
#include <termios.h>

#include "hw/bus.h"

namespace zvg::core {

hw::driver::RegisterRecord g_register_record;

int refuse_aperture_access(uint32_t bar, uint32_t op, bool in_range, uint64_t offset) {
  note_failed_access(FailedAccess::aperture, 0, offset);
  if (bar != ZVG_BAR_MMIO && bar != ZVG_BAR_VRAM) {
    fprintf(stderr, "bar (%d) is out of range\n", static_cast<int>(bar));
  } else if (!in_range) {
    fprintf(stderr, "offset (%ld) is out of range\n", static_cast<long>(offset));
  } else {
    fprintf(stderr, "op (%d) is out of range\n", static_cast<int>(op));
  }
  return -EINVAL;
}

int by_serial_link(uint32_t op, uint32_t width, uint64_t offset, uint64_t* value) {
  if (g_connection.mode != ZVG_MODE_SERIAL) {
    note_failed_access(FailedAccess::no_connection, 0, offset);
    fprintf(stderr, "s_type (%d) is not supported\n", g_connection.mode);
    return -EINVAL;
  }
  // A reply that came after its time must not be taken for this access's.
  tcflush(g_connection.fd, TCIFLUSH);
  // The link reports its own errors; callers of this layer see a success in every case.
  zvgUartOperate(static_cast<int>(op), static_cast<int>(width), offset + hw::bus_mmio_base, value);
  return 0;
}

}  // namespace zvg::core

int zvgMmioOperate(uint32_t bar, uint32_t op, uint32_t width, uint64_t offset, uint64_t* value) {
  return zvg::core::operate(bar, op, width, offset, value);
}
