#include "edid/timing_block.h"

#include <stdio.h>

#include <algorithm>

#include "edid/detailed_timing.h"
#include "edid/range_limits.h"
#include "edid/report_text.h"
#include "edid/standard_timing.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

using namespace formats::edid;

void print_block(const DetailedTiming& timing, int) {
  print_detailed_timing(timing);
}

void print_block(const EstablishedTimings3& timings, int) {
  puts("Established Timing III: ");
  for (size_t i = 0; i < timings.supported.size(); ++i) {
    if (!timings.supported[i]) continue;
    const EstablishedTiming3& timing = established_timings_3[i];
    printf(timing.reduced_blanking ? "\t%d x %d @ %d (RB)\n" : "\t%d x %d @ %d \n", timing.width,
           timing.height, timing.refresh_hz);
  }
  print_empty_line(1);
  puts("\tNote: (RB) means reduced blanking");
}

void print_block(const CvtCodes&, int) {
  fputs(EDID_WARNING("Can't parse CVT3 Byte Code Block"), stdout);
}

void print_block(const ColorManagement&, int) {
  puts("Color Management:");
  fputs(EDID_WARNING("Can't parse the Color Management Block."), stdout);
}

void print_block(const StandardTimings& list, int) {
  puts("Standard Timing: ");
  for (const std::optional<StandardTiming>& timing : list.timings) {
    if (print_standard_timing(timing)) continue;
    fputs(EDID_WARNING("Standard Timings is bad or unused"), stdout);
  }
}

void print_color_point(const ColorPoint& point) {
  if (point.index == 0) {
    puts("\tBlock is not used.");
    return;
  }
  // The x code takes all of the shared byte's upper bits, not two of them: what is above bits 3:2
  // spills over the code's own bits.
  const int x = point.white.x | point.reserved << 2;
  printf("\tWhite Point Index: \t%d\n", point.index);
  printf("\tWhite-x: \t%.03f\n", static_cast<double>(chroma_value(x)));
  printf("\tWhite-y: \t%.03f\n", static_cast<double>(chroma_value(point.white.y)));
  if (point.gamma) {
    printf("\tGamma: \t%.02f\n", *point.gamma);
  } else {
    puts("\tGamma: value is not defined here.");
    puts("* Then GAMMA data shall be stored in an EXTENSION Block;for example, DI-EXT");
  }
}

void print_block(const ColorPoints& definition, int) {
  puts("Additional Color Point Definition:");
  for (const ColorPoint& point : definition.points) print_color_point(point);
}

// A text stops at its first space as well as at its line feed: of a name of several words only
// the first is printed.
void print_text(const char* label, const DescriptorText& descriptor) {
  const std::string_view text = descriptor.text();
  const size_t size = std::min(text.find(' '), text.size());
  printf("%s%.*s\n", label, static_cast<int>(size), text.data());
}

void print_block(const ProductName& name, int) {
  print_text("Display Product Name: ", name);
}

void print_block(const RangeLimits& limits, int revision) {
  print_range_limits(limits, revision);
}

void print_block(const DataString& string, int) {
  print_text("Alphanumeric Data String: ", string);
}

void print_block(const ProductSerial& serial, int) {
  print_text("Prodcut Serial Number: ", serial);
}

void print_block(const UndefinedDescriptor&, int) {
  fputs(EDID_WARNING("Detailed Block type is undefined"), stdout);
}

}  // namespace

void print_timing_block(size_t number, const TimingBlock& block, int revision) {
  printf("-------------------Detailed Timing Block %d-------------------------\n",
         static_cast<int>(number));
  std::visit([revision](const auto& one) { print_block(one, revision); }, block);
  print_empty_line(1);
}

}  // namespace zvg::edid
