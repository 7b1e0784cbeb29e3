#include "formats/edid/standard_timing.h"

namespace zvg::formats::edid {

namespace {

constexpr uint8_t fillers[] = {0x00, 0x01, 0x20};

// The height as a fraction of the width's code (byte 0 + 31), by bits 7:6 of byte 1.
struct Aspect {
  int multiplier;
  int divisor;
};
constexpr Aspect aspects[4] = {{5, 1}, {6, 1}, {32, 5}, {9, 2}};

// Before revision 3 the first code meant a square, later 16:10.
constexpr Aspect square = {8, 1};
constexpr int first_revision_without_square = 3;

}  // namespace

std::optional<StandardTiming> parse_standard_timing(const uint8_t* bytes, int revision) {
  for (const uint8_t filler : fillers) {
    if (bytes[0] == filler && bytes[1] == filler) return std::nullopt;
  }
  const int code = bytes[0] + 31;
  const int aspect_code = bytes[1] >> 6;
  const bool is_square = aspect_code == 0 && revision < first_revision_without_square;
  const Aspect aspect = is_square ? square : aspects[aspect_code];
  return StandardTiming{code * 8, code * aspect.multiplier / aspect.divisor,
                        (bytes[1] & 0x3F) + 60};
}

}  // namespace zvg::formats::edid
