// The card's PCI configuration space.
#ifndef ZVGSIM_DEVICES_PCI_PCI_CONFIG_H
#define ZVGSIM_DEVICES_PCI_PCI_CONFIG_H

#include <array>
#include <cstdint>

#include "board/board.h"
#include "board/device.h"

namespace zvgsim {

// A type 0 header, by aligned 32-bit words: identity, command and status, a display controller's
// class, BAR 0 (VRAM) and BAR 2 (MMIO). Read-only bits stay as they are; a BAR that is written all
// ones reads back its size. The words above the header are zero and read-only.
class PciConfig : public Device {
 public:
  explicit PciConfig(const BoardConfig& config);
  uint64_t read(uint64_t offset, unsigned width) override;
  void write(uint64_t offset, unsigned width, uint64_t value) override;

 private:
  static constexpr unsigned header_words = 16;
  std::array<uint32_t, header_words> words_{};
  std::array<uint32_t, header_words> writable_{};  // mask
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_PCI_PCI_CONFIG_H
