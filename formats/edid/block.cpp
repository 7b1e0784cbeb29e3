#include "formats/edid/block.h"

#include <string.h>

namespace zvg::formats::edid {

bool header_right(const uint8_t* edid) {
  constexpr uint8_t pattern[8] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
  return memcmp(edid, pattern, sizeof pattern) == 0;
}

Checksum parse_checksum(const uint8_t* block) {
  constexpr size_t checksum_at = block_size - 1;
  uint8_t sum = 0;
  for (size_t i = 0; i < checksum_at; ++i) sum = static_cast<uint8_t>(sum + block[i]);
  return {block[checksum_at], static_cast<uint8_t>(-sum)};
}

}  // namespace zvg::formats::edid
