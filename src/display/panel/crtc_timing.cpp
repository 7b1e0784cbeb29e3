// The timing that a display controller is programmed with, read back.
#include "display/panel/crtc_timing.h"

#include "core/chip.h"
#include "hw/blocks/display_controllers.h"

namespace zvg::display {

namespace {

// The other controllers have a block of registers each.
using namespace hw::display_controllers;

class Block {
 public:
  explicit Block(uint32_t crtc) {
    const hw::Bases& blocks = core::chip().display_controllers;
    base_ = blocks.first + (uint64_t{crtc} - blocks.first_number) * blocks.stride;
  }

  uint32_t word(Offset reg) const {
    uint16_t value = 0;
    zvgRegReadWord(base_ + reg, &value);
    return value;
  }
  uint32_t byte(Offset reg) const {
    uint8_t value = 0;
    zvgRegReadByte(base_ + reg, &value);
    return value;
  }

 private:
  uint64_t base_;
};

void read_block_timing(uint32_t crtc, uint32_t* mode) {
  const Block block(crtc);
  mode[ZVG_MODE_H_TOTAL] = block.word(h_total);
  mode[ZVG_MODE_H_ACTIVE] = block.word(h_active);
  mode[ZVG_MODE_H_SYNC_END] = mode[ZVG_MODE_H_TOTAL] - block.word(h_back);
  mode[ZVG_MODE_H_SYNC_START] = mode[ZVG_MODE_H_SYNC_END] - block.word(h_sync_width);
  mode[ZVG_MODE_V_TOTAL] = block.word(v_total);
  mode[ZVG_MODE_V_ACTIVE] = block.word(v_active);
  mode[ZVG_MODE_V_SYNC_END] = mode[ZVG_MODE_V_TOTAL] - block.byte(v_back);
  mode[ZVG_MODE_V_SYNC_START] = mode[ZVG_MODE_V_SYNC_END] - block.byte(v_sync_width);
  const uint32_t negative = block.byte(polarity);
  mode[ZVG_MODE_SYNC_FLAGS] |=
      sync_flags((negative & v_negative) != 0, (negative & h_negative) != 0);
}

// The high nibbles of the two horizontal distances are taken otherwise in the DisplayPort mode set;
// both are right in their place.
void read_indexed_timing(uint32_t* mode) {
  mode[ZVG_MODE_H_TOTAL] = crtc_pair(crtc0::h_total);
  mode[ZVG_MODE_H_ACTIVE] = crtc_pair(crtc0::h_active);
  mode[ZVG_MODE_V_TOTAL] = crtc_pair(crtc0::v_total);
  mode[ZVG_MODE_V_ACTIVE] = crtc_pair(crtc0::v_active);
  const uint32_t high = crtc_byte(crtc0::h_sync_high);
  const uint32_t back = (high << 8 & 0xF00) | crtc_byte(crtc0::h_back);
  const uint32_t width = (high << 4 & 0xF00) | crtc_byte(crtc0::h_sync_width);
  mode[ZVG_MODE_H_SYNC_END] = mode[ZVG_MODE_H_TOTAL] - back;
  mode[ZVG_MODE_H_SYNC_START] = mode[ZVG_MODE_H_SYNC_END] - width;
  mode[ZVG_MODE_V_SYNC_END] = mode[ZVG_MODE_V_TOTAL] - crtc_byte(crtc0::v_back);
  mode[ZVG_MODE_V_SYNC_START] = mode[ZVG_MODE_V_SYNC_END] - crtc_byte(crtc0::v_sync_width);
  uint8_t misc = 0;
  zvgRegReadByte(misc_output, &misc);
  mode[ZVG_MODE_SYNC_FLAGS] |= misc_sync_flags(misc);
}

}  // namespace

}  // namespace zvg::display

using namespace zvg::display;

uint32_t zvgCrtcModeRead(uint32_t crtc, uint32_t* mode) {
  if (crtc != 0) {
    read_block_timing(crtc, mode);
  } else {
    read_indexed_timing(mode);
  }
  uint32_t pll_word = 0;
  const uint64_t pll_words = uint64_t{zvg_gpu_hardware[ZVG_HW_CLOCK]} + zvg::hw::clocks::pixel_plls;
  zvgRegReadLong(pll_words + uint64_t{crtc} * 4, &pll_word);
  mode[ZVG_MODE_PIXEL_CLOCK] = pixel_clock_of(pll_word);
  return mode[ZVG_MODE_PIXEL_CLOCK];
}
