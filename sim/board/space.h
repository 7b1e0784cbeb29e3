// The address spaces of a card.
#ifndef ZVGSIM_BOARD_SPACE_H
#define ZVGSIM_BOARD_SPACE_H

#include <cstdint>
#include <string_view>

#include "hw/bus.h"

namespace zvgsim {

enum class Space : uint8_t {
  mmio,    // chip registers (BAR 2)
  vram,    // video memory (BAR 0)
  bus,     // the 40-bit on-chip bus, when the AMBA bridge is its master
  kmem,    // the host's kernel memory
  pci,     // PCI configuration space
  ioport,  // the host's I/O ports, 8-bit numbers
};

constexpr std::string_view name(Space space) {
  constexpr std::string_view names[] = {"mmio", "vram", "bus", "kmem", "pci", "ioport"};
  return names[static_cast<unsigned>(space)];
}

using zvg::hw::mmio_size;
using zvg::hw::vram_size;

// Where the spaces stand on the on-chip bus.
using zvg::hw::bus_mmio_base;
using zvg::hw::bus_vram_base;

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_SPACE_H
