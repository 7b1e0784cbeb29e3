#include "devices/flash/flash_settings.h"

#include <algorithm>
#include <utility>

#include "board/file_table.h"
#include "devices/monitor/edid_file.h"

namespace zvgsim {

void read_flash(FileTable& root, BoardConfig& config) {
  root.table("flash", [&](FileTable& table) {
    constexpr size_t longest_serial = 63, slots = 127;
    auto& flash = config.of<FlashSettings>();
    if (table.text("image", &flash.image) && !flash.image.empty()) {
      flash.image = table.beside(flash.image).string();
    }
    table.text("serial", &flash.serial, longest_serial);
    table.boolean("write_protected", &flash.write_protected);
    table.tables("edids", [&](FileTable& one) {
      FlashEdid stored;
      one.needed("output", &stored.output, 0, 0xFFFF);
      read_needed_edid(one, &stored.edid);
      stored.edid.resize(std::min<size_t>(stored.edid.size(), 2 * edid_block_size));
      flash.edids.push_back(std::move(stored));
    });
    if (flash.edids.size() > slots) {
      table.problem("expected at most " + std::to_string(slots) + " edids");
    }
  });
}

void read_flash_faults(FileTable& faults, FaultConfig& config) {
  faults.table("flash", [&](FileTable& table) {
    auto& flash = config.of<FlashFaults>();
    table.boolean("stays_busy", &flash.stays_busy);
    table.number("lost_write_enable", &flash.lost_write_enable);
    table.number("bad_byte", &flash.bad_byte, 0, flash_size - 1);
    table.number("power_cut_at_frame", &flash.power_cut_at_frame);
  });
}

}  // namespace zvgsim
