// Legacy VGA CRTC registers: an index and data pair.
#include <errno.h>
#include <stdio.h>

#include "core/connection.h"
#include "hw/blocks/vga_crtc.h"

namespace zvg::core {

using namespace hw::vga;

namespace {

// The pair answers at 0x3Dx only in colour addressing. Set once a process: the board keeps it, and
// a check at every access would double the traffic.
void select_colour_addressing() {
  if (g_connection.vga_colour_mode) return;
  uint8_t misc = 0;
  zvgRegReadByte(base + misc_output_read, &misc);
  if ((misc & misc_colour_addressing) == 0) {
    zvgRegWriteByte(base + misc_output_write, misc_colour_addressing | misc_ram_enable);
  }
  g_connection.vga_colour_mode = true;
}

// Selects the register of an index; false when there is no such index.
bool select_register(uint32_t index) {
  if (index > last_crtc_index) {
    fprintf(stderr, "Invalid argument: offset is out of range\n");
    return false;
  }
  select_colour_addressing();
  zvgRegWriteByte(base + colour_index, static_cast<uint8_t>(index));
  return true;
}

}  // namespace

}  // namespace zvg::core

int zvgCrtcReadByte(uint32_t index, uint8_t* value) {
  if (!zvg::core::select_register(index)) return -EINVAL;
  return zvgRegReadByte(zvg::hw::vga::base + zvg::hw::vga::colour_data, value);
}

int zvgCrtcWriteByte(uint32_t index, uint8_t value) {
  if (!zvg::core::select_register(index)) return -EINVAL;
  return zvgRegWriteByte(zvg::hw::vga::base + zvg::hw::vga::colour_data, value);
}
