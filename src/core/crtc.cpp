// Legacy VGA CRTC registers: an index and data pair. The VGA I/O ports 0x3C0 to 0x3DF stand in the
// MMIO space at 0x10000 plus the port number.
#include <errno.h>
#include <stdio.h>

#include "core/connection.h"

namespace zvg::core {

namespace {

constexpr uint64_t misc_output_read = 0x103CC;
constexpr uint64_t misc_output_write = 0x103C2;
constexpr uint64_t crtc_index = 0x103D4;
constexpr uint64_t crtc_data = 0x103D5;

constexpr uint8_t misc_colour_addressing = 0x01;
constexpr uint8_t misc_ram_enable = 0x02;

constexpr uint32_t last_index = 254;

// The pair answers at 0x3Dx only in colour addressing. Set once a process: the board keeps it, and
// a check at every access would double the traffic.
void select_colour_addressing() {
  if (g_connection.vga_colour_mode) return;
  uint8_t misc = 0;
  zvgRegReadByte(misc_output_read, &misc);
  if ((misc & misc_colour_addressing) == 0) {
    zvgRegWriteByte(misc_output_write, misc_colour_addressing | misc_ram_enable);
  }
  g_connection.vga_colour_mode = true;
}

// Selects the register of an index; false when there is no such index.
bool select_register(uint32_t index) {
  if (index > last_index) {
    fprintf(stderr, "Invalid argument: offset is out of range\n");
    return false;
  }
  select_colour_addressing();
  zvgRegWriteByte(crtc_index, static_cast<uint8_t>(index));
  return true;
}

}  // namespace

}  // namespace zvg::core

int zvgCrtcReadByte(uint32_t index, uint8_t* value) {
  if (!zvg::core::select_register(index)) return -EINVAL;
  return zvgRegReadByte(zvg::core::crtc_data, value);
}

int zvgCrtcWriteByte(uint32_t index, uint8_t value) {
  if (!zvg::core::select_register(index)) return -EINVAL;
  return zvgRegWriteByte(zvg::core::crtc_data, value);
}
