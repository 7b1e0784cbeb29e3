// A display mode.
#ifndef ZVGSIM_DEVICES_DISPLAY_MODE_TIMING_H
#define ZVGSIM_DEVICES_DISPLAY_MODE_TIMING_H

#include <cstdint>
#include <optional>

#include "board/file_table.h"

namespace zvgsim {

// What a frame composer or a display controller is programmed with: kHz, pixels and lines.
struct ModeTiming {
  uint32_t clock;
  uint32_t hactive, hsync_start, hsync_end, htotal;
  uint32_t vactive, vsync_start, vsync_end, vtotal;
};

// Reads the table's key 'timing', if it is there.
void read_timing(FileTable& table, std::optional<ModeTiming>* timing);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_DISPLAY_MODE_TIMING_H
