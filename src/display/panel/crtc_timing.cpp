// The timing that a display controller is programmed with, read back.
#include "display/panel/crtc_timing.h"

namespace zvg::display {

namespace {

// CRTCs 1 to 3: a block of registers each.
constexpr uint64_t first_block = 0x10000;
constexpr uint64_t block_size = 0x40;

enum BlockRegister : uint32_t {
  h_total = 0,
  h_active = 2,
  h_sync_width = 8,
  h_back = 10,  // total less sync end
  v_total = 12,
  v_active = 14,
  v_sync_width = 18,
  v_back = 19,
  polarity = 36,
};
constexpr uint8_t v_negative = 0x10;
constexpr uint8_t h_negative = 0x08;

constexpr uint64_t pll_words = 0x18;  // in the clock block, one a controller

class Block {
 public:
  explicit Block(uint32_t crtc) : base_(first_block + crtc * block_size) {}

  uint32_t word(BlockRegister reg) const {
    uint16_t value = 0;
    zvgRegReadWord(base_ + reg, &value);
    return value;
  }
  uint32_t byte(BlockRegister reg) const {
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
  mode[ZVG_MODE_H_TOTAL] = crtc_pair(crtc_h_total);
  mode[ZVG_MODE_H_ACTIVE] = crtc_pair(crtc_h_active);
  mode[ZVG_MODE_V_TOTAL] = crtc_pair(crtc_v_total);
  mode[ZVG_MODE_V_ACTIVE] = crtc_pair(crtc_v_active);
  const uint32_t high = crtc_byte(crtc_h_sync_high);
  const uint32_t back = (high << 8 & 0xF00) | crtc_byte(crtc_h_back);
  const uint32_t width = (high << 4 & 0xF00) | crtc_byte(crtc_h_sync_width);
  mode[ZVG_MODE_H_SYNC_END] = mode[ZVG_MODE_H_TOTAL] - back;
  mode[ZVG_MODE_H_SYNC_START] = mode[ZVG_MODE_H_SYNC_END] - width;
  mode[ZVG_MODE_V_SYNC_END] = mode[ZVG_MODE_V_TOTAL] - crtc_byte(crtc_v_back);
  mode[ZVG_MODE_V_SYNC_START] = mode[ZVG_MODE_V_SYNC_END] - crtc_byte(crtc_v_sync_width);
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
  zvgRegReadLong(zvg_gpu_hardware[ZVG_HW_CLOCK] + pll_words + uint64_t{crtc} * 4, &pll_word);
  mode[ZVG_MODE_PIXEL_CLOCK] = pixel_clock_of(pll_word);
  return mode[ZVG_MODE_PIXEL_CLOCK];
}
