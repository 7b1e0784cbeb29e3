#include "devices/hdmi/hdmi_settings.h"

#include "board/file_table.h"
#include "devices/monitor/edid_file.h"

namespace zvgsim {

void read_hdmi(FileTable& root, BoardConfig& config) {
  std::array<bool, hdmi_ports> seen{};
  root.tables("hdmi", [&](FileTable& table) {
    unsigned number = 0;
    HdmiPortSettings port;
    const bool named = table.index("port", &number, hdmi_ports);
    if (named && seen[number]) {
      table.problem("port " + std::to_string(number) + " is described a second time");
    }
    read_edid(table, &port.edid);
    table.boolean("hot_plug", &port.hot_plug);
    table.number("receiver_sense", &port.receiver_sense, 0, 0xF);
    read_timing(table, &port.timing);
    table.boolean("pixel_clock", &port.pixel_clock);
    table.number("pll_lock_ms", &port.pll_lock_ms, 0, 60'000);
    if (!named) return;
    seen[number] = true;
    config.of<HdmiSettings>().port[number] = std::move(port);
  });
}

void read_hdmi_faults(FileTable& faults, FaultConfig& config) {
  faults.tables("hdmi", [&](FileTable& table) {
    unsigned port = 0;
    table.index("port", &port, hdmi_ports);
    HdmiPortFaults& fault = config.of<HdmiFaults>().port[port];
    for (const FileValue& one : table.elements("ddc_nack", "an array of 7-bit addresses")) {
      uint8_t address;
      if (one.number(&address, 0, 0x7F)) fault.ddc_nack.push_back(address);
    }
    table.number("ddc_nack_at_byte", &fault.ddc_nack_at_byte, 0,
                 edid_block_size * max_edid_blocks - 1);
    table.boolean("ddc_busy", &fault.ddc_busy);
    table.boolean("phy_busy", &fault.phy_busy);
    table.boolean("pll_never_locks", &fault.pll_never_locks);
  });
}

}  // namespace zvgsim
