// Powers PLLs on and off and bypasses them: a table of register operations a generation.
#include <stdio.h>

#include <span>

#include "power/clock_registers.h"

namespace zvg::power {

namespace {

enum Mode { power_on = ZVG_CLOCK_POWER_ON, bypass = ZVG_CLOCK_BYPASS, off = ZVG_CLOCK_OFF };

// A register keeps the bits of one mask and gets those of another.
struct Step {
  Register reg;
  uint32_t keep;
  uint32_t set;

  constexpr bool exists() const { return keep != 0; }
};

constexpr Step set(Register reg, uint32_t bits) {
  return {reg, ~0u, bits};
}
constexpr Step clear(Register reg, uint32_t bits) {
  return {reg, ~bits, 0};
}
constexpr Step change(Register reg, uint32_t keep, uint32_t bits) {
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
constexpr Row rq301_rows[] = {
    {bypass, 1, 0, {}, {set(control, 0x8000)}, "devpll bypass set ok"},
    {bypass, 2, 0, {}, {set(control, 0x4000)}, "dev2pll bypass set ok"},
    {bypass, 3, 0, {}, {set(control, 0x2000)}, "gpupll bypass set ok"},
    {bypass, 4, 0, {}, {set(control, 0x1000)}, "gpu2pll bypass set ok"},
    {bypass,
     5,
     select_3d_gpu2pll,
     {set(control, 0x1000)},
     {set(control, 0x2000)},
     "3dcore set bypass frequency ok"},
    {bypass,
     6,
     select_shader_gpu2pll,
     {set(control, 0x2000)},
     {set(control, 0x8000)},
     "2dcore set bypass frequency ok"},
    {off, 1, 0, {}, {set(control, 0x8000)}, "devpll off set ok"},
    {off, 2, 0, {}, {set(control, 0x4000)}, "dev2pll off set ok"},
    {off, 3, 0, {}, {set(control, 0x2000)}, "gpupll off set ok"},
    {off, 4, 0, {}, {set(control, 0x1000)}, "gpu2pll off set ok"},
    {off,
     5,
     select_3d_gpu2pll,
     {change(control, 0xEFFFEFFF, 0x10000000)},
     {clear(control, 0x4)},
     "3dcore off set ok"},
    {off,
     6,
     select_shader_gpu2pll,
     {clear(control, 0x1)},
     {clear(control, 0x8)},
     "2dcore off set ok"},
    {power_on, 1, 0, {}, {change(control, 0x7FFF7FFE, 0x1)}, "devpll power on set ok"},
    {power_on, 2, 0, {}, {change(control, 0xBFFFBFFD, 0x2)}, "dev2pll power on set ok"},
    {power_on, 3, 0, {}, {change(control, 0xDFFFDFF3, 0xC)}, "gpupll power on set ok"},
    {power_on, 4, 0, {}, {change(control, 0xEFFFEFFF, 0)}, "gpu2pll power on set ok"},
    {power_on,
     5,
     select_3d_gpu2pll,
     {change(control, 0xEFFFEFFF, 0)},
     {change(control, 0xDFFFDFFB, 0x4)},
     "3dcore power on set ok"},
    {power_on,
     6,
     select_shader_gpu2pll,
     {change(control, 0xDFFFDFF7, 0x8)},
     {change(control, 0x7FFF7FFE, 0x1)},
     "2dcore power on set ok"},
};

constexpr Row rq302_rows[] = {
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
    {off, 1, 0, {}, {set(control, 0x80000000)}, "devpll off set ok"},
    {off, 2, 0, {}, {set(control, 0x40000000)}, "dev2pll off set ok"},
    {off, 3, 0, {}, {set(control, 0x20000000)}, "gpupll off set ok"},
    {off, 4, 0, {}, {set(control, 0x10000000)}, "gpu2pll offs set ok"},
    {off,
     5,
     select_3d_gpu2pll,
     {change(control, 0xEFFFFFFC, 0x10000000), clear(gpu2pll, config_bypass)},
     {set(control, 0x20000000), clear(gpupll, config_bypass)},
     "3dcore off set ok"},
    {off,
     6,
     select_2d,
     {change(control, 0xEFFFFFFC, 0x10000000), clear(gpu2pll, config_bypass)},
     {change(control, 0xBFFFFFF3, 0x40000000), clear(dev2pll, config_bypass)},
     "2dcore off set ok"},
    {power_on,
     1,
     0,
     {},
     {clear(control, 0x80000000), clear(devpll, config_bypass)},
     "devpll power on set ok"},
    {power_on,
     2,
     0,
     {},
     {clear(dev2pll, config_bypass), change(control, 0xBFFFFFF3, 0xC)},
     "dev2pll power on set ok"},
    {power_on,
     3,
     0,
     {},
     {clear(gpupll, config_bypass), clear(control, 0x20000000)},
     "gpupll power on set ok"},
    {power_on,
     4,
     0,
     {},
     {clear(gpu2pll, config_bypass), change(control, 0xEFFFFFFC, 0x3)},
     "gpu2pll power on set ok"},
    {power_on,
     5,
     select_3d_gpu2pll,
     {change(control, 0xEFFFFFFC, 0x3), clear(gpu2pll, config_bypass)},
     {clear(control, 0x20000000), clear(gpupll, config_bypass)},
     "3dcore power on set ok"},
    {power_on,
     6,
     select_2d,
     {change(control, 0xEFFFFFFC, 0x3), clear(gpu2pll, config_bypass)},
     {change(control, 0xBFFFFFF3, 0xC), clear(dev2pll, config_bypass)},
     "2dcore power on set ok"},
};

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
  const Row* const row = find(rq301_rows, mode, number);
  if (row == nullptr) return unknown_mode;
  carry_out(*row);
  puts(row->message);
  return 0;
}

int zvg_rq302_set_clk_mode(int mode, int number) {
  const Row* const row = find(rq302_rows, mode, number);
  if (row == nullptr) return unknown_mode;
  carry_out(*row);
  return printf("%s\n", row->message);
}

int zvg_rq300_set_clk_mode(int mode, int number) {
  return has_rq302_clocks() ? zvg_rq302_set_clk_mode(mode, number)
                            : zvg_rq301_set_clk_mode(mode, number);
}
