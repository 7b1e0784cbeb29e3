// Header, checksum and version of one EDID block.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "edid/report_text.h"
#include "formats/edid/base_block.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

constexpr int supported_version = 1;
constexpr int last_known_revision = 4;

int reject(int block) {
  printf(EDID_ERROR("EDID block %d check failed.The result may be incorrect."), block);
  return 0;
}

}  // namespace
}  // namespace zvg::edid

extern "C" ZVG_API int zvg_edid_block_is_valid(const uint8_t* edid, int block) {
  using namespace zvg::edid;
  using namespace zvg::formats::edid;
  const uint8_t* const bytes = edid + block * static_cast<ptrdiff_t>(block_size);

  if (block == 0) {
    if (!header_right(bytes)) {
      fputs(EDID_WARNING("EDID header is wrong."), stdout);
      return reject(block);
    }
    puts("EDID header check successfully.");
  }

  if (const Checksum checksum = parse_checksum(bytes); !checksum.right()) {
    printf(EDID_WARNING("EDID block %d checksum is 0x%02x. Reminder is 0x%02x"), block,
           checksum.stored, checksum.expected);
    // A wrong sum alone does not reject a CEA extension: repeaters edit it without summing again.
    return ExtensionTag{bytes[0]} == ExtensionTag::cea861 ? 1 : reject(block);
  }
  printf("EDID block %d checksum check successfully.\n", block);
  if (bytes[0] != 0) return 1;

  // The version is the base block's whichever block is checked: no other block has one.
  const Identification identification = parse_identification(edid);
  if (identification.version != supported_version) {
    printf(EDID_WARNING("EDID has major version %d, instead of 1"), identification.version);
    return reject(block);
  }
  if (identification.revision > last_known_revision) {
    puts("EDID minor > 4, assuming backward compatibility");
  }
  return 1;
}
