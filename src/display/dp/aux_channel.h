// What native and I2C transfers on an AUX channel have in common.
#ifndef ZVG_DISPLAY_DP_AUX_CHANNEL_H
#define ZVG_DISPLAY_DP_AUX_CHANNEL_H

#include <stdint.h>

#include "display/dp/registers.h"
#include "util_zvg.h"

namespace zvg::display::dp {

constexpr uint32_t max_aux_bytes = aux_fifo_bytes;
constexpr unsigned aux_tries = 100;
constexpr uint32_t deferral_ticks = 10;

// Marks a transfer that took place at all; the rest of a status word says what went wrong.
constexpr uint32_t transfer_made = 0x10000;

constexpr bool succeeded(uint32_t status) {
  return (status & 0x1FFFF) == transfer_made;
}

struct Reply {
  uint32_t wait;  // what zvg_dptx_aux_wait_reply() returned
  uint32_t code;

  bool good() const { return wait == 0 && code == 0; }
  uint32_t bits() const { return wait << 8 | code; }
};

// Waits for the reply, clears the interrupts and takes the code.
Reply take_reply(const zvg_dptx* device);

}  // namespace zvg::display::dp

#endif  // ZVG_DISPLAY_DP_AUX_CHANNEL_H
