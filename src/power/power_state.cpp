// The driver's power state.
#include <stdint.h>
#include <stdio.h>

#include "core/driver_requests.h"
#include "util_zvg.h"

namespace zvg::power {

namespace {

constexpr struct {
  int32_t state;
  char name[32];
} states[] = {
    {-1, "Invalid"},
    {ZVG_POWER_PERFORMANCE, "Performance"},
    {ZVG_POWER_SAVE, "Save"},
    {ZVG_POWER_STANDBY, "standby"},
};

int request(hw::driver::PowerOperation operation, uint32_t* state) {
  hw::driver::PowerRecord record = {operation, *state};
  const int result = core::issue(hw::driver::request_power, &record);
  *state = record.state;
  return result;
}

}  // namespace

}  // namespace zvg::power

using namespace zvg::power;

int zvgPowerGetState(uint32_t* state) {
  uint32_t value = 0;
  if (get_s_type() == ZVG_MODE_DRIVER) {
    if (const int result = request(zvg::hw::driver::power_get, &value); result != 0) {
      fprintf(stderr, "%s: get power state failed\n", __func__);
      return result;
    }
  }
  if (state != nullptr) *state = value;
  return 0;
}

int zvgPowerSetState(uint32_t state) {
  if (get_s_type() != ZVG_MODE_DRIVER) {
    fprintf(stderr, "%s: error, driver module is not installed!\n", __func__);
    return -1;
  }
  const int result = request(zvg::hw::driver::power_set, &state);
  if (result != 0) fprintf(stderr, "%s: set power state failed\n", __func__);
  return result;
}

const char* zvgPowerStateName(uint32_t state) {
  for (const auto& entry : states) {
    if (static_cast<uint32_t>(entry.state) == state) return entry.name;
  }
  return states[0].name;
}
