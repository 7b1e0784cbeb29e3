// What an I2C code of the library means, in words.
#ifndef ZVG_SERVICE_I2C_I2C_ERROR_H
#define ZVG_SERVICE_I2C_I2C_ERROR_H

namespace zvg {

// Codes of the I2C functions: nobody answers, or the bus hangs; a byte was not acknowledged.
inline constexpr int i2c_no_device = -2;
inline constexpr int i2c_not_acknowledged = -3;

// Throws an Error (access) for a transfer that ended with that code, errno as it left it.
//
// deed: "read", "write" ...
[[noreturn]] void fail_i2c(unsigned bus, unsigned slave, int result, const char* deed);

}  // namespace zvg

#endif  // ZVG_SERVICE_I2C_I2C_ERROR_H
