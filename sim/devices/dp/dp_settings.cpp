#include "devices/dp/dp_settings.h"

#include "board/file_table.h"
#include "devices/monitor/edid_file.h"

namespace zvgsim {

namespace {

constexpr unsigned highest_level = 3;

std::optional<unsigned> level(const FileValue& value) {
  const auto number = value.integer();
  if (!number || *number < 0 || *number > highest_level) return std::nullopt;
  return static_cast<unsigned>(*number);
}

void read_channel(FileTable& table, std::array<DpLevels, dp_lanes>* channel) {
  const auto found = table.array("channel", "an array of 4 arrays");
  if (!found) return;
  const auto lanes = found->elements();
  bool valid = lanes.size() == dp_lanes;
  for (size_t lane = 0; valid && lane < dp_lanes; ++lane) {
    const auto levels = lanes[lane].elements();
    valid = levels.size() == 2 && level(levels[0]) && level(levels[1]);
    if (valid) (*channel)[lane] = {*level(levels[0]), *level(levels[1])};
  }
  if (!valid) found->problem("expected [swing, pre-emphasis] of 0 to 3 for each of 4 lanes");
}

}  // namespace

void read_dp(FileTable& root, BoardConfig& config) {
  std::array<bool, dp_ports> seen{};
  root.tables("dp", [&](FileTable& table) {
    unsigned number = 0;
    DpPortSettings port;
    port.sink = true;
    const bool named = table.index("port", &number, dp_ports);
    if (named && seen[number]) {
      table.problem("port " + std::to_string(number) + " is described a second time");
    }
    read_edid(table, &port.edid);
    table.boolean("sink", &port.sink);
    table.number("rate", &port.rate);
    table.number("lanes", &port.lanes, 0, 31);
    table.number("revision", &port.revision);
    table.number("aux_interval", &port.aux_interval);
    table.boolean("panel", &port.panel);
    read_channel(table, &port.channel);
    if (!named) return;
    seen[number] = true;
    config.of<DpSettings>().port[number] = std::move(port);
  });
}

void read_dp_faults(FileTable& faults, FaultConfig& config) {
  faults.tables("dp", [&](FileTable& table) {
    unsigned port = 0;
    table.index("port", &port, dp_ports);
    DpPortFaults& fault = config.of<DpFaults>().port[port];
    const struct {
      std::string_view name;
      bool* value;
    } standing[] = {
        {"no_reply", &fault.no_reply},
        {"reply_error", &fault.reply_error},
        {"nack", &fault.nack},
        {"never_equalises", &fault.never_equalises},
        {"cdb_busy", &fault.cdb_busy},
        {"no_power_acknowledge", &fault.no_power_acknowledge},
        {"pll_never_locks", &fault.pll_never_locks},
        {"timer_stopped", &fault.timer_stopped},
    };
    for (const auto& one : standing) table.boolean(one.name, one.value);
    table.number("defers", &fault.defers);
    table.number("i2c_defers", &fault.i2c_defers);
    table.number("short_by", &fault.short_by, 0, 16);
  });
}

}  // namespace zvgsim
