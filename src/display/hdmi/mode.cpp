// The timing that the frame composer of an HDMI transmitter is programmed with.
#include <stdint.h>

#include "display/hdmi/registers.h"
#include "util_zvg.h"

namespace zvg::display::hdmi {

namespace {

constexpr uint32_t first_register = frame_composer;
constexpr uint32_t last_register = 0x1010;

// The sixteen input timing registers, by their own numbers.
class FrameComposer {
 public:
  explicit FrameComposer(uint32_t transmitter) {
    for (uint32_t reg = first_register; reg <= last_register; ++reg) {
      zvgRegReadByte(at(transmitter, reg), &bytes_[reg - first_register]);
    }
  }
  uint32_t byte(uint32_t reg) const { return bytes_[reg - first_register]; }

  // A field whose low byte is at reg and whose high bits, under mask, are in the next one.
  uint32_t field(uint32_t reg, uint32_t high_mask) const {
    return byte(reg) | (byte(reg + 1) & high_mask) << 8;
  }

 private:
  uint8_t bytes_[last_register - first_register + 1] = {};
};

}  // namespace

}  // namespace zvg::display::hdmi

uint32_t zvgHdmiModeRead(uint32_t hdmi, uint32_t* mode) {
  const zvg::display::hdmi::FrameComposer composer(hdmi);
  const uint32_t h_active = composer.field(0x1001, 0x1F);
  const uint32_t h_blank = composer.field(0x1003, 0x1F);
  const uint32_t v_active = composer.field(0x1005, 0x1F);
  const uint32_t v_blank = composer.byte(0x1007);
  const uint32_t h_sync_delay = composer.field(0x1008, 0x1F);
  const uint32_t h_sync_width = composer.field(0x100A, 0x03);
  const uint32_t v_sync_delay = composer.byte(0x100C);
  const uint32_t v_sync_width = composer.byte(0x100D);
  const uint32_t pixel_clock =
      composer.byte(0x100E) | composer.byte(0x100F) << 8 | composer.byte(0x1010) << 16;

  mode[ZVG_MODE_PIXEL_CLOCK] = pixel_clock;
  mode[ZVG_MODE_H_ACTIVE] = h_active;
  mode[ZVG_MODE_H_SYNC_START] = h_active + h_sync_delay;
  mode[ZVG_MODE_H_SYNC_END] = mode[ZVG_MODE_H_SYNC_START] + h_sync_width;
  mode[ZVG_MODE_H_TOTAL] = h_active + h_blank;
  mode[ZVG_MODE_V_ACTIVE] = v_active;
  mode[ZVG_MODE_V_SYNC_START] = v_active + v_sync_delay;
  mode[ZVG_MODE_V_SYNC_END] = mode[ZVG_MODE_V_SYNC_START] + v_sync_width;
  mode[ZVG_MODE_V_TOTAL] = v_active + v_blank;
  return pixel_clock;
}
