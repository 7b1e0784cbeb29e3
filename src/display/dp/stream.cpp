// The main stream of a transmitter: its timing, its transfer units, and its start.
#include <stdint.h>
#include <stdio.h>

#include "display/dp/registers.h"
#include "display/dp/training.h"
#include "util_zvg.h"

namespace zvg::display::dp {

namespace {

constexpr uint32_t bits_per_pixel = 24;
constexpr uint32_t symbols_per_unit = 64;
constexpr uint32_t symbol_rate_unit = 27;        // of a rate code, in MHz
constexpr uint32_t link_clock_per_code = 27000;  // kHz

// Whatever the lane count, the data count is taken for three bytes a pixel and pairs of them.
constexpr uint32_t count_bytes = 3;
constexpr uint32_t count_divisor = 2;

constexpr uint32_t start_ticks_dividend = 0x18000;
constexpr uint32_t stream_ticks = 5;

struct ControllerWrite {
  ControllerRegister reg;
  uint32_t value;
};

// The source has been written before: a panel's is written a second time.
constexpr ControllerWrite self_refresh_set_up[] = {
    {stream_source, stream_source_panel},
    {stream_for_panel, 1},
    {psr_set_up_310, 0},
    {psr_set_up_324, 0},
    {psr_set_up_364, 0},
    {psr_set_up_368, 0},
    {psr_set_up_8c, 0x80},
    {psr_set_up_300, 0},
    {psr_set_up_88, 1},
    {psr_set_up_1d0, 0},
    {psr_enable, 0},
};

uint32_t polarity_word(uint32_t flags) {
  if ((flags & ZVG_SYNC_V_NEGATIVE) != 0) return (flags & ZVG_SYNC_H_NEGATIVE) != 0 ? 3 : 2;
  return (flags & ZVG_SYNC_H_NEGATIVE) != 0 ? 1 : 0;
}

uint32_t format_word(uint32_t flags) {
  uint32_t word = stream_8_bits_rgb;
  if ((flags & ZVG_SYNC_H_POSITIVE) != 0) word += 1;
  if ((flags & ZVG_SYNC_V_POSITIVE) != 0) word |= 2;
  return word;
}

void write_timing(const zvg_dptx* device, const uint32_t* mode) {
  const uint32_t flags = mode[ZVG_MODE_SYNC_FLAGS];
  const ControllerWrite writes[] = {
      {h_total, mode[ZVG_MODE_H_TOTAL]},
      {v_total, mode[ZVG_MODE_V_TOTAL]},
      {h_sync_width, mode[ZVG_MODE_H_SYNC_END] - mode[ZVG_MODE_H_SYNC_START]},
      {v_sync_width, mode[ZVG_MODE_V_SYNC_END] - mode[ZVG_MODE_V_SYNC_START]},
      {h_active, mode[ZVG_MODE_H_ACTIVE]},
      {v_active, mode[ZVG_MODE_V_ACTIVE]},
      {h_start, mode[ZVG_MODE_H_TOTAL] - mode[ZVG_MODE_H_SYNC_START]},
      {v_start, mode[ZVG_MODE_V_TOTAL] - mode[ZVG_MODE_V_SYNC_START]},
      {sync_polarity, polarity_word(flags)},
      {stream_format, format_word(flags)},
      {stream_1a4, 0x21},
      {stream_1a8, 0},
      {stream_pixel_clock, mode[ZVG_MODE_PIXEL_CLOCK]},
  };
  for (const ControllerWrite& write : writes) zvg_dptx_reg_write(device, write.reg, write.value);
}

void set_up_self_refresh(const zvg_dptx* device) {
  for (const ControllerWrite& write : self_refresh_set_up) {
    zvg_dptx_reg_write(device, write.reg, write.value);
  }
  if (const uint32_t state = zvg_dptx_reg_read(device, psr_state); state != psr_disabled) {
    printf("PSR function not DISABLED (0x%x)\n", state);
  }
  zvg_dptx_reg_write(device, psr_enable, 1);
  zvg_dptx_tmr_wait(device, 1);
  if (const uint32_t state = zvg_dptx_reg_read(device, psr_state); state != psr_inactive) {
    printf("PSR transition error: DISABLED -> INACTIVE (0x%x)\n", state);
  }
}

// The slower the link, the longer until the sink has locked on to it. A link clock that reads as
// less than 1 MHz is no clock to wait for.
uint32_t start_ticks(uint32_t link_clock_khz) {
  const uint32_t mhz = link_clock_khz / 1000;
  return mhz == 0 ? 0 : start_ticks_dividend / mhz;
}

}  // namespace

}  // namespace zvg::display::dp

using namespace zvg::display::dp;

uint32_t zvg_dptx_set_tu_size(const zvg_dptx* device, uint32_t pixel_clock, uint32_t bpp) {
  const uint32_t lanes = zvg_dptx_reg_read(device, link_lanes);
  const uint32_t bandwidth = lanes * zvg_dptx_reg_read(device, link_rate_code);
  if (bandwidth == 0) return 0;
  // Thousandths of a valid symbol a unit. All of it wraps at 32 bits, as the sinks in the field
  // have always been given it.
  const uint32_t valid = pixel_clock * bpp * 8 / (bandwidth * symbol_rate_unit);
  const uint32_t sixteenths = valid % 1000 * 16 / 1000;
  const uint32_t word = (valid / 1000 + (sixteenths << 8)) << 16 | symbols_per_unit;
  zvg_dptx_reg_write(device, transfer_unit, word);
  return word;
}

uint32_t zvg_dptx_set_user_data_count(const zvg_dptx* device, uint32_t active, uint32_t bytes,
                                      uint32_t divisor) {
  if (divisor == 0) return 0;
  const uint32_t count = ((active * bytes & user_data_mask) + divisor - 1) / divisor;
  zvg_dptx_reg_write(device, user_data_count, count);
  return count;
}

int zvg_dptx_mode_set(zvg_dptx* device, const uint32_t* mode) {
  const bool panel = device->port == static_cast<int>(panel_port);
  const SinkCapabilities sink = read_capabilities(
      device, "aux read linkrate from monitor error, force to 1.62Gbps with 4 lanes");
  const auto train = panel ? zvg_dptx_train_link_no_aux : zvg_dptx_train_link;
  train(device, zvg_link_clk_to_speed(device->link_clock), device->lanes, sink.equalisation_ticks,
        panel ? 1 : 0);

  write_timing(device, mode);
  zvg_dptx_set_tu_size(device, mode[ZVG_MODE_PIXEL_CLOCK], bits_per_pixel);
  const uint32_t link_clock_khz = zvg_dptx_reg_read(device, link_rate_code) * link_clock_per_code;
  zvg_dptx_reg_write(device, link_clock, link_clock_khz);
  zvg_dptx_reg_write(device, stream_1b8, 1);
  zvg_dptx_set_user_data_count(device, mode[ZVG_MODE_H_ACTIVE], count_bytes, count_divisor);
  zvg_dptx_reg_write(device, stream_source, stream_source_crtc);
  if (panel) {
    set_up_self_refresh(device);
  } else {
    zvg_dptx_reg_write(device, stream_for_panel, 0);
  }
  printf("DP%d: enable the link\n", device->port);
  zvg_dptx_reg_write(device, link_enable, 1);
  zvg_dptx_tmr_wait(device, start_ticks(link_clock_khz));
  zvg_dptx_reg_write(device, stream_enable, 1);
  zvg_dptx_tmr_wait(device, stream_ticks);
  return 0;
}
