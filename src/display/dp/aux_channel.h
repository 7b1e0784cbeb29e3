// What native and I2C transfers on an AUX channel have in common.
#ifndef ZVG_DISPLAY_DP_AUX_CHANNEL_H
#define ZVG_DISPLAY_DP_AUX_CHANNEL_H

#include <stdint.h>

#include "util_zvg.h"

namespace zvg::display::dp {

constexpr uint32_t max_aux_bytes = 16;
constexpr unsigned aux_tries = 100;
constexpr uint32_t deferral_ticks = 10;

// Bits 11 to 8 of the command register; bits 3 to 0 are the length less one.
enum Request : uint32_t {
  i2c_write_and_end = 0x000,
  i2c_read_and_end = 0x100,
  i2c_write_open = 0x400,
  i2c_read_open = 0x500,
  native_write = 0x800,
  native_read = 0x900,
};

enum ReplyCode : uint32_t { native_deferred = 2, i2c_deferred = 8 };

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
