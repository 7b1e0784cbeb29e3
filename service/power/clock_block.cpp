#include "service/power/clock_block.h"

#include <util_zvg.h>

#include "service/board/error.h"

namespace zvg {

const ClockName clock_names[clock_count] = {
    {"axi", "AXI bus", ZVG_CLOCK_AXI},
    {"dev2", "devpll, second", ZVG_CLOCK_DEVPLL_2},
    {"apb", "APB bus", ZVG_CLOCK_APB},
    {"pcie", "PCIe", ZVG_CLOCK_PCIE},
    {"vpu", "video processor", ZVG_CLOCK_VPU},
    {"3d", "3D core", ZVG_CLOCK_3D},
    {"shader", "3D shader", ZVG_CLOCK_3D_SHADER},
    {"2d", "2D core", ZVG_CLOCK_2D},
    {"pll5", "fifth PLL", ZVG_CLOCK_FIFTH_PLL},
};

const PllName pll_names[pll_count] = {
    {"devpll", 0x04, 0, 1u << 31},
    {"dev2pll", 0x08, 1u << 30, 1u << 30},
    {"gpupll", 0x0C, 1u << 29, 1u << 29},
    {"gpu2pll", 0x10, 1u << 28, 1u << 28},
    {"pll5", 0x14, 0, 0},
};

const ClockName& parse_clock(const std::string& text) {
  std::string known;
  for (const ClockName& clock : clock_names) {
    if (text == clock.name) return clock;
    known += std::string(known.empty() ? "" : ", ") + clock.name;
  }
  throw_error(ErrorKind::bad_argument, "there is no clock '%s'; known are %s", text.c_str(),
              known.c_str());
}

uint32_t read_clock_register(Board& board, uint32_t offset) {
  return static_cast<uint32_t>(board.read_register(zvg_gpu_hardware[ZVG_HW_CLOCK] + offset, 4));
}

unsigned post_divider_of(Board& board, unsigned clock) {
  constexpr int none = -1;
  constexpr int rq301_shifts[clock_count] = {8, 4, 0, none, none, none, none, none, none};
  constexpr int rq302_shifts[clock_count] = {0, 4, 8, 16, 20, none, none, none, none};
  const bool rq302 = get_device_id() == ZVG_DEVICE_RQ302;
  int shift = rq302 ? rq302_shifts[clock] : rq301_shifts[clock];
  if (rq302 && clock == ZVG_CLOCK_2D) {
    // The 2D clock stays on dev2pll only while exactly one 3D clock runs from gpu2pll.
    const uint32_t select = read_clock_register(board, clock_select);
    const bool one = (select & 0x300) == 0x100 || (select & 0x300) == 0x200;
    if (one && (select & 0x400) == 0) shift = 28;
  }
  if (shift == none) return 1;
  return (read_clock_register(board, clock_post_dividers) >> shift & 0xF) + 1;
}

std::string mhz_text(int mhz, const char* unit) {
  constexpr int off = 0, bypassed = 27;
  if (mhz == off) return "off";
  return std::to_string(mhz) + unit + (mhz == bypassed ? " (bypassed)" : "");
}

}  // namespace zvg
