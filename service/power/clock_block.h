// The clocks of the chip by name, and how each comes from its PLL.
#ifndef ZVG_SERVICE_POWER_CLOCK_BLOCK_H
#define ZVG_SERVICE_POWER_CLOCK_BLOCK_H

#include <cstdint>
#include <string>

#include "service/board/board.h"

namespace zvg {

struct ClockName {
  const char* name;
  const char* description;
  unsigned number;  // enum zvg_clock
};

constexpr unsigned clock_count = 9;
extern const ClockName clock_names[clock_count];

struct PllName {
  const char* name;
  uint32_t offset;    // of its configuration word
  uint32_t lock_bit;  // 0: it does not tell
  uint32_t power_down;
};

constexpr unsigned pll_count = 5;
extern const PllName pll_names[pll_count];

// Offsets in the clock block.
constexpr uint32_t clock_control = 0x00;
constexpr uint32_t clock_select = 0x30;
constexpr uint32_t clock_post_dividers = 0x34;
constexpr uint32_t clock_lock = 0x50;

// The clock of a command line. Throws an Error (bad_argument).
const ClockName& parse_clock(const std::string& text);

uint32_t read_clock_register(Board& board, uint32_t offset);

// What stands between a clock's PLL and the clock: 1 to 16.
unsigned post_divider_of(Board& board, unsigned clock);

// A frequency as the library reads it back: "900", "27 (bypassed)" or "off"; with a unit, "900
// MHz" and so on.
std::string mhz_text(int mhz, const char* unit = "");

}  // namespace zvg

#endif  // ZVG_SERVICE_POWER_CLOCK_BLOCK_H
