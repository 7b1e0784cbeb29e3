#include "devices/vga/io_ports.h"

#include "devices/block_bases.h"
#include "hw/blocks/vga_crtc.h"

namespace zvgsim {

namespace {

constexpr uint64_t first_vga_port = hw::vga::first_port & 0xFF;
constexpr uint64_t last_vga_port = hw::vga::last_port & 0xFF;
constexpr uint64_t vga_page =
    hw::vga::first_port & ~0xFFu;  // the upper bits that an 8-bit number leaves out
constexpr uint64_t nobody = 0xFF;

constexpr bool is_vga(uint64_t port) {
  return port >= first_vga_port && port <= last_vga_port;
}

}  // namespace

uint64_t IoPorts::read(uint64_t port, unsigned width) {
  return is_vga(port) ? board_.dispatch_read(Space::mmio, vga_base + vga_page + port, width)
                      : nobody;
}

void IoPorts::write(uint64_t port, unsigned width, uint64_t value) {
  if (is_vga(port)) board_.dispatch_write(Space::mmio, vga_base + vga_page + port, width, value);
}

}  // namespace zvgsim
