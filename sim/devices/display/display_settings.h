// What firmware left the display controllers driving.
#ifndef ZVGSIM_DEVICES_DISPLAY_DISPLAY_SETTINGS_H
#define ZVGSIM_DEVICES_DISPLAY_DISPLAY_SETTINGS_H

#include <array>
#include <cstdint>
#include <optional>

#include "board/board_config.h"
#include "devices/display/mode_timing.h"

namespace zvgsim {

struct CrtcSettings {
  ModeTiming timing;
  bool hsync_negative = false;
  bool vsync_negative = false;
};

struct DisplaySettings {
  std::array<std::optional<CrtcSettings>, crtcs> crtc;
  uint32_t output_mux = 0;  // which controller feeds which output
};

void read_display(FileTable& root, BoardConfig& config);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_DISPLAY_DISPLAY_SETTINGS_H
