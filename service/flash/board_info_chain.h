// The chain of board information in a copy of its part of the flash.
#ifndef ZVG_SERVICE_FLASH_BOARD_INFO_CHAIN_H
#define ZVG_SERVICE_FLASH_BOARD_INFO_CHAIN_H

#include <cstdint>
#include <span>
#include <vector>

#include "formats/board_info/entry.h"

namespace zvg {

class BoardInfoChain {
 public:
  // The sectors that the area lies in.
  static constexpr uint32_t first_sector = 0x70000;
  static constexpr uint32_t sectors_size = 0x10000;

  struct Entry {
    uint32_t address;
    zvg::formats::board_info::Header header;
    std::vector<uint8_t> data;
    bool valid;  // its checksum is right; a walk over the flash ends before one that is not
  };

  // bytes: sectors_size of them, from first_sector on.
  explicit BoardInfoChain(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}

  // In the chain's order, up to the first one that is damaged, that included.
  std::vector<Entry> entries() const;

  // Stores an EDID for an output: in its entry, or in a new one at the chain's end. Every other
  // entry stays. Throws an Error when the chain is damaged or full.
  void set_edid(uint16_t output, std::span<const uint8_t> edid);

  const std::vector<uint8_t>& bytes() const { return bytes_; }

 private:
  uint8_t* at(uint32_t address) { return bytes_.data() + (address - first_sector); }
  void put_edid(uint32_t address, uint16_t output, uint16_t next, std::span<const uint8_t> edid);

  std::vector<uint8_t> bytes_;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_FLASH_BOARD_INFO_CHAIN_H
