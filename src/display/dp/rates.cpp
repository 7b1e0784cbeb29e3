#include "display/dp/rates.h"

#include <stdio.h>

#include "util_zvg.h"

namespace zvg::display::dp {

namespace {

// 8.1 Gbit/s has an index but is not given back: every mode set of such a sink runs at the lowest
// rate.
constexpr uint32_t rates_for_mode_set = 5;

struct CodeIndex {
  uint32_t code;
  uint32_t index;
};

constexpr CodeIndex code_indices[] = {
    {0x06, 0}, {0x08, 0}, {0x09, 1}, {0x0A, 2}, {0x0C, 3}, {0x10, 3}, {0x14, 4}, {0x1E, 5},
};

}  // namespace

const LinkRate* rate_of_index(uint32_t index) {
  return index < link_rate_count ? &link_rates[index] : nullptr;
}

const LinkRate* rate_of_code(uint32_t code) {
  for (const LinkRate& rate : link_rates) {
    if (rate.code == code) return &rate;
  }
  return nullptr;
}

}  // namespace zvg::display::dp

using namespace zvg::display::dp;

uint32_t zvg_link_clk_to_speed(uint32_t index) {
  return link_rates[index < rates_for_mode_set ? index : 0].code;
}

uint32_t zvg_speed_to_link_clk(uint32_t code) {
  for (const CodeIndex& row : code_indices) {
    if (row.code == code) return row.index;
  }
  fprintf(stderr, "unsupported linkrate speed: %x\n", code);
  return 0;
}
