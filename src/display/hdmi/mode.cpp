// The timing that the frame composer of an HDMI transmitter is programmed with.
#include <stdint.h>

#include "display/hdmi/registers.h"
#include "util_zvg.h"

namespace zvg::display::hdmi {

namespace {

constexpr uint32_t first_register = h_active;
constexpr uint32_t last_register = last_of_timing;

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
  using namespace zvg::hw::hdmi;
  const zvg::display::hdmi::FrameComposer composer(hdmi);
  const uint32_t pixels = composer.field(h_active, horizontal_high);
  const uint32_t lines = composer.field(v_active, vertical_high);
  mode[ZVG_MODE_PIXEL_CLOCK] = composer.byte(pixel_clock) | composer.byte(pixel_clock + 1) << 8 |
                               composer.byte(pixel_clock + 2) << 16;
  mode[ZVG_MODE_H_ACTIVE] = pixels;
  mode[ZVG_MODE_H_SYNC_START] = pixels + composer.field(h_sync_delay, horizontal_high);
  mode[ZVG_MODE_H_SYNC_END] =
      mode[ZVG_MODE_H_SYNC_START] + composer.field(h_sync_width, sync_width_high);
  mode[ZVG_MODE_H_TOTAL] = pixels + composer.field(h_blank, horizontal_high);
  mode[ZVG_MODE_V_ACTIVE] = lines;
  mode[ZVG_MODE_V_SYNC_START] = lines + composer.byte(v_sync_delay);
  mode[ZVG_MODE_V_SYNC_END] = mode[ZVG_MODE_V_SYNC_START] + composer.byte(v_sync_width);
  mode[ZVG_MODE_V_TOTAL] = lines + composer.byte(v_blank);
  return mode[ZVG_MODE_PIXEL_CLOCK];
}
