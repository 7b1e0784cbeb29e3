// What all blocks of an EDID have in common.
#ifndef ZVG_FORMATS_EDID_BLOCK_H
#define ZVG_FORMATS_EDID_BLOCK_H

#include <stddef.h>
#include <stdint.h>

namespace zvg::formats::edid {

constexpr size_t block_size = 128;
constexpr size_t most_blocks = 256;  // the base block and as many extensions as a byte can count
constexpr size_t descriptor_size = 18;

// E-EDID 1.4, 3.3: the base block begins with a fixed pattern. edid: its first 8 bytes.
bool header_right(const uint8_t* edid);

// E-EDID 1.4, 3.11: the bytes of a block add up to 0.
struct Checksum {
  uint8_t stored;
  uint8_t expected;
  bool right() const { return stored == expected; }
};
Checksum parse_checksum(const uint8_t* block);

// E-EDID 1.4: the first byte of an extension block is its tag.
enum class ExtensionTag : uint8_t {
  cea861 = 0x02,
  display_id = 0x70,
  block_map = 0xF0,
};

}  // namespace zvg::formats::edid

#endif  // ZVG_FORMATS_EDID_BLOCK_H
