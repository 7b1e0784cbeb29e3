// The link of a transmitter: its set-up from reset, and changes of rate and lanes, for which the
// PHY is taken down and brought up again.
#include <stdio.h>

#include "core/poll.h"
#include "display/dp/phy.h"
#include "display/dp/phy_writes.h"

namespace zvg::display::dp {

namespace {

constexpr uint32_t initial_link_clock = 2;  // 2.7 Gbit/s
constexpr uint32_t initial_lanes = 2;
constexpr uint32_t clock_divider = 100;

constexpr unsigned bracket_tries = 100;
constexpr uint32_t rate_change_ticks = 2;

constexpr dp_cdb::Address rate_change_order[] = {dp_cdb::pll_90,  dp_cdb::pll_91, dp_cdb::pll_93,
                                                 dp_cdb::pll_1a1, dp_cdb::pll_88, dp_cdb::pll_95,
                                                 dp_cdb::pll_96};

void wait_for_pll(const zvg_dptx* device) {
  core::look_then_wait(
      bracket_tries, [=] { zvg_dptx_tmr_wait(device, 1); },
      [=] {
        uint16_t state = 0;
        zvg_cdb_read(device, dp_cdb::pll_state, &state);
        return (state & dp_cdb::pll_settled) != 0;
      },
      core::LastWait::left_out);
}

// Between these two the PHY may be reconfigured. Both wait for bits to be set; what does not come
// in time is gone without.
void take_phy_down(const zvg_dptx* device) {
  zvg_dptx_phy_reg_write(device, phy_run, 0);
  zvg_dptx_phy_power(device, 3);
  zvg_dptx_phy_reg_write(device, lane_pll_enable, 0);
  wait_for_phy(device, lane_pll_acknowledge, bracket_tries);
  zvg_cdb_write(device, dp_cdb::pll_enable, 0);
  wait_for_pll(device);
}

void bring_phy_up(const zvg_dptx* device) {
  zvg_cdb_write(device, dp_cdb::pll_enable, 1);
  wait_for_pll(device);
  zvg_dptx_phy_reg_write(device, lane_pll_enable, 1);
  wait_for_phy(device, lane_pll_acknowledge, bracket_tries);
  zvg_dptx_phy_power(device, 2);
  zvg_dptx_phy_power(device, 0);
  zvg_dptx_phy_reg_write(device, phy_run, 1);
}

void write_rate(const zvg_dptx* device, const LinkRate& rate) {
  for (uint32_t lane = 0; lane < max_lanes; ++lane) {
    zvg_cdb_write(device, static_cast<uint16_t>(dp_cdb::lane_divider + lane * dp_cdb::lane_stride),
                  rate.lane_divider);
  }
  write_pll(device, rate, rate_change_order);
}

uint32_t lane_mask(uint32_t lanes) {
  switch (lanes) {
    case 1:
      return 0x1;
    case 2:
      return 0x3;
    case 4:
      return 0xF;
    default:
      printf("dptx_phy_set_lane_count: lane count error %d, force to lane count 1\n",
             static_cast<int>(lanes));
      return 0x1;
  }
}

}  // namespace

}  // namespace zvg::display::dp

using namespace zvg::display::dp;

int zvg_dptx_init(zvg_dptx* device, uint8_t* base, uint32_t block_offset, int port) {
  *device = {base, block_offset, port, initial_link_clock, initial_lanes};
  zvg_dptx_set_clk_divider(device, clock_divider);
  zvg_dptx_reg_write(device, link_enable, 0);
  zvg_dptx_reg_write(device, transmitter_enable, 0);
  zvg_dptx_tmr_init(device);
  zvg_dptx_phy_init(device, device->link_clock);
  zvg_dptx_reg_write(device, link_lanes, device->lanes);
  zvg_dptx_reg_write(device, transmitter_enable, 1);
  zvg_dptx_reg_write(device, interrupt_mask, 0);
  zvg_dptx_reg_write(device, set_up_110, 0x1B8);
  zvg_dptx_reg_write(device, link_enable, 1);
  return 0;
}

int zvg_dptx_phy_update_link_rate(const zvg_dptx* device, uint32_t code) {
  take_phy_down(device);
  // A rate that the chip does not have leaves the PHY's parameters alone.
  if (const LinkRate* const rate = rate_of_code(code)) write_rate(device, *rate);
  bring_phy_up(device);
  return 0;
}

int zvg_dptx_set_link_rate(const zvg_dptx* device, uint32_t code) {
  zvg_dptx_reg_write(device, transmitter_enable, 0);
  zvg_dptx_reg_write(device, link_rate_code, code);
  const int result = zvg_dptx_phy_update_link_rate(device, code);
  if (result != 0) printf("zvg_dptx_phy_update_link_rate returns %d\n", result);
  zvg_dptx_reg_write(device, link_rate_changed, 1);
  zvg_dptx_tmr_wait(device, rate_change_ticks);
  zvg_dptx_reg_write(device, transmitter_enable, 1);
  return result;
}

int zvg_dptx_phy_set_lane_count(const zvg_dptx* device, uint32_t lanes) {
  take_phy_down(device);
  const uint32_t mask = lane_mask(lanes);
  zvg_dptx_phy_reg_write(device, lane_enable_4c, mask);
  zvg_dptx_phy_reg_write(device, lane_enable_48, mask);
  bring_phy_up(device);
  return 0;
}

int zvg_dptx_set_lane_count(const zvg_dptx* device, uint32_t lanes) {
  const uint32_t current = zvg_dptx_reg_read(device, link_lanes);
  if (current == lanes) return static_cast<int>(current);
  zvg_dptx_reg_write(device, link_lanes, lanes);
  zvg_dptx_phy_power(device, 2);
  zvg_dptx_phy_set_lane_count(device, lanes);
  return zvg_dptx_phy_power(device, 0);
}
