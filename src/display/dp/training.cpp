// Link training: with the sink's requests, and with fixed timing for the embedded panel. DPCD
// addresses and values are those of the DisplayPort standard.
#include "display/dp/training.h"

#include <stdio.h>

#include "display/dp/ports.h"
#include "display/dp/registers.h"
#include "hw/blocks/dpcd.h"

namespace zvg::display::dp {

namespace {

namespace dpcd = hw::dpcd;

// Places in a read of the capabilities, and in one from the sink count on.
constexpr uint32_t capability_rate = dpcd::max_link_rate;
constexpr uint32_t capability_lanes = dpcd::max_lane_count;
constexpr uint32_t capability_equalisation = dpcd::training_interval;
constexpr uint32_t status_lanes_0_1 = dpcd::lane_status_0_1 - dpcd::sink_count;
constexpr uint32_t status_alignment = dpcd::align_status - dpcd::sink_count;
constexpr int block_bytes = 16;

constexpr uint8_t both_lanes_recovered = dpcd::lane_clock_recovered | dpcd::lane_clock_recovered
                                                                          << dpcd::lane_bits;
constexpr uint8_t lane_equalised_and_locked = dpcd::lane_equalised | dpcd::lane_symbols_locked;

// What the DPCD takes for each pattern that the transmitter sends: scrambling off.
enum Pattern : uint32_t { no_pattern = 0, pattern_1 = 1, pattern_2 = 2, pattern_3 = 3 };
constexpr uint32_t dpcd_value(Pattern pattern) {
  return pattern == no_pattern ? 0 : uint32_t{dpcd::scrambling_off} | pattern;
}

constexpr int max_passes = 5;
constexpr uint32_t clock_recovery_ticks = 500;
constexpr uint32_t fixed_clock_recovery_ticks = 100;
constexpr uint32_t fixed_equalisation_ticks = 400;

constexpr uint32_t equalisation_ticks_per_unit = 4000;
constexpr uint32_t shortest_equalisation_ticks = 400;
constexpr uint32_t fallback_lanes = 4;

struct Drive {
  uint32_t swing;
  uint32_t preemphasis;

  uint32_t training_byte() const { return preemphasis * 8 | swing; }
};

// The highest level carries its maximum-reached mark in the training byte.
constexpr uint32_t stored_level(uint32_t requested) {
  return requested == 3 ? 7 : requested;
}

class Training {
 public:
  explicit Training(const zvg_dptx* device) : device_(device) {}

  void run(uint32_t equalisation_ticks) {
    int passes = 0;
    bool recovered = false;
    do {
      ++passes;
      recovered = recover_clock();
      if (!recovered && passes < max_passes) continue;
      if (equalise(equalisation_ticks) && recovered) break;
    } while (passes < max_passes);
  }

 private:
  // One pass. Returns whether all four lanes have clock recovery, however many are in use.
  bool recover_clock() {
    zvg_dptx_set_voltage_swing(device_, lanes_[0].swing, lanes_[1].swing, lanes_[2].swing,
                               lanes_[3].swing);
    zvg_dptx_set_preemphasis(device_, lanes_[0].preemphasis, lanes_[1].preemphasis,
                             lanes_[2].preemphasis, lanes_[3].preemphasis);
    send(pattern_1, clock_recovery_ticks);
    const bool first = look_at_pair(0);
    const bool second = look_at_pair(1);
    return first && second;
  }

  // Returns whether the sink can receive, as far as is looked at: lane 0 stands for all of them.
  bool equalise(uint32_t ticks) {
    send(pattern_2, ticks);
    uint8_t status[block_bytes] = {};
    zvg_dptx_aux_read_blk(device_, dpcd::sink_count, status, block_bytes);
    return (status[status_alignment] & dpcd::lanes_aligned) != 0 &&
           (status[status_lanes_0_1] & lane_equalised_and_locked) == lane_equalised_and_locked;
  }

  void send(Pattern pattern, uint32_t ticks) {
    zvg_dptx_aux_write(device_, dpcd::training_pattern_set, dpcd_value(pattern));
    for (uint32_t lane = 0; lane < max_lanes; ++lane) {
      zvg_dptx_aux_write(device_, dpcd::training_lane_set + lane, lanes_[lane].training_byte());
    }
    zvg_dptx_reg_write(device_, training_pattern, pattern);
    zvg_dptx_tmr_wait(device_, ticks);
  }

  // Lanes 0 and 1 or 2 and 3. A lane without clock recovery takes the levels that its sink wants.
  bool look_at_pair(uint32_t pair) {
    uint8_t status = 0;
    zvg_dptx_aux_read(device_, dpcd::lane_status_0_1 + pair, &status);
    if ((status & both_lanes_recovered) == both_lanes_recovered) return true;
    uint8_t request = 0;
    zvg_dptx_aux_read(device_, dpcd::adjust_request_0_1 + pair, &request);
    for (uint32_t i = 0; i < 2; ++i) {
      const uint32_t nibble = i * dpcd::lane_bits;
      if ((status >> nibble & dpcd::lane_clock_recovered) != 0) continue;
      lanes_[pair * 2 + i] = {stored_level(request >> nibble & 3),
                              stored_level(request >> (nibble + 2) & 3)};
    }
    return false;
  }

  const zvg_dptx* device_;
  Drive lanes_[max_lanes] = {};
};

void finish(const zvg_dptx* device) {
  zvg_dptx_reg_write(device, training_pattern, no_pattern);
  zvg_dptx_aux_write(device, dpcd::training_pattern_set, dpcd_value(no_pattern));
  zvg_dptx_reg_write(device, training_active, 0);
}

void configure_sink(const zvg_dptx* device, uint32_t rate_code, uint32_t lanes) {
  zvg_dptx_aux_write(device, dpcd::link_rate_set, rate_code);
  zvg_dptx_aux_write(device, dpcd::lane_count_set, lanes | dpcd::enhanced_framing);
}

void send_fixed(const zvg_dptx* device, Pattern pattern, uint32_t ticks) {
  zvg_dptx_aux_write(device, dpcd::training_pattern_set, dpcd_value(pattern));
  zvg_dptx_reg_write(device, training_pattern, pattern);
  zvg_dptx_tmr_wait(device, ticks);
}

}  // namespace

SinkCapabilities read_capabilities(zvg_dptx* device, const char* fallback) {
  uint8_t bytes[block_bytes] = {};
  const bool known = zvg_dptx_aux_read_blk(device, dpcd::revision, bytes, block_bytes) == 0;
  if (known) {
    printf("DPCD 0:");
    for (const uint8_t byte : bytes) printf(" %02x", byte);
    printf("\n");
    device->link_clock = zvg_speed_to_link_clk(bytes[capability_rate]);
    device->lanes = bytes[capability_lanes] & dpcd::lane_count;
  } else {
    puts(fallback);
    device->link_clock = 0;
    device->lanes = fallback_lanes;
  }
  const uint32_t units = bytes[capability_equalisation];
  const uint32_t ticks =
      units == 0 ? shortest_equalisation_ticks : units * equalisation_ticks_per_unit;
  return {known, bytes[capability_rate], ticks};
}

}  // namespace zvg::display::dp

using namespace zvg::display::dp;

int zvg_dptx_train_link(const zvg_dptx* device, uint32_t rate_code, uint32_t lanes,
                        uint32_t equalisation_ticks, int self_refresh) {
  zvg_dptx_reg_write(device, training_active, 1);
  zvg_dptx_set_link_rate(device, rate_code);
  zvg_dptx_set_lane_count(device, lanes);
  zvg_dptx_reg_write(device, enhanced_framing, 1);
  configure_sink(device, rate_code, lanes);
  if (self_refresh != 0) zvg_dptx_aux_write(device, dpcd::psr_enable, 1);
  uint8_t power = 0;
  zvg_dptx_aux_read(device, dpcd::set_power, &power);
  if (power == 0) zvg_dptx_aux_write(device, dpcd::set_power, dpcd::powered);
  Training(device).run(equalisation_ticks);
  finish(device);
  return 0;
}

int zvg_dptx_train_link_no_aux(const zvg_dptx* device, uint32_t rate_code, uint32_t lanes, uint32_t,
                               int) {
  zvg_dptx_reg_write(device, training_active, 1);
  zvg_dptx_reg_write(device, enhanced_framing, 1);
  zvg_dptx_set_link_rate(device, rate_code);
  zvg_dptx_set_lane_count(device, lanes);
  configure_sink(device, rate_code, lanes);
  zvg_dptx_aux_write(device, dpcd::set_power, dpcd::powered);
  send_fixed(device, pattern_1, fixed_clock_recovery_ticks);
  send_fixed(device, pattern_3, fixed_equalisation_ticks);
  uint8_t unused[block_bytes];
  zvg_dptx_aux_read_blk(device, dpcd::sink_count, unused, block_bytes);
  finish(device);
  return 0;
}

int zvgDpLinkTraining(int port) {
  const auto number = static_cast<uint32_t>(port);
  if (number > last_port) return refuse_channel(number);
  zvg_dptx& device = record_for_link(number);
  const SinkCapabilities sink = read_capabilities(
      &device, "aux read linkrate from monitor error, force to 1.62Gbps with lane 4");
  const auto train = number == panel_port ? zvg_dptx_train_link_no_aux : zvg_dptx_train_link;
  train(&device, sink.rate_code, device.lanes, sink.equalisation_ticks, 0);
  return sink.known ? 0 : -1;
}
