// Header, checksum and version of one EDID block.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "edid/layout.h"
#include "edid/report_text.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

constexpr uint8_t header[8] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
constexpr int supported_version = 1;
constexpr int last_known_revision = 4;

int reject(int block) {
  printf(EDID_ERROR("EDID block %d check failed.The result may be incorrect."), block);
  return 0;
}

uint8_t sum(const uint8_t* bytes, size_t count) {
  uint8_t total = 0;
  for (size_t i = 0; i < count; ++i) total = static_cast<uint8_t>(total + bytes[i]);
  return total;
}

}  // namespace
}  // namespace zvg::edid

extern "C" ZVG_API int zvg_edid_block_is_valid(const uint8_t* edid, int block) {
  using namespace zvg::edid;
  const uint8_t* const bytes = edid + block * static_cast<ptrdiff_t>(block_size);

  if (block == 0) {
    if (memcmp(bytes + base::header, header, sizeof header) != 0) {
      fputs(EDID_WARNING("EDID header is wrong."), stdout);
      return reject(block);
    }
    puts("EDID header check successfully.");
  }

  if (sum(bytes, block_size) != 0) {
    const uint8_t remainder = static_cast<uint8_t>(-sum(bytes, checksum_offset));
    printf(EDID_WARNING("EDID block %d checksum is 0x%02x. Reminder is 0x%02x"), block,
           bytes[checksum_offset], remainder);
    // A wrong sum alone does not reject a CEA extension: repeaters edit it without summing again.
    return bytes[0] == cea_tag ? 1 : reject(block);
  }
  printf("EDID block %d checksum check successfully.\n", block);
  if (bytes[0] != 0) return 1;

  // The version is the base block's whichever block is checked: no other block has one.
  if (edid[base::version] != supported_version) {
    printf(EDID_WARNING("EDID has major version %d, instead of 1"), edid[base::version]);
    return reject(block);
  }
  if (edid[base::revision] > last_known_revision) {
    puts("EDID minor > 4, assuming backward compatibility");
  }
  return 1;
}
