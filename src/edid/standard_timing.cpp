#include "edid/standard_timing.h"

#include <stdio.h>

namespace zvg::edid {
namespace {

constexpr uint8_t fillers[] = {0x00, 0x01, 0x20};

// The height as a fraction of the width's code (b0 + 31), by bits 7:6 of the second byte.
struct Aspect {
  int multiplier;
  int divisor;
};
constexpr Aspect aspects[4] = {{5, 1}, {6, 1}, {32, 5}, {9, 2}};

// Before revision 3 the first code meant a square, later 16:10.
constexpr Aspect square = {8, 1};
constexpr int32_t first_revision_without_square = 3;

}  // namespace

int print_standard_timing(uint8_t b0, uint8_t b1, int32_t revision) {
  for (const uint8_t filler : fillers) {
    if (b0 == filler && b1 == filler) return -1;
  }
  const int code = b0 + 31;
  const int aspect_code = b1 >> 6;
  const bool is_square = aspect_code == 0 && revision < first_revision_without_square;
  const Aspect aspect = is_square ? square : aspects[aspect_code];
  const int refresh = (b1 & 0x3F) + 60;
  printf("\t%dx%d@%dHz\n", code * 8, code * aspect.multiplier / aspect.divisor, refresh);
  return 0;
}

}  // namespace zvg::edid
