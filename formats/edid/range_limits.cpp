#include "formats/edid/range_limits.h"

#include <stddef.h>

#include "formats/bytes.h"

namespace zvg::formats::edid {

namespace {

// Offsets in the descriptor.
enum Offset : size_t {
  rate_offsets = 4,      // bits 1:0 vertical, bits 3:2 horizontal
  vertical_rates = 5,    // minimum and maximum, Hz
  horizontal_rates = 7,  // minimum and maximum, kHz
  max_pixel_clock = 9,   // in 10 MHz
  timing_support = 10,

  // Secondary GTF.
  gtf_start_frequency = 12,  // in 2 kHz
  gtf_c = 13,                // twice the value
  gtf_m = 14,                // 16 bits
  gtf_k = 16,
  gtf_j = 17,  // twice the value

  // CVT.
  cvt_version = 11,
  cvt_clock_and_width = 12,  // bits 7:2 clock below maximum, bits 1:0 width high
  cvt_width_low = 13,        // in 8 pixels
  cvt_aspects = 14,
  cvt_preference = 15,
  cvt_scaling = 16,
  cvt_refresh = 17,  // Hz
};

constexpr int pixel_clock_unit_mhz = 10;
constexpr double cvt_clock_unit_mhz = 0.25;
constexpr int cvt_width_unit = 8;

// What is added to the two rates, by the two-bit code. Code 1 is reserved; it adds nothing.
struct RateOffsets {
  int min;
  int max;
};
constexpr RateOffsets rate_offset_codes[4] = {{0, 0}, {0, 0}, {0, 255}, {255, 255}};

// E-EDID 1.4, 3.10.3.3.1.
SecondaryGtf parse_secondary_gtf(const uint8_t* d) {
  constexpr int start_frequency_unit_khz = 2;
  return {.start_frequency_khz = d[gtf_start_frequency] * start_frequency_unit_khz,
          .twice_c = d[gtf_c],
          .m = u16(d + gtf_m),
          .k = d[gtf_k],
          .twice_j = d[gtf_j]};
}

// E-EDID 1.4, 3.10.3.3.1.
Cvt parse_cvt(const uint8_t* d) {
  const auto flag = [d](size_t offset, uint8_t mask) { return (d[offset] & mask) != 0; };
  const int width = (d[cvt_clock_and_width] & 3) * 256 + d[cvt_width_low];
  return {
      .version = d[cvt_version] >> 4,
      .revision = d[cvt_version] & 15,
      .max_pixel_clock_mhz = d[max_pixel_clock] * pixel_clock_unit_mhz -
                             (d[cvt_clock_and_width] >> 2) * cvt_clock_unit_mhz,
      .max_active_pixels = width * cvt_width_unit,
      .aspects = {flag(cvt_aspects, 0x80), flag(cvt_aspects, 0x40), flag(cvt_aspects, 0x20),
                  flag(cvt_aspects, 0x10), flag(cvt_aspects, 0x08)},
      .preferred_aspect = static_cast<uint8_t>(d[cvt_preference] >> 5),
      .standard_blanking = flag(cvt_preference, 0x08),
      .reduced_blanking = flag(cvt_preference, 0x10),
      .horizontal_shrink = flag(cvt_scaling, 0x80),
      .horizontal_stretch = flag(cvt_scaling, 0x40),
      .vertical_shrink = flag(cvt_scaling, 0x20),
      .vertical_stretch = flag(cvt_scaling, 0x10),
      .preferred_refresh_hz = d[cvt_refresh],
  };
}

TimingSupport parse_timing_support(const uint8_t* d) {
  switch (const uint8_t code = d[timing_support]) {
    case 0:
      return DefaultGtf{};
    case 1:
      return RangeLimitsOnly{};
    case 2:
      return parse_secondary_gtf(d);
    case 4:
      return parse_cvt(d);
    default:
      return UnknownTimingSupport{code};
  }
}

}  // namespace

RangeLimits parse_range_limits(const uint8_t* d) {
  const RateOffsets vertical = rate_offset_codes[d[rate_offsets] & 3];
  const RateOffsets horizontal = rate_offset_codes[(d[rate_offsets] >> 2) & 3];
  return {.min_vertical_hz = d[vertical_rates] + vertical.min,
          .max_vertical_hz = d[vertical_rates + 1] + vertical.max,
          .min_horizontal_khz = d[horizontal_rates] + horizontal.min,
          .max_horizontal_khz = d[horizontal_rates + 1] + horizontal.max,
          .max_pixel_clock_mhz = d[max_pixel_clock] * pixel_clock_unit_mhz,
          .support = parse_timing_support(d)};
}

}  // namespace zvg::formats::edid
