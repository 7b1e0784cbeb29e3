#include "devices/display/mode_timing.h"

namespace zvgsim {

void read_timing(FileTable& table, std::optional<ModeTiming>* timing) {
  const auto found = table.array("timing", "an array of 9 numbers");
  if (!found) return;
  constexpr size_t words = 9;
  uint32_t w[words] = {};
  const auto elements = found->elements();
  bool valid = elements.size() == words;
  for (size_t i = 0; valid && i < words; ++i) {
    const auto integer = elements[i].integer();
    valid = integer && *integer >= 0 && *integer <= 0xFFFFFF;
    if (valid) w[i] = static_cast<uint32_t>(*integer);
  }
  const auto rising = [](uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return a <= b && b <= c && c <= d;
  };
  // The widths of the frame composer's registers.
  valid = valid && rising(w[1], w[2], w[3], w[4]) && rising(w[5], w[6], w[7], w[8]) &&
          w[1] < 8192 && w[4] - w[1] < 8192 && w[2] - w[1] < 8192 && w[3] - w[2] < 1024 &&
          w[5] < 8192 && w[8] - w[5] < 256 && w[6] - w[5] < 256 && w[7] - w[6] < 256;
  if (!valid) {
    found->problem(
        "expected [kHz, hactive, hsync start, hsync end, htotal, vactive, vsync start, vsync "
        "end, vtotal], rising, actives below 8192, blanking below 8192 by 256");
    return;
  }
  *timing = ModeTiming{w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7], w[8]};
}

}  // namespace zvgsim
