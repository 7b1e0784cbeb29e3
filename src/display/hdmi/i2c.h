// What the PHY's and the DDC's I2C masters of an HDMI transmitter have in common.
#ifndef ZVG_DISPLAY_HDMI_I2C_H
#define ZVG_DISPLAY_HDMI_I2C_H

#include <stddef.h>
#include <stdint.h>
#include <unistd.h>

#include "display/hdmi/registers.h"

namespace zvg::display::hdmi {

struct RegisterWrite {
  Offset reg;
  uint8_t value;
};

// Writes the registers in order, all of them, and returns the OR of the results.
template <size_t count>
int write_registers(uint32_t transmitter, const RegisterWrite (&writes)[count]);
int write_registers(uint32_t transmitter, const RegisterWrite* writes, size_t count);

// As write_registers; a failure is also reported.
template <size_t count>
int configure(uint32_t transmitter, const RegisterWrite (&writes)[count]);
int configure(uint32_t transmitter, const RegisterWrite* writes, size_t count);

// Which status register tells the end of an operation, and how long to sleep between looks.
struct StatusWait {
  Offset status;
  useconds_t step_us;
};

constexpr StatusWait phy_i2c_wait = {phy_i2c_status, 1000};
constexpr StatusWait ddc_wait = {ddc_status, 5};

// Waits for the end of an I2C operation. 0 done, -19 the controller reports an error, -2 timeout,
// -1 the status could not be read (reported).
int wait_for_end(uint32_t transmitter, const StatusWait& wait);

template <size_t count>
int write_registers(uint32_t transmitter, const RegisterWrite (&writes)[count]) {
  return write_registers(transmitter, writes, count);
}

template <size_t count>
int configure(uint32_t transmitter, const RegisterWrite (&writes)[count]) {
  return configure(transmitter, writes, count);
}

}  // namespace zvg::display::hdmi

#endif  // ZVG_DISPLAY_HDMI_I2C_H
