#include "edid/range_limits.h"

#include <stddef.h>
#include <stdio.h>

#include "edid/layout.h"
#include "edid/report_text.h"
#include "edid/revision.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

// Offsets in the descriptor.
constexpr size_t rate_offsets = 4;      // bits 1:0 vertical, bits 3:2 horizontal
constexpr size_t vertical_rates = 5;    // minimum and maximum, Hz
constexpr size_t horizontal_rates = 7;  // minimum and maximum, kHz
constexpr size_t max_pixel_clock = 9;   // in 10 MHz
constexpr size_t timing_support = 10;

// Secondary GTF.
constexpr size_t gtf_start_frequency = 12;  // in 2 kHz
constexpr size_t gtf_c = 13;                // twice the value
constexpr size_t gtf_m = 14;                // 16 bits
constexpr size_t gtf_k = 16;
constexpr size_t gtf_j = 17;

// CVT.
constexpr size_t cvt_version = 11;
constexpr size_t cvt_clock_and_width = 12;  // bits 7:2 clock below maximum, bits 1:0 width high
constexpr size_t cvt_width_low = 13;        // in 8 pixels, 0: no limit
constexpr size_t cvt_aspects = 14;
constexpr size_t cvt_preference = 15;
constexpr size_t cvt_scaling = 16;
constexpr size_t cvt_refresh = 17;  // Hz

constexpr int pixel_clock_unit_mhz = 10;
constexpr double cvt_clock_unit_mhz = 0.25;
constexpr int cvt_width_unit = 8;

constexpr int32_t first_revision_with_support = 4;

// What is added to the two rates, by the two-bit code. Code 1 is reserved; it adds nothing.
struct RateOffsets {
  int min;
  int max;
};
constexpr RateOffsets rate_offset_codes[4] = {{0, 0}, {0, 0}, {0, 255}, {255, 255}};

enum class TimingSupport : uint8_t {
  default_gtf = 0,
  range_limits_only = 1,
  secondary_gtf = 2,
  cvt = 4,
};

// The continuous-frequency test looks at the revision number's lowest bit, not at the feature
// byte: required, and the reason why a display of revision 4 never passes.
bool is_continuous_frequency() {
  if (edid_revision & 1) return true;
  fputs(EDID_ERROR("\tDisplay is non-continuous frequency(multi-mode)"), stdout);
  return false;
}

void print_secondary_gtf(const uint8_t* d) {
  puts("\tSecondary GTF supported --- requires support for Default GTF");
  printf("\tStart break frequency for curve: %dkHz\n", d[gtf_start_frequency] * 2);
  printf("\tC: \t%d\n", d[gtf_c] / 2);
  printf("\tM: \t%d\n", u16(d + gtf_m));
  printf("\tK: \t%d\n", d[gtf_k]);
  printf("\tJ: \t%d\n", d[gtf_j] * 2);  // doubled although the field holds twice the value
}

void print_cvt(const uint8_t* d) {
  constexpr FlagWord aspects[] = {
      {0x80, " 4:3AR"}, {0x40, " 16:9AR"}, {0x20, " 16:10AR"}, {0x10, " 5:4AR"}, {0x08, " 15:9AR"},
  };
  constexpr const char* preferred_aspects[] = {"4:3AR", "16:9AR", "16:10AR", "5:4AR", "15:9AR"};
  constexpr FlagLine blankings[] = {
      {0x08, "\t\tStandard CVT Blanking - supported", "\t\tStandard CVT Blanking - not supported"},
      {0x10, "\t\tReduced CVT Blanking - supported", "\t\tReduced CVT Blanking - not supported"},
  };
  constexpr FlagWord scalings[] = {
      {0x80, " Horizontal Shrink,"},
      {0x40, " Horizontal Stretch,"},
      {0x20, " Vertical Shrink,"},
      {0x10, " Vertical Stretch,"},
  };

  puts("\tCVT supported");
  // The minor number only tells whether there is a version at all.
  printf("\tCVT Version: \t%d . %d\n", d[cvt_version] >> 4, d[cvt_version] != 0 ? 1 : 0);
  printf("\tAdditional Pixel Clock: \t%f MHz\n",
         d[max_pixel_clock] * pixel_clock_unit_mhz -
             (d[cvt_clock_and_width] >> 2) * cvt_clock_unit_mhz);
  if (d[cvt_width_low] != 0) {
    const int width = (d[cvt_clock_and_width] & 3) * 256 + d[cvt_width_low];
    printf("\tMAX Active Pixel per Line: \t%d", width * cvt_width_unit);
  } else {
    puts("\tNo limit on the number of Horiz.Activve Pixels");
  }

  fputs("\tSupported Aspect Ratios: \t", stdout);
  print_flag_words(d[cvt_aspects], aspects);
  putchar('\n');

  fputs("\tPreferred Aspect Ratio: \t", stdout);
  const size_t preferred = d[cvt_preference] >> 5;
  if (preferred < sizeof preferred_aspects / sizeof preferred_aspects[0]) {
    puts(preferred_aspects[preferred]);
  } else {
    fputs(EDID_WARNING("Not Used"), stdout);
  }

  puts("\tCVT Blanking Support: ");
  print_flag_lines(d[cvt_preference], blankings);

  // The refresh rate goes on in the line of the scaling words.
  fputs("\tDisplay Scaling Supported: \t", stdout);
  print_flag_words(d[cvt_scaling], scalings);
  printf("\tPreferred Vertical Refresh Rate: \t%dHz\n", d[cvt_refresh]);
}

void print_timing_support(const uint8_t* d) {
  print_empty_line(1);
  puts("Video Timing Supported");
  switch (static_cast<TimingSupport>(d[timing_support])) {
    case TimingSupport::default_gtf:
      if (is_continuous_frequency()) puts("\tDefault GTF supported");
      break;
    case TimingSupport::range_limits_only:
      fputs("\tRange Limits Only --- no additional timing information is provided.\t", stdout);
      break;
    case TimingSupport::secondary_gtf:
      print_secondary_gtf(d);
      break;
    case TimingSupport::cvt:
      if (is_continuous_frequency()) print_cvt(d);
      break;
  }
}

}  // namespace

void print_range_limits(const uint8_t* d) {
  const RateOffsets vertical = rate_offset_codes[d[rate_offsets] & 3];
  const RateOffsets horizontal = rate_offset_codes[(d[rate_offsets] >> 2) & 3];

  puts("Display Range Limits: ");
  printf("\tMinimum Vertical Rate: \t%dHz\n", d[vertical_rates] + vertical.min);
  printf("\tMaximum Vertical Rate: \t%dHz\n", d[vertical_rates + 1] + vertical.max);
  printf("\tMinimum Horizontal Rate: \t%dkHz\n", d[horizontal_rates] + horizontal.min);
  printf("\tMaximum Horizontal Rate: \t%dkHz\n", d[horizontal_rates + 1] + horizontal.max);
  printf("\tMaximum Pixel Clock: \t%dMHz\n", d[max_pixel_clock] * pixel_clock_unit_mhz);
  if (edid_revision >= first_revision_with_support) print_timing_support(d);
}

}  // namespace zvg::edid
