#include "devices/axi/axi_settings.h"

#include <algorithm>
#include <string_view>

#include "board/file_table.h"
#include "devices/axi/axi_ports.h"

namespace zvgsim {

namespace {

constexpr struct {
  std::string_view name;
  AxiLoad value;
} loads[] = {
    {"idle", AxiLoad::idle}, {"bursty", AxiLoad::bursty}, {"saturated", AxiLoad::saturated}};

void read_port(FileTable& table, Generation generation, AxiSettings& axi) {
  AxiPortSettings port;
  const auto ports = axi_ports(generation);
  const auto named = [&] {
    return std::find_if(ports.begin(), ports.end(), [&](const AxiPort& one) {
      return !one.name.empty() && one.name == port.name;
    });
  };
  if (!table.text("name", &port.name) || named() == ports.end()) {
    std::string known;
    for (const AxiPort& one : ports) {
      if (!one.name.empty()) known.append(" ").append(one.name);
    }
    table.problem("expected the name of a port:" + known);
    return;
  }
  port.load = named()->load;
  table.choice("load", loads, &port.load);
  table.number("timeout_every", &port.timeout_every);
  table.boolean("data_update", &port.data_update);
  axi.ports.push_back(port);
}

}  // namespace

void read_axi(FileTable& root, BoardConfig& config) {
  root.table("axi", [&](FileTable& table) {
    auto& axi = config.of<AxiSettings>();
    table.number("seed", &axi.seed);
    table.number("period_cycles", &axi.period_cycles, 1);
    table.tables("port", [&](FileTable& port) { read_port(port, config.generation, axi); });
  });
}

}  // namespace zvgsim
