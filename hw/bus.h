// The chip's on-chip bus, and the windows onto it that the card shows.
#ifndef ZVG_HW_BUS_H
#define ZVG_HW_BUS_H

#include <stdint.h>

namespace zvg::hw {

// PCI base address registers, by number.
enum Bar : uint32_t { bar_vram = 0, bar_mmio = 2 };

constexpr uint64_t mmio_size = 16u << 20;   // registers, behind BAR 2
constexpr uint64_t vram_size = 256u << 20;  // video memory, behind BAR 0

// Where the bus has the two spaces. The debug UART and the AMBA bridge address the bus; it is 40
// bits wide.
constexpr uint64_t bus_mmio_base = 0x1000000;
constexpr uint64_t bus_vram_base = 0x8000000000;
constexpr unsigned bus_address_bytes = 5;

}  // namespace zvg::hw

#endif  // ZVG_HW_BUS_H
