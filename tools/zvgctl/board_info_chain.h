// The chain of board information in a copy of its part of the flash.
#ifndef ZVGCTL_BOARD_INFO_CHAIN_H
#define ZVGCTL_BOARD_INFO_CHAIN_H

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace zvgctl {

class BoardInfoChain {
 public:
  // The sectors that the area lies in.
  static constexpr uint32_t first_sector = 0x70000;
  static constexpr uint32_t sectors_size = 0x10000;
  // The most that a slot holds.
  static constexpr size_t most_data = 448;

  struct Entry {
    uint32_t address;
    unsigned type, id, sub_index;
    std::vector<uint8_t> data;
    bool valid;  // its checksum is right; a walk over the flash ends before one that is not
  };

  // bytes: sectors_size of them, from first_sector on.
  explicit BoardInfoChain(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}

  // In the chain's order, up to the first one that is damaged, that included.
  std::vector<Entry> entries() const;

  // Stores an EDID for an output: in its entry, or in a new one at the chain's end. Every other
  // entry stays. Throws a Failure when the chain is damaged or full.
  void set_edid(unsigned output, std::span<const uint8_t> edid);

  const std::vector<uint8_t>& bytes() const { return bytes_; }

  static bool is_edid(const Entry& entry);

 private:
  unsigned word(uint32_t address) const;
  void set_word(uint32_t address, unsigned value);
  void put_slot(uint32_t address, unsigned output, unsigned next, std::span<const uint8_t> edid);

  std::vector<uint8_t> bytes_;
};

}  // namespace zvgctl

#endif  // ZVGCTL_BOARD_INFO_CHAIN_H
