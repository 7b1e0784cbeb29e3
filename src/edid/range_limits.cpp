#include "edid/range_limits.h"

#include <stddef.h>
#include <stdio.h>

#include "edid/report_text.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

using namespace formats::edid;

constexpr int first_revision_with_support = 4;

// The continuous-frequency test looks at the revision number's lowest bit, not at the feature
// byte: required, and the reason why a display of revision 4 never passes.
bool is_continuous_frequency(int revision) {
  if (revision & 1) return true;
  fputs(EDID_ERROR("\tDisplay is non-continuous frequency(multi-mode)"), stdout);
  return false;
}

void print_support(const DefaultGtf&, int revision) {
  if (is_continuous_frequency(revision)) puts("\tDefault GTF supported");
}

void print_support(const RangeLimitsOnly&, int) {
  fputs("\tRange Limits Only --- no additional timing information is provided.\t", stdout);
}

void print_support(const SecondaryGtf& gtf, int) {
  puts("\tSecondary GTF supported --- requires support for Default GTF");
  printf("\tStart break frequency for curve: %dkHz\n", gtf.start_frequency_khz);
  printf("\tC: \t%d\n", gtf.twice_c / 2);
  printf("\tM: \t%d\n", gtf.m);
  printf("\tK: \t%d\n", gtf.k);
  printf("\tJ: \t%d\n", gtf.twice_j * 2);  // doubled although the field holds twice the value
}

// Only the lower byte of the number tells whether there is a limit.
void print_width_limit(const Cvt& cvt) {
  constexpr int unit = 8;
  constexpr int lower_byte = 0xFF;
  if ((cvt.max_active_pixels / unit & lower_byte) != 0) {
    printf("\tMAX Active Pixel per Line: \t%d", cvt.max_active_pixels);
  } else {
    puts("\tNo limit on the number of Horiz.Activve Pixels");
  }
}

void print_aspects(const Cvt& cvt) {
  constexpr const char* names[] = {"4:3AR", "16:9AR", "16:10AR", "5:4AR", "15:9AR"};
  fputs("\tSupported Aspect Ratios: \t", stdout);
  for (size_t i = 0; i < cvt.aspects.size(); ++i) {
    if (cvt.aspects[i]) printf(" %s", names[i]);
  }
  putchar('\n');
  fputs("\tPreferred Aspect Ratio: \t", stdout);
  if (cvt.preferred_aspect < cvt.aspects.size()) {
    puts(names[cvt.preferred_aspect]);
  } else {
    fputs(EDID_WARNING("Not Used"), stdout);
  }
}

void print_support(const Cvt& cvt, int revision) {
  if (!is_continuous_frequency(revision)) return;
  puts("\tCVT supported");
  // The minor number only tells whether there is a version at all.
  printf("\tCVT Version: \t%d . %d\n", cvt.version, (cvt.version | cvt.revision) != 0 ? 1 : 0);
  printf("\tAdditional Pixel Clock: \t%f MHz\n", cvt.max_pixel_clock_mhz);
  print_width_limit(cvt);
  print_aspects(cvt);
  puts("\tCVT Blanking Support: ");
  print_flag_lines({
      {cvt.standard_blanking, "\t\tStandard CVT Blanking - supported",
       "\t\tStandard CVT Blanking - not supported"},
      {cvt.reduced_blanking, "\t\tReduced CVT Blanking - supported",
       "\t\tReduced CVT Blanking - not supported"},
  });
  // The refresh rate goes on in the line of the scaling words.
  fputs("\tDisplay Scaling Supported: \t", stdout);
  print_flag_words({
      {cvt.horizontal_shrink, " Horizontal Shrink,"},
      {cvt.horizontal_stretch, " Horizontal Stretch,"},
      {cvt.vertical_shrink, " Vertical Shrink,"},
      {cvt.vertical_stretch, " Vertical Stretch,"},
  });
  printf("\tPreferred Vertical Refresh Rate: \t%dHz\n", cvt.preferred_refresh_hz);
}

void print_support(const UnknownTimingSupport&, int) {}

}  // namespace

void print_range_limits(const RangeLimits& limits, int revision) {
  puts("Display Range Limits: ");
  printf("\tMinimum Vertical Rate: \t%dHz\n", limits.min_vertical_hz);
  printf("\tMaximum Vertical Rate: \t%dHz\n", limits.max_vertical_hz);
  printf("\tMinimum Horizontal Rate: \t%dkHz\n", limits.min_horizontal_khz);
  printf("\tMaximum Horizontal Rate: \t%dkHz\n", limits.max_horizontal_khz);
  printf("\tMaximum Pixel Clock: \t%dMHz\n", limits.max_pixel_clock_mhz);
  if (revision < first_revision_with_support) return;
  print_empty_line(1);
  puts("Video Timing Supported");
  std::visit([revision](const auto& support) { print_support(support, revision); }, limits.support);
}

}  // namespace zvg::edid
