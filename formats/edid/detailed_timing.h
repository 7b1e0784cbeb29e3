// Detailed timing descriptors.
#ifndef ZVG_FORMATS_EDID_DETAILED_TIMING_H
#define ZVG_FORMATS_EDID_DETAILED_TIMING_H

#include <stdint.h>

#include "formats/edid/mode.h"

namespace zvg::formats::edid {

// One direction as a descriptor has it, in pixels or lines.
struct TimingAxis {
  int active;
  int blank;
  int sync_offset;
  int sync_width;
};

struct DetailedTiming {
  int pixel_clock_khz;
  TimingAxis horizontal;
  TimingAxis vertical;  // of a field when it is interlaced
  int width_mm;         // of the picture; both are 0 when the display does not tell
  int height_mm;
  bool interlaced;
  bool vsync_positive;  // of separate digital syncs
  bool hsync_positive;

  // Whether 63 pixels or lines or less are shown.
  bool is_tiny() const;
  bool has_sync_pulses() const;
};

// E-EDID 1.4, 3.10.2. descriptor: 18 bytes, of which the first two are not both 0.
DetailedTiming parse_detailed_timing(const uint8_t* descriptor);

// The mode that a timing describes. A sync pulse that does not fit into the blanking stretches the
// total. The interlaced sizes of the video formats become those of a frame; other interlaced
// timings keep the lines of a field.
Mode mode_of(const DetailedTiming& timing);

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_DETAILED_TIMING_H
