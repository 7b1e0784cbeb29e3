// DDR controller and PHY registers, on all the channels of a mask.
#include "script/ddr_registers.h"

#include <stdio.h>

namespace zvg::script::ddr {

namespace {

constexpr uint64_t bit_31 = uint64_t{1} << 31;

using Base = uint32_t (*)(unsigned channel);

// Makes the access on every selected channel, lowest first, and ends with the first that fails.
template <typename Access>
int on_channels(unsigned mask, Base base, uint32_t offset, Access access) {
  for (unsigned channel = 0; channel < channels(); ++channel) {
    if (!selected(mask, channel)) continue;
    const int result = access(base(channel) + offset);
    if (result != 0) return result;
  }
  return 0;
}

int read_channels(const char* name, unsigned mask, Base base, uint32_t offset, uint32_t* value) {
  return on_channels(mask, base, offset, [=](uint32_t address) {
    const int result = zvgRegReadLong(address, value);
    if (result != 0) fprintf(stderr, "%s: read from [0x%x] failed\n", name, address);
    return result;
  });
}

int write_channels(const char* name, unsigned mask, Base base, uint32_t offset, uint32_t value) {
  return on_channels(mask, base, offset, [=](uint32_t address) {
    const int result = zvgRegWriteLong(address, value);
    if (result != 0) fprintf(stderr, "%s: write 0x%x to [0x%x] failed\n", name, value, address);
    return result;
  });
}

enum class Block { controller, phy, none };

// Finds the block that an address lies in, and the offset inside it. All four bases of a kind are
// searched, whatever the channel count. Bit 31 is ignored in the search but stays in the offset,
// so that such an address ends in the range check of the access.
Block find(uint64_t address, uint32_t* offset) {
  const uint64_t place = address & ~bit_31;
  const auto search = [=](Base base, uint32_t size) {
    for (unsigned channel = 0; channel < bases; ++channel) {
      if (place < base(channel) || place >= uint64_t{base(channel)} + size) continue;
      *offset = static_cast<uint32_t>(address - base(channel));
      return true;
    }
    return false;
  };
  if (search(controller_base, controller_size)) return Block::controller;
  if (search(phy_base, phy_size)) return Block::phy;
  return Block::none;
}

}  // namespace

}  // namespace zvg::script::ddr

using namespace zvg::script::ddr;

int zvg_ddr_ctr_read(unsigned channel_mask, uint32_t offset, uint32_t* value) {
  return read_channels("zvg_ddr_ctr_read", channel_mask, controller_base, offset, value);
}

int zvg_ddr_phy_read(unsigned channel_mask, uint32_t offset, uint32_t* value) {
  return read_channels("zvg_ddr_phy_read", channel_mask, phy_base, offset, value);
}

int zvg_ddr_ctr_write(unsigned channel_mask, uint32_t offset, uint32_t value) {
  return write_channels("zvg_ddr_ctr_write", channel_mask, controller_base, offset, value);
}

int zvg_ddr_phy_write(unsigned channel_mask, uint32_t offset, uint32_t value) {
  return write_channels("zvg_ddr_phy_write", channel_mask, phy_base, offset, value);
}

int zvgDdrRegReadLong(unsigned channel_mask, uint64_t address, uint32_t* value) {
  uint32_t offset = 0;
  switch (find(address, &offset)) {
    case Block::controller:
      return zvg_ddr_ctr_read(channel_mask, offset, value);
    case Block::phy:
      return zvg_ddr_phy_read(channel_mask, offset, value);
    default:
      return zvgRegReadLong(address, value);
  }
}

int zvgDdrRegWriteLong(unsigned channel_mask, uint64_t address, uint32_t value) {
  uint32_t offset = 0;
  switch (find(address, &offset)) {
    case Block::controller:
      return zvg_ddr_ctr_write(channel_mask, offset, value);
    case Block::phy:
      return zvg_ddr_phy_write(channel_mask, offset, value);
    default:
      return zvgRegWriteLong(address, value);
  }
}
