// The board fan, and the temperature that the driver is told for a test.
#include "hw/blocks/fan.h"

#include <errno.h>
#include <stdint.h>
#include <stdio.h>

#include "core/driver_requests.h"
#include "util_zvg.h"

namespace zvg::power {

namespace {

constexpr int failure = -1;
constexpr uint32_t full_percent = 100;

using namespace hw::fan;

constexpr uint32_t duty_per_percent = full_period / full_percent;
constexpr uint32_t duty_floor = 10;  // what 0 per cent sets: the fan keeps turning

int set_by_driver(int percent) {
  using namespace core;
  using namespace hw::driver;
  if (percent < 0) {
    if (issue(request_clear_fan, nullptr) == 0) return 0;
    puts("failed to clear manual fan");
    return failure;
  }
  FanRateRecord rate = {static_cast<uint32_t>(percent)};
  if (rate.percent > full_percent) {
    puts("input number is out of range!");
    return failure;
  }
  if (issue(request_fan_rate, &rate) == 0) return 0;
  perror("failed to set manual fan\n");
  return failure;
}

int set_by_registers(uint32_t percent) {
  if (percent > full_percent) {
    puts("set fan rate percent out of range  please set percent from 0 to 100");
    return failure;
  }
  const uint32_t duty = percent == 0 ? duty_floor : percent * duty_per_percent;
  const struct {
    Index index;
    uint32_t value;
  } sequence[] = {
      {period_low, full_period & 0xFF}, {period_high, full_period >> 8}, {period_latch, latch},
      {duty_low, duty & 0xFF},          {duty_high, duty >> 8},          {duty_latch, latch},
  };
  for (const auto& step : sequence) zvgCrtcWriteByte(step.index, static_cast<uint8_t>(step.value));
  return 0;
}

}  // namespace

}  // namespace zvg::power

using namespace zvg::power;

int zvgFanSetRate(int percent) {
  const auto mode = static_cast<int>(get_s_type());
  switch (mode) {
    case ZVG_MODE_DRIVER:
      return set_by_driver(percent);
    case ZVG_MODE_SERIAL:
      return set_by_registers(static_cast<uint32_t>(percent));
    default:
      fprintf(stderr, "s_type (%d) is not supported\n", mode);
      return -EINVAL;
  }
}

int zvgThermalDebug(uint32_t temperature) {
  zvg::hw::driver::TemperatureRecord record = {temperature};
  if (zvg::core::issue(zvg::hw::driver::request_temperature, &record) == 0) return 0;
  puts("failed to input thermal temp");
  return failure;
}
