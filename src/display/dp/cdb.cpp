// The CDB bus: 16-bit configuration registers inside a transmitter's PHY.
#include <stdio.h>

#include "core/poll.h"
#include "display/dp/registers.h"
#include "util_zvg.h"

namespace zvg::display::dp {

namespace {

constexpr unsigned ready_tries = 100;
constexpr uint32_t ready_step_ticks = 5;
constexpr int busy = 4;

bool wait_until_ready(const zvg_dptx* device) {
  return core::look_then_wait(
      ready_tries, [=] { zvg_dptx_tmr_wait(device, ready_step_ticks); },
      [=] { return (zvg_dptx_phy_reg_read(device, cdb_status) & cdb_ready) != 0; });
}

}  // namespace

}  // namespace zvg::display::dp

using namespace zvg::display::dp;

int zvg_cdb_write(const zvg_dptx* device, uint16_t addr, uint16_t data) {
  if (!wait_until_ready(device)) {
    fprintf(stderr, "dp %d: cdb bus is busy when write [0x%x] with 0x%x\n", device->port, addr,
            data);
    return busy;
  }
  zvg_dptx_phy_reg_write(device, cdb_address, addr);
  zvg_dptx_phy_reg_write(device, cdb_write_data, data);
  zvg_dptx_phy_reg_write(device, cdb_command, cdb_write);
  zvg_dptx_phy_reg_write(device, cdb_go, 1);
  return 0;
}

int zvg_cdb_read(const zvg_dptx* device, uint16_t addr, uint16_t* data) {
  if (!wait_until_ready(device)) {
    fprintf(stderr, "dp %d: cdb bus is busy when read [0x%x]\n", device->port, addr);
    return busy;
  }
  zvg_dptx_phy_reg_write(device, cdb_address, addr);
  zvg_dptx_phy_reg_write(device, cdb_command, cdb_read);
  zvg_dptx_phy_reg_write(device, cdb_go, 1);
  if (!wait_until_ready(device)) return busy;
  const uint32_t status = zvg_dptx_phy_reg_read(device, cdb_status);
  if (status != cdb_ready) {
    *data = 0;
    return static_cast<int>(status);
  }
  *data = static_cast<uint16_t>(zvg_dptx_phy_reg_read(device, cdb_read_data));
  return 0;
}
