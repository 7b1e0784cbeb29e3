// Registers of a transmitter by its port. The two functions named after the PHY reach the
// controller.
#include <errno.h>
#include <stdint.h>

#include "display/dp/ports.h"
#include "display/dp/registers.h"
#include "util_zvg.h"

using namespace zvg::display::dp;

int zvgDpPhyRead(uint32_t port, uint32_t reg, uint32_t* value) {
  if (port > last_port) return -EINVAL;
  *value = zvg_dptx_reg_read(&record_for_transfer(port), reg);
  return 0;
}

int zvgDpPhyWrite(uint32_t port, uint32_t reg, uint32_t value) {
  if (port > last_port) return -EINVAL;
  zvg_dptx_reg_write(&record_for_transfer(port), reg, value);
  return 0;
}

int zvgDpCdbRead(uint32_t port, int addr, uint16_t* data) {
  if (port > last_port) return refuse_channel(port);
  return zvg_cdb_read(&record_for_transfer(port), static_cast<uint16_t>(addr), data);
}

int zvgDpCdbWrite(uint32_t port, int addr, int data) {
  if (port > last_port) return refuse_channel(port);
  return zvg_cdb_write(&record_for_transfer(port), static_cast<uint16_t>(addr),
                       static_cast<uint16_t>(data));
}
