// The timing of a DisplayPort transmitter: copied into it from the first display controller, and
// read back.
#include <stdint.h>
#include <stdio.h>

#include "display/dp/ports.h"
#include "display/dp/registers.h"
#include "display/panel/crtc_timing.h"
#include "hw/bus.h"
#include "util_zvg.h"

namespace zvg::display::dp {

namespace {

// On the serial line the VGA's registers are addressed with the bus base added by hand.
constexpr uint64_t misc_output_on_bus = hw::bus_mmio_base + misc_output;

// The word stands in every other index from the first on, low byte first.
uint32_t read_pll_word() {
  uint32_t word = 0;
  for (uint32_t byte = 0; byte < 4; ++byte)
    word |= crtc_byte(display::crtc0::pll_word + byte * display::crtc0::pll_word_stride)
            << byte * 8;
  return word;
}

// The high bits of the two horizontal distances are taken otherwise in the controller's readback.
void read_crtc_timing(uint32_t* mode) {
  mode[ZVG_MODE_H_TOTAL] = crtc_pair(display::crtc0::h_total);
  mode[ZVG_MODE_V_TOTAL] = crtc_pair(display::crtc0::v_total);
  mode[ZVG_MODE_H_ACTIVE] = crtc_pair(display::crtc0::h_active);
  mode[ZVG_MODE_V_ACTIVE] = crtc_pair(display::crtc0::v_active);
  const uint32_t back = crtc_byte(display::crtc0::h_back);
  const uint32_t high = crtc_byte(display::crtc0::h_sync_high) << 8;
  mode[ZVG_MODE_H_SYNC_END] = mode[ZVG_MODE_H_TOTAL] - back - (high & 0x100);
  mode[ZVG_MODE_H_SYNC_START] =
      mode[ZVG_MODE_H_SYNC_END] - crtc_byte(display::crtc0::h_sync_width) - (high & 0x200);
  mode[ZVG_MODE_V_SYNC_END] = mode[ZVG_MODE_V_TOTAL] - crtc_byte(display::crtc0::v_back);
  mode[ZVG_MODE_V_SYNC_START] = mode[ZVG_MODE_V_SYNC_END] - crtc_byte(display::crtc0::v_sync_width);
}

uint32_t read_sync_flags() {
  uint8_t misc = 0;
  zvgRegReadByte(get_s_type() == ZVG_MODE_SERIAL ? misc_output_on_bus : misc_output, &misc);
  return misc_sync_flags(misc);
}

uint32_t read_register(uint32_t port, ControllerRegister reg) {
  uint32_t value = 0;
  zvgRegReadLong(uint64_t{block_of(port)} + controller_offset + reg, &value);
  return value;
}

}  // namespace

}  // namespace zvg::display::dp

using namespace zvg::display::dp;

int zvgDpCTLCfg(uint32_t port) {
  if (port > last_port) return refuse_channel(port);
  zvg_dptx& device = record_for_link(port);
  uint32_t mode[ZVG_MODE_SYNC_FLAGS + 1] = {};
  // Through single precision, which holds every clock that the PLL can make.
  const auto clock = static_cast<float>(zvg::display::pixel_clock_of(read_pll_word()));
  mode[ZVG_MODE_PIXEL_CLOCK] = static_cast<uint32_t>(clock);
  printf("pclk=%d\n", static_cast<int>(mode[ZVG_MODE_PIXEL_CLOCK]));
  read_crtc_timing(mode);
  mode[ZVG_MODE_SYNC_FLAGS] = read_sync_flags();
  zvg_dptx_mode_set(&device, mode);
  return 0;
}

uint32_t zvgDpModeRead(uint32_t port, uint32_t* mode) {
  mode[ZVG_MODE_PIXEL_CLOCK] = 0;  // the transmitter does not keep it
  mode[ZVG_MODE_H_TOTAL] = read_register(port, h_total);
  mode[ZVG_MODE_V_TOTAL] = read_register(port, v_total);
  mode[ZVG_MODE_H_ACTIVE] = read_register(port, h_active);
  mode[ZVG_MODE_V_ACTIVE] = read_register(port, v_active);
  mode[ZVG_MODE_H_SYNC_START] = mode[ZVG_MODE_H_TOTAL] - read_register(port, h_start);
  mode[ZVG_MODE_V_SYNC_START] = mode[ZVG_MODE_V_TOTAL] - read_register(port, v_start);
  mode[ZVG_MODE_H_SYNC_END] = mode[ZVG_MODE_H_SYNC_START] + read_register(port, h_sync_width);
  mode[ZVG_MODE_V_SYNC_END] = mode[ZVG_MODE_V_SYNC_START] + read_register(port, v_sync_width);
  return mode[ZVG_MODE_V_SYNC_END];
}
