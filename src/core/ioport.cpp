// I/O ports, which only the driver can reach.
#include <errno.h>
#include <stdio.h>

#include "core/driver_requests.h"

namespace zvg::core {

namespace {

// One record for every request of the process.
hw::driver::IoportRecord ioport_record;

bool without_driver() {
  if (g_connection.mode == ZVG_MODE_DRIVER) return false;
  fprintf(stderr, "ioport is only supported in driver mode\n");
  return true;
}

}  // namespace

}  // namespace zvg::core

using namespace zvg::core;

int zvgIoportRead(uint8_t port, uint8_t* value) {
  if (without_driver()) return -EINVAL;
  ioport_record = {port, *value, ZVG_OP_READ};
  const int result = issue(zvg::hw::driver::request_ioport, &ioport_record, port);
  if (result == 0) *value = ioport_record.value;
  return result;
}

int zvgIoportWrite(uint8_t port, uint8_t value) {
  if (without_driver()) return -EINVAL;
  ioport_record = {port, value, ZVG_OP_WRITE};
  return issue(zvg::hw::driver::request_ioport, &ioport_record, port);
}
