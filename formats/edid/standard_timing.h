// Standard timings: a mode in two bytes.
#ifndef ZVG_FORMATS_EDID_STANDARD_TIMING_H
#define ZVG_FORMATS_EDID_STANDARD_TIMING_H

#include <stdint.h>

#include <optional>

namespace zvg::formats::edid {

struct StandardTiming {
  int width;  // pixels
  int height;
  int refresh_hz;
};

// E-EDID 1.4, 3.9. bytes: two. revision: of the EDID; it decides what the first aspect ratio is.
// None when the pair is one of the fillers of unused entries.
std::optional<StandardTiming> parse_standard_timing(const uint8_t* bytes, int revision);

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_STANDARD_TIMING_H
