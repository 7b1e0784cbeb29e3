// The PHY of a transmitter: power states, set-up, reset and drive levels.
#include "display/dp/phy.h"

#include <stdio.h>

#include "core/poll.h"
#include "display/dp/phy_writes.h"

namespace zvg::display::dp {

using namespace hw::dp_cdb;

namespace {

constexpr unsigned power_tries = 50;
constexpr int bad_power_state = 9;
constexpr int no_acknowledge = 10;

constexpr unsigned set_up_tries = 500;
constexpr int not_ready = 4;

constexpr int bad_reset = 5;

constexpr PhyWrite hold_in_reset[] = {
    {reset_release, 0},  {set_up_58, 0xF},    {phy_run, 0},
    {lane_enable_4c, 0}, {lane_enable_48, 0}, {phy_enable, 0},
    {reset_release, 1},  {reset_release, 3},  {reset_release, 7},
};

constexpr CdbWrite common_block[] = {
    {pll_enable, 0},
    {common_c00e, 0},
    {common_e005, 0xF},
    {common_e006, 0x2222},
};

constexpr CdbWrite lane_before_divider[] = {{lane_40e5, 1}, {lane_40ea, 0xF}};

constexpr CdbWrite lane_after_divider[] = {
    {lane_40e6, 0}, {lane_4100, 0xFB}, {lane_4102, 0x4AA}, {lane_4103, 0x4AA},
    {lane_8000, 0}, {lane_8002, 0},    {lane_8003, 0},     {lane_8006, 0},
    {lane_8108, 0}, {lane_8110, 0},    {lane_8118, 0},
};

constexpr CdbWrite pll_common[] = {
    {pll_94, 4},     {pll_1a4, 0x509}, {pll_1a5, 0xF00}, {pll_1a6, 0xF08},
    {pll_92, 2},     {pll_1a0, 2},     {pll_84, 0xFA},   {pll_85, 4},
    {pll_86, 0x317}, {pll_82, 3},      {pll_9c, 0xC7},   {pll_9e, 0xC7},
};

// Parameter 0x88 comes first here, but fifth in a rate change.
constexpr dp_cdb::Address set_up_order[] = {pll_88,  pll_90, pll_91, pll_93,
                                            pll_1a1, pll_95, pll_96};

constexpr PhyWrite switch_on[] = {
    {lane_pll_enable, 1}, {lane_enable_4c, 0xF}, {lane_enable_48, 0xF},
    {set_up_58, 0},       {phy_enable, 1},
};

constexpr PhyWrite switch_lanes_off[] = {
    {lane_enable_4c, 0},
    {lane_enable_48, 0},
    {phy_enable, 0},
};

template <size_t count>
void write_lane(const zvg_dptx* device, uint32_t lane, const CdbWrite (&writes)[count]) {
  for (const CdbWrite& write : writes) {
    zvg_cdb_write(device, static_cast<uint16_t>(write.address + lane * dp_cdb::lane_stride),
                  write.data);
  }
}

void set_up_lanes(const zvg_dptx* device, uint16_t divider) {
  const CdbWrite divider_write[] = {{lane_divider, divider}};
  for (uint32_t lane = 0; lane < max_lanes; ++lane) {
    write_lane(device, lane, lane_before_divider);
    write_lane(device, lane, divider_write);
    write_lane(device, lane, lane_after_divider);
  }
}

// A step of the set-up that did not end well, under the number that the field knows it by.
void report_step(int number, const char* step, int status) {
  printf("zvg_dptx_phy_init %d: %s status %d is error\n", number, step, status);
}

// The four registers of a kind, a lane every four bytes, take the levels inverted.
void write_levels(const zvg_dptx* device, PhyRegister first, const uint32_t (&levels)[max_lanes]) {
  for (uint32_t lane = 0; lane < max_lanes; ++lane) {
    zvg_dptx_phy_reg_write(device, first + lane * hw::dp_phy::lane_stride,
                           ~(levels[lane] & level_bits));
  }
}

void write_raw_levels(const zvg_dptx* device, PhyRegister first, uint32_t value) {
  for (uint32_t lane = 0; lane < max_lanes; ++lane) {
    zvg_dptx_phy_reg_write(device, first + lane * hw::dp_phy::lane_stride, value);
  }
}

}  // namespace

bool wait_for_phy(const zvg_dptx* device, PhyRegister reg, unsigned tries) {
  return core::look_then_wait(
      tries, [=] { zvg_dptx_tmr_wait(device, 1); },
      [=] { return (zvg_dptx_phy_reg_read(device, reg) & 1) != 0; }, core::LastWait::left_out);
}

}  // namespace zvg::display::dp

using namespace zvg::display::dp;

int zvg_dptx_phy_power(const zvg_dptx* device, uint32_t state) {
  if (state > last_power_state) return bad_power_state;
  const uint32_t wanted = 1u << state;
  zvg_dptx_phy_reg_write(device, power_request, wanted);
  const bool acknowledged = zvg::core::look_then_wait(
      power_tries, [=] { zvg_dptx_tmr_wait(device, 1); },
      [=] { return (zvg_dptx_phy_reg_read(device, power_acknowledge) & power_states) == wanted; });
  zvg_dptx_phy_reg_write(device, power_request, 0);
  return acknowledged ? 0 : no_acknowledge;
}

int zvg_dptx_phy_init(const zvg_dptx* device, uint32_t link_clock) {
  const LinkRate* const rate = rate_of_index(link_clock);

  zvg_dptx_phy_reg_write(device, phy_set_up, 1);
  zvg_cdb_write(device, common_4c, 4);
  write_all(device, hold_in_reset);
  write_all(device, common_block);
  set_up_lanes(device, (rate != nullptr ? *rate : link_rates[0]).lane_divider);
  write_all(device, pll_common);
  if (rate != nullptr) {
    write_pll(device, *rate, set_up_order);
  } else {
    // Nothing is forced, whatever the text says: the PLL keeps its parameters.
    fprintf(stderr, "error: ref_clk=%d is not supported yet! force to 1.62G\n",
            static_cast<int>(link_clock));
  }
  zvg_cdb_write(device, pll_enable, 1);
  write_all(device, switch_on);

  // No failure stops the sequence.
  if (!wait_for_phy(device, common_ready, set_up_tries)) {
    report_step(1419, "common_ready_ack", not_ready);
  }
  if (!wait_for_phy(device, lane_pll_acknowledge, set_up_tries)) {
    report_step(1424, "lane_pll_ack", not_ready);
  }
  if (const int a2 = zvg_dptx_phy_power(device, 2); a2 != 0) {
    report_step(1430, "dptx_phy_power_a2", a2);
  }
  const int a0 = zvg_dptx_phy_power(device, 0);
  if (a0 != 0) report_step(1435, "dptx_phy_power_a0", a0);
  zvg_dptx_phy_reg_write(device, phy_run, 1);
  zvg_dptx_phy_reg_write(device, reset_release, 0xF);
  return a0;
}

int zvg_dptx_phy_reset(const zvg_dptx* device, int which) {
  switch (which) {
    case 0:
      zvg_dptx_phy_reg_write(device, phy_run, 0);
      break;
    case 1:
      zvg_dptx_phy_reg_write(device, power_request, 0);
      zvg_dptx_phy_reg_write(device, lane_pll_enable, 0);
      break;
    default:
      return bad_reset;
  }
  write_all(device, switch_lanes_off);
  return 0;
}

void zvg_dptx_set_voltage_swing(const zvg_dptx* device, uint32_t lane0, uint32_t lane1,
                                uint32_t lane2, uint32_t lane3) {
  write_levels(device, voltage_swing, {lane0, lane1, lane2, lane3});
}

void zvg_dptx_set_preemphasis(const zvg_dptx* device, uint32_t lane0, uint32_t lane1,
                              uint32_t lane2, uint32_t lane3) {
  write_levels(device, preemphasis, {lane0, lane1, lane2, lane3});
}

int zvg_dptx_phy_set_vswing_all(const zvg_dptx* device, uint32_t value) {
  write_raw_levels(device, voltage_swing, value);
  return 0;
}

int zvg_dptx_phy_set_preemphasis_all(const zvg_dptx* device, uint32_t value) {
  write_raw_levels(device, preemphasis, value);
  return 0;
}
