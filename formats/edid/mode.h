// A display mode: what a transmitter needs to know of a timing.
#ifndef ZVG_FORMATS_EDID_MODE_H
#define ZVG_FORMATS_EDID_MODE_H

#include <stdint.h>

namespace zvg::formats::edid {

// One direction, in pixels or lines, each counted from the first one that is shown.
struct ModeAxis {
  int32_t display;
  int32_t sync_start;
  int32_t sync_end;
  int32_t total;
};

struct Mode {
  int32_t clock_khz;
  ModeAxis horizontal;
  ModeAxis vertical;  // of a frame
  bool hsync_positive;
  bool vsync_positive;
  bool interlaced;
};

// Frames a second, rounded to the nearest. The totals are not 0. Computed in 32 bits.
constexpr uint32_t frame_rate(uint32_t clock_khz, uint32_t htotal, uint32_t vtotal) {
  return (clock_khz * 1000 / htotal + vtotal / 2) / vtotal;
}

// What is called the refresh rate, in Hz: of an interlaced mode its fields. 0 without totals.
constexpr uint32_t refresh_rate(const Mode& mode) {
  if (mode.horizontal.total < 1 || mode.vertical.total < 1) return 0;
  const uint32_t frames = frame_rate(static_cast<uint32_t>(mode.clock_khz),
                                     static_cast<uint32_t>(mode.horizontal.total),
                                     static_cast<uint32_t>(mode.vertical.total));
  return mode.interlaced ? frames * 2 : frames;
}

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_MODE_H
