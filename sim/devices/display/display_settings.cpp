#include "devices/display/display_settings.h"

namespace zvgsim {

namespace {

void read_crtc(FileTable& table, DisplaySettings& display) {
  unsigned number = 0;
  CrtcSettings crtc{};
  std::optional<ModeTiming> timing;
  const bool named = table.index("number", &number, crtcs);
  read_timing(table, &timing);
  if (!table.has("timing")) table.problem("expected a timing = [...]");
  table.boolean("hsync_negative", &crtc.hsync_negative);
  table.boolean("vsync_negative", &crtc.vsync_negative);
  if (!named || !timing) return;
  crtc.timing = *timing;
  display.crtc[number] = crtc;
}

}  // namespace

void read_display(FileTable& root, BoardConfig& config) {
  auto& display = config.of<DisplaySettings>();
  root.tables("crtc", [&](FileTable& table) { read_crtc(table, display); });
  root.number("output_mux", &display.output_mux);
}

}  // namespace zvgsim
