// The registers of a DisplayPort transmitter: 32 bits each, in a block of 128 KiB a port. The PHY
// is in the lower half of the block, the controller in the upper.
#ifndef ZVG_DISPLAY_DP_REGISTERS_H
#define ZVG_DISPLAY_DP_REGISTERS_H

#include <stdint.h>

namespace zvg::display::dp {

constexpr uint32_t last_port = 3;
constexpr uint32_t panel_port = 3;  // wired to the embedded panel
constexpr uint32_t max_lanes = 4;

constexpr uint32_t first_block = 0x500000;
constexpr uint32_t block_size = 0x20000;
constexpr uint32_t controller_offset = 0x10000;

constexpr uint32_t block_of(uint32_t port) {
  return first_block + port * block_size;
}

enum ControllerRegister : uint32_t {
  link_rate_code = 0x000,
  link_lanes = 0x004,
  enhanced_framing = 0x008,
  training_pattern = 0x00C,
  training_active = 0x014,
  transmitter_enable = 0x080,
  stream_enable = 0x084,
  psr_set_up_88 = 0x088,
  psr_set_up_8c = 0x08C,
  link_rate_changed = 0x090,
  link_enable = 0x094,
  stream_source = 0x0C8,
  aux_command = 0x100,
  aux_write_fifo = 0x104,
  aux_address = 0x108,
  aux_clock_divider = 0x10C,  // also the scale of the reply wait
  set_up_110 = 0x110,
  hot_plug = 0x128,
  aux_signal = 0x130,
  aux_reply_fifo = 0x134,
  aux_reply_code = 0x138,
  interrupt_status = 0x140,  // cleared by the read
  interrupt_mask = 0x144,
  aux_status = 0x14C,
  timer = 0x158,
  h_total = 0x180,
  v_total = 0x184,
  sync_polarity = 0x188,
  h_sync_width = 0x18C,
  v_sync_width = 0x190,
  h_active = 0x194,
  v_active = 0x198,
  h_start = 0x19C,  // total less sync start
  v_start = 0x1A0,
  stream_1a4 = 0x1A4,
  stream_1a8 = 0x1A8,
  stream_pixel_clock = 0x1AC,
  transfer_unit = 0x1B0,
  link_clock = 0x1B4,
  stream_1b8 = 0x1B8,
  user_data_count = 0x1BC,
  stream_format = 0x1C4,
  stream_for_panel = 0x1C8,
  psr_set_up_1d0 = 0x1D0,
  psr_set_up_300 = 0x300,
  psr_set_up_310 = 0x310,
  psr_set_up_324 = 0x324,
  psr_enable = 0x360,
  psr_set_up_364 = 0x364,
  psr_set_up_368 = 0x368,
  psr_state = 0x36C,
};

enum PhyRegister : uint32_t {
  cdb_address = 0x00,
  cdb_write_data = 0x04,
  cdb_command = 0x08,
  cdb_status = 0x0C,
  cdb_read_data = 0x10,
  phy_set_up = 0x14,
  cdb_go = 0x18,
  phy_enable = 0x40,
  common_ready = 0x44,
  lane_enable_48 = 0x48,
  lane_enable_4c = 0x4C,
  phy_run = 0x50,
  reset_release = 0x54,
  set_up_58 = 0x58,
  power_request = 0x60,
  power_acknowledge = 0x64,
  lane_pll_enable = 0x68,
  lane_pll_acknowledge = 0x6C,
  preemphasis = 0xA0,    // lanes 0 to 3: 0xA0 to 0xAC
  voltage_swing = 0xB0,  // lanes 0 to 3: 0xB0 to 0xBC
};

// aux_signal
constexpr uint32_t aux_received_bit = 2;
constexpr uint32_t aux_timeout_bit = 3;
// aux_status
constexpr uint32_t aux_busy_bit = 2;
constexpr uint32_t aux_error_bit = 3;

}  // namespace zvg::display::dp

#endif  // ZVG_DISPLAY_DP_REGISTERS_H
