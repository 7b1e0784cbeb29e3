// The gains of the VGA DAC: a colour each, 0 to 63.
#include <stdint.h>

#include <algorithm>

#include "hw/blocks/vga_crtc.h"
#include "util_zvg.h"

namespace zvg::display {

namespace {

using namespace hw::crtc;

void write_gain(Index index, uint32_t gain) {
  zvgCrtcWriteByte(index, std::min(static_cast<uint8_t>(gain), highest_gain));
}

}  // namespace

}  // namespace zvg::display

using namespace zvg::display;

int zvgVgaSetSigleGain(char colour, uint32_t gain) {
  switch (colour) {
    case 'R':
      write_gain(red_gain, gain);
      return 0;
    case 'G':
      write_gain(green_gain, gain);
      return 0;
    case 'B':
      write_gain(blue_gain, gain);
      return 0;
    default:
      return -1;
  }
}

int zvgVgaSetGain(uint32_t red, int green, int blue) {
  write_gain(red_gain, red);
  write_gain(green_gain, static_cast<uint32_t>(green));
  write_gain(blue_gain, static_cast<uint32_t>(blue));
  return 0;
}
