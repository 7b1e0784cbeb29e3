// I2C buses and display data channels, as several commands use them.
#ifndef ZVGCTL_I2C_H
#define ZVGCTL_I2C_H

#include <cstdint>
#include <string>
#include <vector>

#include "service/i2c/i2c_error.h"
#include "zvgctl/connection_options.h"

namespace zvgctl {

using zvg::fail_i2c;

// A bus that the door has. Throws a usage Failure.
unsigned parse_bus(const Route& options, const std::string& text);

unsigned parse_ddc_channel(const char* name, const std::string& text);

// The EDID that the driver reads on a channel. Throws a Failure when there is none.
std::vector<uint8_t> read_ddc(unsigned channel);

}  // namespace zvgctl

#endif  // ZVGCTL_I2C_H
