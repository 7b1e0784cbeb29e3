// Reads back which frequency a clock runs at: the way from the clock through its selection, its
// PLL's bypass and power-down and the dividers, as a table a generation.
#include <stdio.h>

#include "power/clock_registers.h"

namespace zvg::power {

namespace {

constexpr int reference_mhz = reference_khz / 1000;
constexpr int off_mhz = 0;
constexpr int unknown_clock = -1;
constexpr unsigned clocks = 9;

constexpr int no_post_divider = -1;

uint32_t post_divider(int shift) {
  return shift == no_post_divider ? 0 : read_clock(post_dividers) >> shift & 0xF;
}

// RQ301 ---------------------------------------------------------------------------------------

namespace rq301 {

using namespace hw::clocks::tree_rq301;

struct Path {
  Offset pll;
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

constexpr Path gpu2pll_path = {gpu2pll, off_gpu2pll | bypass_gpu2pll, 0, bypass_gpu2pll};
constexpr Path gpupll_3d_path = {gpupll, off_gpupll | bypass_gpupll | enable_gpupll_3d,
                                 enable_gpupll_3d, bypass_gpupll};

// The post-dividers of devpll stand in the opposite order to RQ302's.
constexpr Source sources[clocks] = {
    {0, {}, {devpll, off_devpll | bypass_devpll, 0, bypass_devpll, 8}},
    {0, {}, {devpll, off_devpll | bypass_devpll, 0, bypass_devpll, 4}},
    {0, {}, {devpll, off_devpll | bypass_devpll, 0, bypass_devpll, 0}},
    {0, {}, {dev2pll, off_dev2pll | bypass_dev2pll, 0, bypass_dev2pll}},
    {0,
     {},
     {dev2pll, off_dev2pll | bypass_dev2pll | enable_dev2pll, enable_dev2pll, bypass_dev2pll}},
    {select_3d_gpu2pll, gpu2pll_path, gpupll_3d_path},
    {select_shader_gpu2pll, gpu2pll_path, gpupll_3d_path},
    {select_2d,
     {gpupll, off_gpupll | bypass_gpupll | enable_gpupll_2d, enable_gpupll_2d, bypass_gpupll},
     {devpll, off_devpll | bypass_devpll | enable_devpll, enable_devpll, bypass_devpll}},
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

using namespace hw::clocks::tree_rq302;

struct Path {
  Offset pll;
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

constexpr Path gpupll_path = {gpupll, config_bypass, off_gpupll};
constexpr Path gpu2pll_path = {gpu2pll, config_bypass, off_gpu2pll};

constexpr Source sources[clocks] = {
    {select_device_plls, {devpll, 0, off_devpll, 0}, {}, true},
    {select_device_plls, {devpll, 0, off_devpll, 4}, {}, true},
    {select_device_plls, {devpll, 0, off_devpll, 8}, {}, true},
    {select_device_plls, {dev2pll, 0, off_dev2pll, 16}, {}, true},
    {select_device_plls, {dev2pll, 0, off_dev2pll, 20}, {}, true},
    {select_3d_gpu2pll, gpu2pll_path, gpupll_path},
    {select_shader_gpu2pll, gpu2pll_path, gpupll_path},
    {select_2d, gpu2pll_path, {dev2pll, config_bypass, off_dev2pll, 28}},
    {0, {}, {fifth_pll, config_bypass_fifth_pll, off_fifth_pll}},
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
  constexpr uint32_t twice_reference_mhz = 2 * reference_mhz;
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
