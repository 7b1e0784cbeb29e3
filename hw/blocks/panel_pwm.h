// The PWM of an embedded panel's backlight, in the indexed registers of the first display
// controller.
#ifndef ZVG_HW_BLOCKS_PANEL_PWM_H
#define ZVG_HW_BLOCKS_PANEL_PWM_H

#include "hw/register.h"

namespace zvg::hw::panel_pwm {

// The period counts the base clock in three registers of different weight.
enum Index : uint8_t {
  period_low = 0xC0,
  period_middle = 0xC1,
  duty_low = 0xC2,
  duty_high = 0xC3,
  period_high = 0xD0,
  enable = 0xD2,
};

constexpr uint32_t middle_weight = 255;
constexpr uint32_t high_weight = 65535;
constexpr uint32_t base_clock_hz = 27000000;

namespace map {

inline constexpr Field enable_fields[] = {field("enable", 1, "the PWM runs")};

inline constexpr Register registers[] = {
    {"period_low", period_low, 8, rw, "period, in clocks"},
    {"period_middle", period_middle, 8, rw, "period, in 255 clocks"},
    {"duty_low", duty_low, 8, rw, "clocks of light, low byte"},
    {"duty_high", duty_high, 8, rw, "clocks of light, high byte"},
    {"period_high", period_high, 8, rw, "period, in 65535 clocks"},
    {"enable", enable, 8, rw, "the PWM", enable_fields},
};
inline constexpr Block block = {"panel_pwm", Space::crtc, "backlight of an embedded panel",
                                registers,   0x100,       &Chip::vga};

}  // namespace map

}  // namespace zvg::hw::panel_pwm

#endif  // ZVG_HW_BLOCKS_PANEL_PWM_H
