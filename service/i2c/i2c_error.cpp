#include "service/i2c/i2c_error.h"

#include <errno.h>
#include <util_zvg.h>

#include <string>

#include "service/board/board.h"

namespace zvg {

void fail_i2c(unsigned bus, unsigned slave, int result, const char* deed) {
  const int error = errno;
  // A code of the I2C master, or a request that failed altogether.
  std::string why = zvgI2cErrString(result);
  if (result == i2c_no_device) {
    why = "no device answers there, or the bus hangs (zvgctl i2c scan shows who does)";
  } else if (result == i2c_not_acknowledged) {
    why = "the device did not acknowledge a byte in the middle of the transfer";
  } else if (result == -1) {
    why = error != 0 ? reason(result, error) : "there is no such bus";
  }
  throw_error(ErrorKind::access, "I2C bus %u, address 0x%02x: cannot %s: %s", bus, slave, deed,
              why.c_str());
}

}  // namespace zvg
