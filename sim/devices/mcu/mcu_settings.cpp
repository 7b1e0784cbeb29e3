#include "devices/mcu/mcu_settings.h"

#include <utility>

#include "board/file_table.h"
#include "devices/monitor/edid_file.h"

namespace zvgsim {

void read_mcu(FileTable& root, BoardConfig& config) {
  root.table("mcu", [&](FileTable& table) {
    auto& mcu = config.of<McuSettings>();
    table.boolean("running", &mcu.running);
    table.tables("monitors", [&](FileTable& one) {
      McuSettings::MonitorOn monitor;
      one.needed("first", &monitor.first_selector, 0, 15);
      one.needed("second", &monitor.second_selector, 0, 15);
      read_needed_edid(one, &monitor.edid);
      mcu.monitors.push_back(std::move(monitor));
    });
  });
}

void read_mcu_faults(FileTable& faults, FaultConfig& config) {
  faults.table("mcu", [&](FileTable& table) {
    table.boolean("never_done", &config.of<McuFaults>().never_done);
  });
}

}  // namespace zvgsim
