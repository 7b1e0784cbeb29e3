#include "display/hdmi/i2c.h"

#include <errno.h>
#include <stdio.h>

#include <optional>

#include "core/poll.h"
#include "util_zvg.h"

namespace zvg::display::hdmi {

namespace {

constexpr unsigned status_tries = 65534;
constexpr int status_unreadable = -1;
constexpr int timed_out = -2;

}  // namespace

int write_registers(uint32_t transmitter, const RegisterWrite* writes, size_t count) {
  int result = 0;
  for (size_t i = 0; i < count; ++i) {
    result |= zvgRegWriteByte(at(transmitter, writes[i].reg), writes[i].value);
  }
  return result;
}

int configure(uint32_t transmitter, const RegisterWrite* writes, size_t count) {
  const int result = write_registers(transmitter, writes, count);
  if (result != 0) printf("hdmi %d:i2c config failed\n", static_cast<int>(transmitter));
  return result;
}

int wait_for_end(uint32_t transmitter, const StatusWait& wait) {
  const auto look = [&]() -> std::optional<int> {
    uint8_t status = 0;
    if (zvgRegReadByte(at(transmitter, wait.status), &status) != 0) {
      printf("hdmi %d:i2c read status faield\n", static_cast<int>(transmitter));
      return status_unreadable;
    }
    // An operation that reports both its end and an error has ended.
    if ((status & i2c_done) != 0) return 0;
    if ((status & i2c_error) != 0) return -ENODEV;
    return std::nullopt;
  };
  return core::look_then_wait(status_tries, core::sleeping(wait.step_us), look).value_or(timed_out);
}

}  // namespace zvg::display::hdmi
