#include "devices/clocks/clock_block.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "board/file_table.h"
#include "devices/block_bases.h"
#include "hw/blocks/clocks.h"

namespace zvgsim {

namespace {

using namespace hw::clocks;

// A PLL powers down by one bit of control, and reports its lock in the same bit of the status.
constexpr struct {
  Offset configuration;
  uint32_t bit;
  bool reports_lock;
} pll_table[plls] = {
    {devpll, off_devpll, false},
    {dev2pll, off_dev2pll, true},
    {gpupll, off_gpupll, true},
    {gpu2pll, off_gpu2pll, true},
};

constexpr uint32_t all_enabled = 0xF;

// What firmware leaves: the device clocks from their PLLs, the 3D clocks and the 2D clock from
// different ones.
constexpr uint32_t rq301_select = select_device_plls | select_3d_and_shader | select_2d;
constexpr uint32_t rq302_select = select_device_plls | select_2d;

// The AXI clock is devpll's, the next output half of it, the APB clock a quarter.
constexpr uint32_t rq301_post_dividers = 0x013;
constexpr uint32_t rq302_post_dividers = 0x310;

constexpr uint64_t end_of(uint64_t offset, unsigned width) {
  return offset + width;
}

constexpr bool touches(uint64_t offset, unsigned width, uint32_t reg) {
  return offset < reg + 4 && end_of(offset, width) > reg;
}

}  // namespace

uint32_t pll_word(double mhz) {
  constexpr double reference = reference_khz / 1000.0;
  uint32_t best = 0;
  double error = INFINITY;
  for (uint32_t input = 1; input <= 3; ++input) {  // 27, 13.5 and 9 MHz at the comparator
    constexpr uint32_t bands[] = {3, 2, 1};
    for (uint32_t shift = 1; shift <= 7; ++shift) {
      const double step = 2 * reference / (input << shift);
      const double multiplier = std::round(mhz / step);
      const double vco = 2 * reference * multiplier / input;
      if (vco < 3000 || vco > 6000 || multiplier < 1 || multiplier > 512) continue;
      if (std::abs(multiplier * step - mhz) >= error) continue;
      error = std::abs(multiplier * step - mhz);
      best = (static_cast<uint32_t>(multiplier) - 1) << 16 | (input - 1) << 8 | shift << 4 |
             bands[input - 1];
    }
  }
  return best;
}

ClockBlock::ClockBlock(Board& board, uint32_t base)
    : board_(board),
      settings_(board.config().of<ClockSettings>()),
      faults_(board.faults().of<ClockFaults>()),
      base_(base) {
  const bool rq302 = hw::chip_of(board.generation()).clock_tree == hw::ClockTree::rq302;
  set_word(control, all_enabled);
  set_word(devpll, pll_word(settings_.axi));
  set_word(dev2pll, pll_word(settings_.vpu));
  set_word(gpupll, pll_word(rq302 ? settings_.core_3d : settings_.core_2d));
  set_word(gpu2pll, pll_word(rq302 ? settings_.core_2d : settings_.core_3d));
  set_word(fifth_pll, pll_word(settings_.ddr));
  set_word(clock_select, rq302 ? rq302_select : rq301_select);
  set_word(post_dividers, rq302 ? rq302_post_dividers : rq301_post_dividers);
  update_lock_status();
}

uint32_t ClockBlock::word(uint32_t offset) const {
  return static_cast<uint32_t>(board_.mmio_storage().read(base_ + offset, 4));
}

void ClockBlock::set_word(uint32_t offset, uint32_t value) {
  board_.mmio_storage().write(base_ + offset, 4, value);
}

void ClockBlock::update_lock_status() {
  uint32_t status = 0;
  for (unsigned i = 0; i < plls; ++i) {
    const auto& pll = pll_table[i];
    const bool powered = (word(control) & pll.bit) == 0;
    const bool locked = powered && board_.clock().now() >= locked_at_[i] && !faults_.never_locks[i];
    if (locked && pll.reports_lock) status |= pll.bit;
  }
  set_word(pll_lock, status);
}

uint64_t ClockBlock::read(uint64_t offset, unsigned width) {
  if (touches(offset, width, pll_lock)) update_lock_status();
  return board_.mmio_storage().read(base_ + offset, width);
}

void ClockBlock::write(uint64_t offset, unsigned width, uint64_t value) {
  const uint32_t old_control = word(control);
  board_.mmio_storage().write(base_ + offset, width, value);
  const uint32_t powered_up = old_control & ~word(control);
  const uint64_t lock_at = board_.clock().now() + microseconds(settings_.lock_us);
  for (unsigned i = 0; i < plls; ++i) {
    if (touches(offset, width, pll_table[i].configuration) || (powered_up & pll_table[i].bit)) {
      locked_at_[i] = lock_at;
    }
  }
  update_lock_status();  // a write to the status changes nothing
}

namespace {

constexpr struct {
  std::string_view name;
} pll_names[plls] = {{"devpll"}, {"dev2pll"}, {"gpupll"}, {"gpu2pll"}};

void read(FileTable& root, BoardConfig& config) {
  root.table("clocks", [&](FileTable& table) {
    auto& clocks = config.of<ClockSettings>();
    table.number("axi", &clocks.axi);
    table.number("vpu", &clocks.vpu);
    table.number("3d", &clocks.core_3d);
    table.number("2d", &clocks.core_2d);
    table.number("ddr", &clocks.ddr);
    table.number("lock_us", &clocks.lock_us, 0, 60'000'000);
  });
}

void read_faults(FileTable& faults, FaultConfig& config) {
  faults.table("clocks", [&](FileTable& table) {
    for (const FileValue& value : table.elements("never_locks", "an array of PLLs")) {
      const auto named = [&](const auto& pll) { return value.text() == pll.name; };
      const auto* const pll = std::find_if(std::begin(pll_names), std::end(pll_names), named);
      if (pll == std::end(pll_names)) {
        value.expected(quoted_names(pll_names));
      } else {
        config.of<ClockFaults>().never_locks[static_cast<size_t>(pll - pll_names)] = true;
      }
    }
  });
}

void place(Board& board) {
  const uint32_t base = block_bases(board.generation()).clocks;
  board.attach(base, ClockBlock::size, std::make_unique<ClockBlock>(board, base));
}

}  // namespace

Model clocks_model() {
  return {.read = read, .read_faults = read_faults, .place = place};
}

}  // namespace zvgsim
