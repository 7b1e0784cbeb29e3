// The process-wide connection to one board.
#ifndef ZVG_CORE_CONNECTION_H
#define ZVG_CORE_CONNECTION_H

#include <stdint.h>

#include "hw/serial_frames.h"
#include "util_zvg.h"

namespace zvg::core {

// A physical aperture mapped into the process (memory mode).
struct Aperture {
  void* base = nullptr;
  uint64_t size = 0;   // what munmap gets; a close leaves it
  uint64_t limit = 0;  // what may be accessed; 0 when there is no usable mapping
};

// One instance a process: the library serves one caller and one board at a time. The fields below
// the apertures outlive a close, because the board keeps what they describe: the selected index,
// the chip, the rate that its UART runs at and the mode of its VGA registers.
struct Connection {
  int fd = -1;
  int mode = ZVG_MODE_NONE;
  Aperture mmio;
  Aperture vram;
  uint32_t card = 0;
  uint32_t device_id = ZVG_DEVICE_RQ301;  // also an RQ300's
  int baud = hw::serial::default_baud;
  bool vga_colour_mode = false;
};

extern Connection g_connection;

}  // namespace zvg::core

#endif  // ZVG_CORE_CONNECTION_H
