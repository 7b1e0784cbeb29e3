// Powers PLLs on and off and bypasses them: a table of register operations a generation.
#include <stdio.h>

#include <span>

#include "power/clock_registers.h"

namespace zvg::power {

namespace {

enum Mode { power_on = ZVG_CLOCK_POWER_ON, bypass = ZVG_CLOCK_BYPASS, off = ZVG_CLOCK_OFF };

// A register keeps the bits of one mask and gets those of another.
struct Step {
  Offset reg;
  uint32_t keep;
  uint32_t set;

  constexpr bool exists() const { return keep != 0; }
};

constexpr Step set(Offset reg, uint32_t bits) {
  return {reg, ~0u, bits};
}
constexpr Step clear(Offset reg, uint32_t bits) {
  return {reg, ~bits, 0};
}
constexpr Step change(Offset reg, uint32_t keep, uint32_t bits) {
  return {reg, keep, bits};
}

struct Steps {
  Step first{};
  Step second{};
};

struct Row {
  Mode mode;
  int number;
  uint32_t select;  // the clock-select bit that chooses; 0: always the plain steps
  Steps selected;
  Steps plain;
  const char* message;
};

// "Off" of a single PLL is the same operation as "bypass". The 2D rows follow the shader's select
// bit, not the one that the 2D clock reads back from.
namespace rq301 {

using namespace hw::clocks::tree_rq301;

constexpr Row rows[] = {
    {bypass, 1, 0, {}, {set(control, bypass_devpll)}, "devpll bypass set ok"},
    {bypass, 2, 0, {}, {set(control, bypass_dev2pll)}, "dev2pll bypass set ok"},
    {bypass, 3, 0, {}, {set(control, bypass_gpupll)}, "gpupll bypass set ok"},
    {bypass, 4, 0, {}, {set(control, bypass_gpu2pll)}, "gpu2pll bypass set ok"},
    {bypass,
     5,
     select_3d_gpu2pll,
     {set(control, bypass_gpu2pll)},
     {set(control, bypass_gpupll)},
     "3dcore set bypass frequency ok"},
    {bypass,
     6,
     select_shader_gpu2pll,
     {set(control, bypass_gpupll)},
     {set(control, bypass_devpll)},
     "2dcore set bypass frequency ok"},
    {off, 1, 0, {}, {set(control, bypass_devpll)}, "devpll off set ok"},
    {off, 2, 0, {}, {set(control, bypass_dev2pll)}, "dev2pll off set ok"},
    {off, 3, 0, {}, {set(control, bypass_gpupll)}, "gpupll off set ok"},
    {off, 4, 0, {}, {set(control, bypass_gpu2pll)}, "gpu2pll off set ok"},
    {off,
     5,
     select_3d_gpu2pll,
     {change(control, ~(off_gpu2pll | bypass_gpu2pll), off_gpu2pll)},
     {clear(control, enable_gpupll_3d)},
     "3dcore off set ok"},
    {off,
     6,
     select_shader_gpu2pll,
     {clear(control, enable_devpll)},
     {clear(control, enable_gpupll_2d)},
     "2dcore off set ok"},
    {power_on,
     1,
     0,
     {},
     {change(control, ~(off_devpll | bypass_devpll | enable_devpll), enable_devpll)},
     "devpll power on set ok"},
    {power_on,
     2,
     0,
     {},
     {change(control, ~(off_dev2pll | bypass_dev2pll | enable_dev2pll), enable_dev2pll)},
     "dev2pll power on set ok"},
    {power_on,
     3,
     0,
     {},
     {change(control, ~(off_gpupll | bypass_gpupll | enable_gpupll), enable_gpupll)},
     "gpupll power on set ok"},
    {power_on,
     4,
     0,
     {},
     {change(control, ~(off_gpu2pll | bypass_gpu2pll), 0)},
     "gpu2pll power on set ok"},
    {power_on,
     5,
     select_3d_gpu2pll,
     {change(control, ~(off_gpu2pll | bypass_gpu2pll), 0)},
     {change(control, ~(off_gpupll | bypass_gpupll | enable_gpupll_3d), enable_gpupll_3d)},
     "3dcore power on set ok"},
    {power_on,
     6,
     select_shader_gpu2pll,
     {change(control, ~(off_gpupll | bypass_gpupll | enable_gpupll_2d), enable_gpupll_2d)},
     {change(control, ~(off_devpll | bypass_devpll | enable_devpll), enable_devpll)},
     "2dcore power on set ok"},
};

}  // namespace rq301

namespace rq302 {

using namespace hw::clocks::tree_rq302;

constexpr Row rows[] = {
    {bypass, 1, 0, {}, {set(devpll, config_bypass)}, "devpll bypass set ok"},
    {bypass, 2, 0, {}, {set(dev2pll, config_bypass)}, "dev2pll bypass set ok"},
    {bypass, 3, 0, {}, {set(gpupll, config_bypass)}, "gpupll bypass set ok"},
    {bypass, 4, 0, {}, {set(gpu2pll, config_bypass)}, "gpu2pll bypass set ok"},
    {bypass,
     5,
     select_3d_gpu2pll,
     {set(gpu2pll, config_bypass)},
     {set(gpupll, config_bypass)},
     "3dcore set bypass frequency ok"},
    {bypass,
     6,
     select_2d,
     {set(gpu2pll, config_bypass)},
     {set(dev2pll, config_bypass)},
     "2dcore set bypass frequency ok"},
    {off, 1, 0, {}, {set(control, off_devpll)}, "devpll off set ok"},
    {off, 2, 0, {}, {set(control, off_dev2pll)}, "dev2pll off set ok"},
    {off, 3, 0, {}, {set(control, off_gpupll)}, "gpupll off set ok"},
    {off, 4, 0, {}, {set(control, off_gpu2pll)}, "gpu2pll offs set ok"},
    {off,
     5,
     select_3d_gpu2pll,
     {change(control, ~(off_gpu2pll | enable_gpu2pll), off_gpu2pll), clear(gpu2pll, config_bypass)},
     {set(control, off_gpupll), clear(gpupll, config_bypass)},
     "3dcore off set ok"},
    {off,
     6,
     select_2d,
     {change(control, ~(off_gpu2pll | enable_gpu2pll), off_gpu2pll), clear(gpu2pll, config_bypass)},
     {change(control, ~(off_dev2pll | enable_dev2pll), off_dev2pll), clear(dev2pll, config_bypass)},
     "2dcore off set ok"},
    {power_on,
     1,
     0,
     {},
     {clear(control, off_devpll), clear(devpll, config_bypass)},
     "devpll power on set ok"},
    {power_on,
     2,
     0,
     {},
     {clear(dev2pll, config_bypass),
      change(control, ~(off_dev2pll | enable_dev2pll), enable_dev2pll)},
     "dev2pll power on set ok"},
    {power_on,
     3,
     0,
     {},
     {clear(gpupll, config_bypass), clear(control, off_gpupll)},
     "gpupll power on set ok"},
    {power_on,
     4,
     0,
     {},
     {clear(gpu2pll, config_bypass),
      change(control, ~(off_gpu2pll | enable_gpu2pll), enable_gpu2pll)},
     "gpu2pll power on set ok"},
    {power_on,
     5,
     select_3d_gpu2pll,
     {change(control, ~(off_gpu2pll | enable_gpu2pll), enable_gpu2pll),
      clear(gpu2pll, config_bypass)},
     {clear(control, off_gpupll), clear(gpupll, config_bypass)},
     "3dcore power on set ok"},
    {power_on,
     6,
     select_2d,
     {change(control, ~(off_gpu2pll | enable_gpu2pll), enable_gpu2pll),
      clear(gpu2pll, config_bypass)},
     {change(control, ~(off_dev2pll | enable_dev2pll), enable_dev2pll),
      clear(dev2pll, config_bypass)},
     "2dcore power on set ok"},
};

}  // namespace rq302

constexpr int unknown_mode = -2;

const Row* find(std::span<const Row> rows, int mode, int number) {
  for (const Row& row : rows) {
    if (row.mode == mode && row.number == number) return &row;
  }
  return nullptr;
}

void carry_out(const Step& step) {
  if (step.exists()) write_clock(step.reg, (read_clock(step.reg) & step.keep) | step.set);
}

void carry_out(const Row& row) {
  const bool selected = row.select != 0 && (read_clock(clock_select) & row.select) != 0;
  const Steps& steps = selected ? row.selected : row.plain;
  carry_out(steps.first);
  carry_out(steps.second);
}

}  // namespace

}  // namespace zvg::power

using namespace zvg::power;

int zvg_rq301_set_clk_mode(int mode, int number) {
  const Row* const row = find(rq301::rows, mode, number);
  if (row == nullptr) return unknown_mode;
  carry_out(*row);
  puts(row->message);
  return 0;
}

int zvg_rq302_set_clk_mode(int mode, int number) {
  const Row* const row = find(rq302::rows, mode, number);
  if (row == nullptr) return unknown_mode;
  carry_out(*row);
  return printf("%s\n", row->message);
}

int zvg_rq300_set_clk_mode(int mode, int number) {
  return has_rq302_clocks() ? zvg_rq302_set_clk_mode(mode, number)
                            : zvg_rq301_set_clk_mode(mode, number);
}
