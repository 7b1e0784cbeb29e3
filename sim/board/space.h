// The address spaces of a card.
#ifndef ZVGSIM_BOARD_SPACE_H
#define ZVGSIM_BOARD_SPACE_H

#include <cstdint>
#include <string_view>

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

constexpr uint64_t mmio_size = 16u << 20;
constexpr uint64_t vram_size = 256u << 20;

// Where the spaces stand on the on-chip bus.
constexpr uint64_t bus_mmio_base = 0x1000000;
constexpr uint64_t bus_vram_base = 0x8000000000;

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_SPACE_H
