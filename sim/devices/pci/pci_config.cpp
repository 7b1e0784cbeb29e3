#include "devices/pci/pci_config.h"

#include <memory>

#include "board/file_table.h"
#include "devices/pci/pci_settings.h"
#include "hw/blocks/pci.h"

namespace zvgsim {

namespace {

enum Word : unsigned {
  identity = hw::pci::identity / 4,
  command_status = hw::pci::command_status / 4,
  class_revision = hw::pci::class_revision / 4,
  cache_header = hw::pci::cache_header / 4,
  bar0 = hw::pci::bar0 / 4,
  bar2 = hw::pci::bar2 / 4,
  subsystem = hw::pci::subsystem / 4,
  interrupt = hw::pci::interrupt / 4,
};

using hw::pci::bar_prefetchable;
using hw::pci::class_vga;
using hw::pci::command_bits;
constexpr uint32_t command_after_boot = 0x0007;
constexpr uint32_t interrupt_pin_a = 0x0100;

constexpr uint16_t made_up_device_id(Generation generation) {
  return static_cast<uint16_t>(0x0300 + static_cast<unsigned>(generation));
}

constexpr uint32_t pair(uint32_t low, uint32_t high) {
  return low | high << 16;
}

}  // namespace

PciConfig::PciConfig(const BoardConfig& config) {
  const auto& ids = config.of<PciSettings>();
  const uint16_t device = ids.device != 0 ? ids.device : made_up_device_id(config.generation);
  words_[identity] = pair(ids.vendor, device);
  words_[command_status] = command_after_boot;
  writable_[command_status] = command_bits;
  words_[class_revision] = class_vga << 8 | ids.revision;
  writable_[cache_header] = 0xFF;  // cache line size
  words_[bar0] = static_cast<uint32_t>(config.aperture.vram_base) | bar_prefetchable;
  writable_[bar0] = ~static_cast<uint32_t>(vram_size - 1);
  words_[bar2] = static_cast<uint32_t>(config.aperture.mmio_base);
  writable_[bar2] = ~static_cast<uint32_t>(mmio_size - 1);
  words_[subsystem] = pair(ids.subsystem_vendor, ids.subsystem);
  words_[interrupt] = interrupt_pin_a;
  writable_[interrupt] = 0xFF;  // line
}

uint64_t PciConfig::read(uint64_t offset, unsigned) {
  return offset / 4 < header_words ? words_[offset / 4] : 0;
}

void PciConfig::write(uint64_t offset, unsigned, uint64_t value) {
  if (offset / 4 >= header_words) return;
  uint32_t& word = words_[offset / 4];
  const uint32_t mask = writable_[offset / 4];
  word = (word & ~mask) | (static_cast<uint32_t>(value) & mask);
}

namespace {

void read(FileTable& root, BoardConfig& config) {
  root.table("pci", [&](FileTable& table) {
    auto& pci = config.of<PciSettings>();
    table.number("vendor", &pci.vendor);
    table.number("device", &pci.device);
    table.number("subsystem_vendor", &pci.subsystem_vendor);
    table.number("subsystem", &pci.subsystem);
    table.number("revision", &pci.revision);
  });
}

void place(Board& board) {
  board.set_pci(std::make_unique<PciConfig>(board.config()));
}

}  // namespace

Model pci_model() {
  return {.read = read, .place = place};
}

}  // namespace zvgsim
