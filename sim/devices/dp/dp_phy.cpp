#include "devices/dp/dp_phy.h"

#include <bit>

#include "board/generation.h"
#include "hw/blocks/dp_cdb.h"
#include "hw/blocks/dp_phy.h"

namespace zvgsim {

namespace {

using namespace hw::dp_phy;
namespace dp_cdb = hw::dp_cdb;

constexpr uint64_t bus_time = microseconds(1);
constexpr uint64_t power_time = microseconds(5);
constexpr uint64_t pll_time = microseconds(40);
constexpr uint64_t common_time = microseconds(60);

}  // namespace

uint32_t DpPhy::stored(uint32_t reg) const {
  const auto found = registers_.find(reg);
  return found != registers_.end() ? found->second : 0;
}

uint16_t DpPhy::configuration(uint16_t address) {
  if (address == dp_cdb::pll_state) {
    return !faults_.pll_never_locks && now() >= pll_configured_at_ ? dp_cdb::pll_settled : 0;
  }
  const auto found = configuration_.find(address);
  return found != configuration_.end() ? found->second : 0;
}

void DpPhy::carry_out() {
  const auto address = static_cast<uint16_t>(stored(cdb_address));
  bus_done_at_ = now() + bus_time;
  switch (stored(cdb_command)) {
    case cdb_read:
      bus_data_ = configuration(address);
      break;
    case cdb_write:
      configuration_[address] = static_cast<uint16_t>(stored(cdb_write_data));
      if (address == dp_cdb::pll_enable) pll_configured_at_ = now() + pll_time;
      break;
    default:
      break;
  }
}

uint32_t DpPhy::read(uint32_t reg) {
  switch (reg) {
    case cdb_status:
      return !faults_.cdb_busy && now() >= bus_done_at_;
    case cdb_read_data:
      return bus_data_;
    case common_ready:
      return stored(phy_enable) != 0 && now() >= common_at_;
    case power_acknowledge:
      return !faults_.no_power_acknowledge && now() >= power_at_ ? power_ : 0;
    case lane_pll_acknowledge:
      return !faults_.pll_never_locks && now() >= pll_at_;
    default:
      return stored(reg);
  }
}

void DpPhy::write(uint32_t reg, uint32_t value) {
  registers_[reg] = value;
  switch (reg) {
    case cdb_go:
      if ((value & 1) != 0) carry_out();
      break;
    case power_request:
      if (value == 0) break;  // the request is taken back, the state stays
      power_ = value;
      power_at_ = now() + power_time;
      break;
    case lane_pll_enable:
      pll_at_ = now() + pll_time;
      break;
    case phy_enable:
      common_at_ = now() + common_time;
      break;
    default:
      break;
  }
}

void DpPhy::describe(DpLink& link) const {
  constexpr uint32_t active = 1;  // power state 0
  link.running = (stored(phy_run) & 1) != 0 && stored(phy_enable) != 0 &&
                 stored(lane_pll_enable) != 0 && stored(reset_release) == released &&
                 power_ == active && !faults_.pll_never_locks && !faults_.no_power_acknowledge;
  link.lanes = static_cast<uint32_t>(
      std::popcount(stored(lane_enable_48) & stored(lane_enable_4c) & lane_bits));
  for (unsigned lane = 0; lane < dp_lanes; ++lane) {
    // The levels come inverted.
    link.drive[lane] = {~stored(voltage_swing + lane * lane_stride) & level_bits,
                        ~stored(preemphasis + lane * lane_stride) & level_bits};
  }
}

}  // namespace zvgsim
