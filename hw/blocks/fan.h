// The board's fan controller, in the indexed registers of the first display controller.
#ifndef ZVG_HW_BLOCKS_FAN_H
#define ZVG_HW_BLOCKS_FAN_H

#include "hw/register.h"

namespace zvg::hw::fan {

// Each pair counts from its latch on.
enum Index : uint8_t {
  period_low = 0xD4,
  period_high = 0xD5,
  duty_low = 0xD6,
  duty_high = 0xD7,
  period_latch = 0xD8,
  duty_latch = 0xD9,
};
constexpr uint8_t first_index = period_low;
constexpr uint8_t last_index = duty_latch;

constexpr uint8_t latch = 1;
constexpr uint32_t full_period = 1000;  // what the board's own control uses

namespace map {

inline constexpr Field latch_fields[] = {field("latch", latch, "takes the pair over")};

inline constexpr Register registers[] = {
    {"period_low", period_low, 8, rw, "PWM period, low byte"},
    {"period_high", period_high, 8, rw, "PWM period, high byte"},
    {"duty_low", duty_low, 8, rw, "PWM duty, low byte"},
    {"duty_high", duty_high, 8, rw, "PWM duty, high byte"},
    {"period_latch", period_latch, 8, rw, "takes the period", latch_fields, Effect::write_starts},
    {"duty_latch", duty_latch, 8, rw, "takes the duty", latch_fields, Effect::write_starts},
};
inline constexpr Block block = {"fan", Space::crtc, "fan controller", registers, 0x100, &Chip::vga};

}  // namespace map

}  // namespace zvg::hw::fan

#endif  // ZVG_HW_BLOCKS_FAN_H
