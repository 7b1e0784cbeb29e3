// What the display controllers are programmed with: the parts that the readback and the
// DisplayPort mode set compute alike.
#ifndef ZVG_DISPLAY_PANEL_CRTC_TIMING_H
#define ZVG_DISPLAY_PANEL_CRTC_TIMING_H

#include <stdint.h>

#include "hw/blocks/clocks.h"
#include "hw/blocks/vga_crtc.h"
#include "util_zvg.h"

namespace zvg::display {

namespace crtc0 = hw::crtc;

inline uint32_t crtc_byte(uint32_t index) {
  uint8_t value = 0;
  zvgCrtcReadByte(index, &value);
  return value;
}

inline uint32_t crtc_pair(uint32_t index) {
  const uint32_t high = crtc_byte(index);
  return high << 8 | crtc_byte(index + 1);
}

// Where the sync polarities of CRTC 0 are: the VGA's miscellaneous output.
constexpr uint64_t misc_output = hw::vga::base + hw::vga::misc_output_read;

// The sync flags of a mode record for the two bits that a controller keeps.
constexpr uint32_t sync_flags(bool v_negative, bool h_negative) {
  return (v_negative ? ZVG_SYNC_V_NEGATIVE : ZVG_SYNC_V_POSITIVE) |
         (h_negative ? ZVG_SYNC_H_NEGATIVE : ZVG_SYNC_H_POSITIVE);
}

constexpr uint32_t misc_sync_flags(uint8_t misc) {
  return sync_flags((misc & hw::vga::misc_v_negative) != 0, (misc & hw::vga::misc_h_negative) != 0);
}

// The pixel clock of a controller's PLL word, in kHz: the divisions in this order.
constexpr uint32_t pixel_clock_of(uint32_t pll_word) {
  constexpr uint32_t reference_khz = 2 * hw::clocks::reference_khz;
  const uint32_t feedback = (pll_word >> 16 & 0x1FF) + 1;
  const uint32_t input = (pll_word >> 8 & 0x3F) + 1;
  const uint32_t output_shift = pll_word >> 4 & 7;
  const uint32_t output = (pll_word >> 28) + 1;
  return (feedback * reference_khz / input >> output_shift) / output;
}

}  // namespace zvg::display

#endif  // ZVG_DISPLAY_PANEL_CRTC_TIMING_H
