// Reads back which frequency a clock runs at: the way from the clock through its selection, its
// PLL's bypass and power-down and the dividers, as a table a generation.
#include <stdio.h>

#include "power/clock_registers.h"

namespace zvg::power {

namespace {

constexpr int reference_mhz = 27;
constexpr int off_mhz = 0;
constexpr int unknown_clock = -1;
constexpr unsigned clocks = 9;

constexpr int no_post_divider = -1;

uint32_t post_divider(int shift) {
  return shift == no_post_divider ? 0 : read_clock(post_dividers) >> shift & 0xF;
}

// RQ301 ---------------------------------------------------------------------------------------

namespace rq301 {

struct Path {
  Register pll;
  uint32_t checked;  // bits of the control register; none: it is not read
  uint32_t running;  // their values when the clock runs from the PLL
  uint32_t bypass;   // which of them tells a bypassed PLL from one that is off
  int post_shift = no_post_divider;
};

struct Source {
  uint32_t select;  // the clock-select bit that chooses; 0: only the second path exists
  Path selected;
  Path plain;
};

constexpr Path gpu2pll_path = {gpu2pll, 0x10001000, 0, 0x1000};
constexpr Path gpupll_3d_path = {gpupll, 0x20002004, 0x4, 0x2000};

// The post-dividers of devpll stand in the opposite order to RQ302's.
constexpr Source sources[clocks] = {
    {0, {}, {devpll, 0x80008000, 0, 0x8000, 8}},
    {0, {}, {devpll, 0x80008000, 0, 0x8000, 4}},
    {0, {}, {devpll, 0x80008000, 0, 0x8000, 0}},
    {0, {}, {dev2pll, 0x40004000, 0, 0x4000}},
    {0, {}, {dev2pll, 0x40004002, 0x2, 0x4000}},
    {select_3d_gpu2pll, gpu2pll_path, gpupll_3d_path},
    {select_shader_gpu2pll, gpu2pll_path, gpupll_3d_path},
    {select_2d, {gpupll, 0x20002008, 0x8, 0x2000}, {devpll, 0x80008001, 0x1, 0x8000}},
    {0, {}, {fifth_pll, 0, 0, 0}},
};

int frequency(const Source& source) {
  const bool selected = source.select != 0 && (read_clock(clock_select) & source.select) != 0;
  const Path& path = selected ? source.selected : source.plain;
  if (path.checked != 0) {
    const uint32_t bits = read_clock(control);
    if ((bits & path.checked) != path.running) {
      return (bits & path.bypass) != 0 ? reference_mhz : off_mhz;
    }
  }
  const uint32_t word = read_clock(path.pll);
  return calc_pllout(word, post_divider(path.post_shift));
}

}  // namespace rq301

// RQ302 ---------------------------------------------------------------------------------------

namespace rq302 {

struct Path {
  Register pll;
  uint32_t bypass;  // bits of the configuration word that are all set when bypassed; 0: no check
  uint32_t off;     // bits of the control register
  int post_shift = no_post_divider;
};

struct Source {
  uint32_t select;  // 0: only the second path exists
  Path selected;
  Path plain;
  bool plain_is_reference = false;
};

constexpr uint32_t devpll_off = 1u << 31;
constexpr uint32_t dev2pll_off = 1u << 30;
constexpr uint32_t gpupll_off = 1u << 29;
constexpr uint32_t gpu2pll_off = 1u << 28;
constexpr uint32_t fifth_pll_off = 3u << 22;
constexpr uint32_t fifth_pll_bypass = 3u << 30;

constexpr Path gpupll_path = {gpupll, config_bypass, gpupll_off};
constexpr Path gpu2pll_path = {gpu2pll, config_bypass, gpu2pll_off};

constexpr Source sources[clocks] = {
    {select_device_plls, {devpll, 0, devpll_off, 0}, {}, true},
    {select_device_plls, {devpll, 0, devpll_off, 4}, {}, true},
    {select_device_plls, {devpll, 0, devpll_off, 8}, {}, true},
    {select_device_plls, {dev2pll, 0, dev2pll_off, 16}, {}, true},
    {select_device_plls, {dev2pll, 0, dev2pll_off, 20}, {}, true},
    {select_3d_gpu2pll, gpu2pll_path, gpupll_path},
    {select_shader_gpu2pll, gpu2pll_path, gpupll_path},
    {select_2d, gpu2pll_path, {dev2pll, config_bypass, dev2pll_off, 28}},
    {0, {}, {fifth_pll, fifth_pll_bypass, fifth_pll_off}},
};

int frequency(const Source& source) {
  const bool selected = source.select != 0 && (read_clock(clock_select) & source.select) != 0;
  if (!selected && source.plain_is_reference) return reference_mhz;
  const Path& path = selected ? source.selected : source.plain;
  uint32_t word = 0;
  if (path.bypass != 0) {
    word = read_clock(path.pll);
    if ((word & path.bypass) == path.bypass) return reference_mhz;
  }
  if ((read_clock(control) & path.off) != 0) return off_mhz;
  if (path.bypass == 0) word = read_clock(path.pll);
  return calc_pllout(word, post_divider(path.post_shift));
}

}  // namespace rq302

int refuse_clock(const char* function) {
  printf("%s: command error\n", function);
  return unknown_clock;
}

}  // namespace

}  // namespace zvg::power

using namespace zvg::power;

int calc_pllout(uint32_t word, uint32_t post_divider) {
  constexpr uint32_t twice_reference_mhz = 54;
  const uint32_t input_divider = (word >> 8 & 0x1F) + 1;
  const uint32_t output_shift = word >> 4 & 0x7;
  const uint32_t multiplier = (word >> 16 & 0x1FF) + 1;
  const uint32_t divider = (input_divider * (post_divider + 1)) << output_shift;
  if (divider == 0) return off_mhz;  // only a post-divider beyond its four bits comes to this
  return static_cast<int>((twice_reference_mhz * multiplier + divider / 2) / divider);
}

int zvg_rq301_get_freq(unsigned clock) {
  return clock < clocks ? rq301::frequency(rq301::sources[clock]) : refuse_clock(__func__);
}

int zvg_rq302_get_freq(unsigned clock) {
  return clock < clocks ? rq302::frequency(rq302::sources[clock]) : refuse_clock(__func__);
}

int zvg_rq300_get_freq(unsigned clock) {
  return has_rq302_clocks() ? zvg_rq302_get_freq(clock) : zvg_rq301_get_freq(clock);
}
