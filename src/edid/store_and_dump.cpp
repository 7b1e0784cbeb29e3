// The EDID store and the hex dump that fills it.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "edid/store.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

constexpr uint32_t bytes_a_row = 16;

// The gap before 7 is one space short of the others, deliberately.
constexpr char column_header[] =
    "       0      1      2      3      4      5      6     7      8      9      a      b      c"
    "      d      e      f \n";

constexpr int rule_width = 114;

void print_rule(int width) {
  for (int i = 0; i < width; ++i) putchar('*');
  putchar('\n');
}

}  // namespace

static_assert(sizeof last_edid == edid_size);

const uint8_t* stored_edid() {
  return g_last_edid;
}

}  // namespace zvg::edid

extern "C" {

ZVG_API uint8_t last_edid[256];
ZVG_API uint8_t* g_last_edid = last_edid;

ZVG_API void print_empty_line(int n) {
  for (int i = 0; i < n; ++i) putchar('\n');
}

ZVG_API void edid_print_helper(const uint8_t* bytes, uint32_t count, int store) {
  using namespace zvg::edid;
  const bool keep =
      (store & 0xFF) != 0;  // callers pass a byte-wide flag; what is above it is noise

  fputs(column_header, stdout);
  print_rule(rule_width);
  if (keep) memset(g_last_edid, 0, edid_size);
  for (uint32_t i = 0; i < count; ++i) {
    if (i % bytes_a_row == 0) printf("%04x: ", i);
    printf("0x%02X,  ", bytes[i]);
    // A monitor may have more blocks than the store: all are dumped, the first two are kept.
    if (keep && i < edid_size) g_last_edid[i] = bytes[i];
    if (i % bytes_a_row == bytes_a_row - 1) putchar('\n');
  }
  if (keep) puts("EDID is ready for parsed.");
}

}  // extern "C"
