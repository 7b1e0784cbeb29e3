#include "devices/dp/dp_phy.h"

#include <bit>

namespace zvgsim {

namespace {

enum Register : uint32_t {
  bus_address = 0x00,
  bus_write_data = 0x04,
  bus_command = 0x08,
  bus_status = 0x0C,
  bus_read_data = 0x10,
  bus_go = 0x18,
  enable = 0x40,
  common_ready = 0x44,
  lanes_48 = 0x48,
  lanes_4c = 0x4C,
  run = 0x50,
  reset_release = 0x54,
  power_request = 0x60,
  power_acknowledge = 0x64,
  lane_pll_enable = 0x68,
  lane_pll_acknowledge = 0x6C,
  preemphasis = 0xA0,
  voltage_swing = 0xB0,
};

enum BusCommand : uint32_t { bus_read = 2, bus_write = 3 };

constexpr uint16_t pll_state = 0xE001;
constexpr uint16_t pll_enable = 0xE003;
constexpr uint16_t pll_settled = 0x4;

constexpr uint32_t all_released = 0xF;
constexpr uint32_t level_bits = 3;

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
  if (address == pll_state) {
    return !faults_.pll_never_locks && now() >= pll_configured_at_ ? pll_settled : 0;
  }
  const auto found = configuration_.find(address);
  return found != configuration_.end() ? found->second : 0;
}

void DpPhy::carry_out() {
  const auto address = static_cast<uint16_t>(stored(bus_address));
  bus_done_at_ = now() + bus_time;
  switch (stored(bus_command)) {
    case bus_read:
      bus_data_ = configuration(address);
      break;
    case bus_write:
      configuration_[address] = static_cast<uint16_t>(stored(bus_write_data));
      if (address == pll_enable) pll_configured_at_ = now() + pll_time;
      break;
    default:
      break;
  }
}

uint32_t DpPhy::read(uint32_t reg) {
  switch (reg) {
    case bus_status:
      return !faults_.cdb_busy && now() >= bus_done_at_;
    case bus_read_data:
      return bus_data_;
    case common_ready:
      return stored(enable) != 0 && now() >= common_at_;
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
    case bus_go:
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
    case enable:
      common_at_ = now() + common_time;
      break;
    default:
      break;
  }
}

void DpPhy::describe(DpLink& link) const {
  constexpr uint32_t active = 1;  // power state 0
  link.running = (stored(run) & 1) != 0 && stored(enable) != 0 && stored(lane_pll_enable) != 0 &&
                 stored(reset_release) == all_released && power_ == active &&
                 !faults_.pll_never_locks && !faults_.no_power_acknowledge;
  link.lanes = static_cast<uint32_t>(std::popcount(stored(lanes_48) & stored(lanes_4c) & 0xF));
  for (unsigned lane = 0; lane < dp_lanes; ++lane) {
    // The levels come inverted.
    link.drive[lane] = {~stored(voltage_swing + lane * 4) & level_bits,
                        ~stored(preemphasis + lane * 4) & level_bits};
  }
}

}  // namespace zvgsim
