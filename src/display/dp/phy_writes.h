// Tables of PHY and CDB register writes, and their lanes.
#ifndef ZVG_DISPLAY_DP_PHY_WRITES_H
#define ZVG_DISPLAY_DP_PHY_WRITES_H

#include <stddef.h>
#include <stdint.h>

#include "display/dp/rates.h"
#include "display/dp/registers.h"
#include "util_zvg.h"

namespace zvg::display::dp {

struct PhyWrite {
  PhyRegister reg;
  uint32_t value;
};

struct CdbWrite {
  uint16_t address;
  uint16_t data;
};

template <size_t count>
void write_all(const zvg_dptx* device, const PhyWrite (&writes)[count]) {
  for (const PhyWrite& write : writes) zvg_dptx_phy_reg_write(device, write.reg, write.value);
}

template <size_t count>
void write_all(const zvg_dptx* device, const CdbWrite (&writes)[count]) {
  for (const CdbWrite& write : writes) zvg_cdb_write(device, write.address, write.data);
}

// Writes the PLL parameters of a rate in an order that depends on the occasion.
template <size_t count>
void write_pll(const zvg_dptx* device, const LinkRate& rate,
               const dp_cdb::Address (&order)[count]) {
  for (const dp_cdb::Address reg : order) zvg_cdb_write(device, reg, rate.pll(reg));
}

}  // namespace zvg::display::dp

#endif  // ZVG_DISPLAY_DP_PHY_WRITES_H
