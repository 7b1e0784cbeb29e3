// The decoded report: where the EDID comes from and the order of its parts.
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <span>

#include "edid/base_block.h"
#include "edid/cea_extension.h"
#include "edid/report_text.h"
#include "edid/store.h"
#include "util_zvg.h"

namespace zvg::edid {

namespace {

using namespace formats::edid;

constexpr char banner_rule[] = "************************************************************";

// Fills bytes, which has room for edid_size. Returns false after printing why it could not.
bool read_file(const char* path, uint8_t* bytes) {
  const int fd = open(path, O_RDONLY);
  if (fd < 0) {
    printf(EDID_ERROR("open file error: %d"), fd);
    return false;
  }
  const ssize_t count = read(fd, bytes, edid_size);
  if (count != static_cast<ssize_t>(block_size) && count != static_cast<ssize_t>(edid_size)) {
    printf(EDID_ERROR("EDID data is bad: %d."), static_cast<int>(count));
    return false;  // the descriptor stays open: that is this function's contract on a bad size
  }
  close(fd);
  return true;
}

void print_base(const uint8_t* edid) {
  puts(banner_rule);
  puts("*                     BASE BLOCK                           *");
  puts(banner_rule);
  zvg_edid_block_is_valid(edid, 0);  // faults are only reported, the bytes are decoded all the same
  print_base_block(parse_base_block(edid));
}

void print_extension(const uint8_t* edid) {
  constexpr int number = 1;
  const std::span<const uint8_t> block(edid + number * block_size, block_size);
  puts(banner_rule);
  printf("*                     BLOCK %02d                             *\n", number);
  puts(banner_rule);
  zvg_edid_block_is_valid(edid, number);
  if (ExtensionTag{block[0]} == ExtensionTag::cea861) {
    print_cea_extension(parse_cea_extension(block), parse_identification(edid).revision);
  } else {
    printf(EDID_WARNING("Extension block tag 0x%02x is not CEA-861."), block[0]);
  }
  puts("--------------------------END-------------------------");
}

}  // namespace
}  // namespace zvg::edid

extern "C" ZVG_API int do_edid_parse(const char* path) {
  using namespace zvg::edid;
  constexpr int decodable_extensions = 1;  // of more than one none is decoded

  uint8_t edid[edid_size] = {};
  if (path == nullptr) {
    memcpy(edid, stored_edid(), edid_size);
  } else if (!read_file(path, edid)) {
    return 0;
  }
  edid_print_helper(edid, edid_size, 0);
  print_base(edid);
  if (parse_extension_count(edid) == decodable_extensions) print_extension(edid);
  return 0;
}
