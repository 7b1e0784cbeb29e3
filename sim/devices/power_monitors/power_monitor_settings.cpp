#include "devices/power_monitors/power_monitor_settings.h"

#include <string_view>
#include <utility>

#include "board/file_table.h"
#include "devices/i2c/i2c_place.h"

namespace zvgsim {

namespace {

constexpr struct {
  std::string_view name;
  PowerChip value;
} chips[] = {{"ltc2990", PowerChip::ltc2990},
             {"ltc2991", PowerChip::ltc2991},
             {"ina3221", PowerChip::ina3221}};

// What each has, and where on the bus it can be.
struct Traits {
  size_t inputs, shunts;
  uint8_t first_address, last_address;
};
constexpr Traits traits_of(PowerChip chip) {
  switch (chip) {
    case PowerChip::ltc2990:
      return {4, 2, 0x4C, 0x4F};
    case PowerChip::ltc2991:
      return {8, 4, 0x48, 0x4F};
    default:
      return {3, 3, 0x40, 0x43};
  }
}

void read_power_monitor(FileTable& table, BoardConfig& config) {
  PowerMonitorSettings monitor;
  if (!table.choice("chip", chips, &monitor.chip) && !table.has("chip")) {
    table.problem("expected a chip = " + quoted_names(chips));
  }
  const Traits traits = traits_of(monitor.chip);
  const bool placed = read_i2c_place(table, config, &monitor.bus, &monitor.address,
                                     traits.first_address, traits.last_address);
  table.text("name", &monitor.name);
  table.signal("supply", &monitor.supply);
  table.signal("temperature", &monitor.temperature);
  for (const FileValue& one : table.elements("volts", "an array of numbers")) {
    one.signal(&monitor.volts.emplace_back());
  }
  table.tables("shunts", [&](FileTable& shunt) {
    Shunt& one = monitor.shunts.emplace_back();
    shunt.text("name", &one.name);
    shunt.real("milliohms", &one.milliohms, 0.001, 1e6);
    shunt.signal("amperes", &one.amperes);
  });
  if (monitor.volts.size() > traits.inputs || monitor.shunts.size() > traits.shunts) {
    table.problem("expected at most " + std::to_string(traits.inputs) + " volts and " +
                  std::to_string(traits.shunts) + " shunts");
  }
  if (placed) config.of<PowerMonitors>().list.push_back(std::move(monitor));
}

}  // namespace

void read_power_monitors(FileTable& root, BoardConfig& config) {
  root.tables("power_monitors", [&](FileTable& table) { read_power_monitor(table, config); });
}

}  // namespace zvgsim
