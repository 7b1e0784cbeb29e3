// The display range limits descriptor (tag 0xFD) with its GTF and CVT variants.
#ifndef ZVG_FORMATS_EDID_RANGE_LIMITS_H
#define ZVG_FORMATS_EDID_RANGE_LIMITS_H

#include <stdint.h>

#include <array>
#include <variant>

namespace zvg::formats::edid {

// What a display says about timings that it does not list.
struct DefaultGtf {};
struct RangeLimitsOnly {};
struct SecondaryGtf {
  int start_frequency_khz;
  int twice_c;
  int m;
  int k;
  int twice_j;
};

struct Cvt {
  int version;
  int revision;
  double max_pixel_clock_mhz;  // the range's own, made more precise
  int max_active_pixels;       // a line; 0: no limit
  // In this order: 4:3, 16:9, 16:10, 5:4, 15:9. The preferred one is an index, or beyond them.
  std::array<bool, 5> aspects;
  uint8_t preferred_aspect;
  bool standard_blanking;
  bool reduced_blanking;
  bool horizontal_shrink;
  bool horizontal_stretch;
  bool vertical_shrink;
  bool vertical_stretch;
  int preferred_refresh_hz;
};

struct UnknownTimingSupport {
  uint8_t code;
};

using TimingSupport =
    std::variant<DefaultGtf, RangeLimitsOnly, SecondaryGtf, Cvt, UnknownTimingSupport>;

struct RangeLimits {
  int min_vertical_hz;
  int max_vertical_hz;
  int min_horizontal_khz;
  int max_horizontal_khz;
  int max_pixel_clock_mhz;
  TimingSupport support;
};

// E-EDID 1.4, 3.10.3.3. descriptor: 18 bytes.
RangeLimits parse_range_limits(const uint8_t* descriptor);

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_RANGE_LIMITS_H
