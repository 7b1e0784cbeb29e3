#include "devices/fan/fan.h"

#include <algorithm>

#include "board/board.h"
#include "devices/sensors/sensor_settings.h"

namespace zvgsim {

namespace {

using namespace hw::fan;

// The board's own control: quiet when cool, everything when hot, straight in between.
constexpr double quiet_percent = 30, full_percent = 100;
constexpr double cool_celsius = 50, hot_celsius = 90;

}  // namespace

Fan::Fan(double celsius) : celsius_(celsius) {
  follow_temperature();
}

unsigned Fan::pair(uint8_t low_index) const {
  return read(low_index) | static_cast<unsigned>(read(low_index + 1)) << 8;
}

void Fan::write(uint8_t index, uint8_t value) {
  registers_[index - first_index] = value;
  if (value != latch) return;
  if (index == period_latch) period_ = pair(period_low);
  if (index == duty_latch) {
    duty_ = pair(duty_low);
    manual_ = true;
  }
}

void Fan::show(uint8_t low_index, unsigned value) {
  registers_[low_index - first_index] = static_cast<uint8_t>(value);
  registers_[low_index - first_index + 1] = static_cast<uint8_t>(value >> 8);
}

void Fan::set_manual(unsigned percent) {
  period_ = full_period;
  duty_ = full_period / 100 * percent;
  manual_ = true;
  show(period_low, period_);
  show(duty_low, duty_);
}

void Fan::set_automatic() {
  manual_ = false;
  follow_temperature();
}

void Fan::set_temperature(double celsius) {
  celsius_ = celsius;
  follow_temperature();
}

void Fan::follow_temperature() {
  if (manual_) return;
  show(period_low, full_period);
  show(duty_low, static_cast<unsigned>(full_period / 100 * percent()));
}

double Fan::percent() const {
  if (manual_) {
    if (period_ == 0) return 0;
    return std::min(full_percent, full_percent * duty_ / period_);
  }
  const double heat = std::clamp((celsius_ - cool_celsius) / (hot_celsius - cool_celsius), 0., 1.);
  return quiet_percent + (full_percent - quiet_percent) * heat;
}

namespace {

void place(Board& board) {
  board.add_part<Fan>(board.config().of<SensorSettings>().temperature[0].value);
}

}  // namespace

Model fan_model() {
  return {.place = place};
}

}  // namespace zvgsim
