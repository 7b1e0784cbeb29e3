#include "devices/axi/axi_ports.h"

#include <array>
#include <iterator>

#include "hw/axi_ports.h"

namespace zvgsim {

namespace {

using enum AxiMonitorType;
using enum AxiLoad;

template <size_t count>
constexpr void add(AxiPort*& next, AxiMonitorType type, const hw::Place (&places)[count],
                   const AxiLoad (&loads)[count]) {
  for (size_t i = 0; i < count; ++i) {
    const char* const name = places[i].name;
    *next++ = {name != nullptr ? name : "", type, places[i].base, 0, loads[i]};
  }
}

constexpr auto rq301_ports = [] {
  std::array<AxiPort, std::size(hw::rq301_axi_both_ports) + std::size(hw::rq301_axi_read_ports) +
                          std::size(hw::rq301_axi_write_ports)>
      ports = {};
  AxiPort* next = ports.data();
  add(next, both, hw::rq301_axi_both_ports,
      {bursty, idle, saturated, bursty, bursty, idle, bursty, idle, idle, idle, idle, idle});
  add(next, reads, hw::rq301_axi_read_ports,
      {saturated, bursty, idle, idle, idle, idle, idle, idle, idle, idle, idle, idle});
  add(next, writes, hw::rq301_axi_write_ports, {bursty, idle, idle, idle});
  return ports;
}();

constexpr auto rq302_ports = [] {
  std::array<AxiPort, std::size(hw::rq302_axi_both_ports) + std::size(hw::rq302_axi_read_ports) +
                          std::size(hw::rq302_axi_mixed_ports)>
      ports = {};
  AxiPort* next = ports.data();
  add(next, both, hw::rq302_axi_both_ports,
      {bursty, idle, saturated, bursty, bursty, idle, bursty});
  add(next, reads, hw::rq302_axi_read_ports, {saturated, bursty, idle, idle, idle, idle});
  add(next, writes, hw::rq302_axi_mixed_ports,
      {bursty, saturated, bursty, bursty, idle, saturated, bursty, bursty, idle});
  const hw::Bases& slots = hw::rq302_chip.rq302_axi_slots;
  for (uint32_t i = 0; i != slots.count; ++i) ports[i].slots = slots.base(i);
  return ports;
}();

}  // namespace

std::span<const AxiPort> axi_ports(Generation generation) {
  if (hw::chip_of(generation).rq302_axi_control.count != 0) return rq302_ports;
  return rq301_ports;
}

}  // namespace zvgsim
