// Gives clocks a new frequency. A PLL must not be reprogrammed while something runs from it: the
// setters move the clock to the other PLL, program its own, and move it back.
#include <stdio.h>

#include "core/poll.h"
#include "power/clock_registers.h"

namespace zvg::power {

namespace {

// The hardware is not asked how long a lock takes: whoever waits goes on when the reads are used
// up.
void wait_for_lock(uint32_t lock, unsigned reads) {
  core::look_then_wait(reads, core::at_once, [lock] { return (read_clock(pll_lock) & lock) != 0; });
}

// How a generation gives a PLL its configuration word, and how often it looks for the lock.
struct Programming {
  void (*program)(Offset pll, uint32_t word);
  unsigned lock_reads;
};

// Moves a 3D clock to the other of its two PLLs while its own is programmed, and back.
//
// moved: the clock's bit in clock_select.
void set_3d_clock(const Programming& generation, uint32_t moved, uint32_t word) {
  const uint32_t select = read_clock(clock_select);
  const bool on_gpu2pll = (select & moved) != 0;
  write_clock(clock_select, select ^ moved);
  generation.program(on_gpu2pll ? gpu2pll : gpupll, word);
  wait_for_lock(on_gpu2pll ? lock_gpu2pll : lock_gpupll, generation.lock_reads);
  write_clock(clock_select, select);
}

namespace rq301 {

constexpr Programming programming = {write_clock, 1002};

// Here no lock is waited for.
void set_2d_clock(uint32_t word) {
  const uint32_t select = read_clock(clock_select);
  const uint32_t on_gpu2pll = select & select_3d_and_shader;
  if (on_gpu2pll == select_3d_and_shader) {
    write_clock(gpupll, word);
    write_clock(clock_select, select | select_2d);
  } else if (on_gpu2pll != 0) {
    if ((select & select_2d) != 0) {
      write_clock(clock_select, select & ~select_2d);
      write_clock(gpupll, word);
    } else {
      write_clock(clock_select, select | select_2d);
      write_clock(devpll, word);
    }
    write_clock(clock_select, select);
  } else {
    write_clock(gpu2pll, read_clock(gpupll));
    write_clock(clock_select, select | select_3d_and_shader);
    write_clock(gpupll, word);
    write_clock(clock_select, select | select_3d_and_shader | select_2d);
  }
}

}  // namespace rq301

namespace rq302 {

using hw::clocks::tree_rq302::config_bypass;

constexpr unsigned lock_reads = 102;

// The top bits of a configuration word are not the divider search's: of what it found there this
// generation keeps nothing, and of what the register holds the bypass bit.
constexpr uint32_t word_mask = 0x1FFFFFF;

uint32_t merged(uint32_t old, uint32_t word) {
  return (old & config_bypass) | (word & word_mask);
}

void program(Offset pll, uint32_t word) {
  write_clock(pll, merged(read_clock(pll), word));
}

constexpr Programming programming = {program, lock_reads};

void set_2d_clock(uint32_t word) {
  const uint32_t select = read_clock(clock_select);
  const uint32_t on_gpu2pll = select & select_3d_and_shader;
  if (on_gpu2pll == select_3d_and_shader) {
    // The 3D clocks spend the change on gpupll, at the frequency that they have.
    const uint32_t old = read_clock(gpu2pll);
    write_clock(gpupll, old);
    write_clock(clock_select, select & ~select_3d_and_shader);
    write_clock(gpu2pll, merged(old, word));
    wait_for_lock(lock_gpu2pll, lock_reads);
    write_clock(clock_select, select | select_2d);
  } else if (on_gpu2pll == 0) {
    program(gpu2pll, word);
    // The lock of the other PLL, which the 3D clocks run from; its own is not looked at.
    wait_for_lock(lock_gpupll, lock_reads);
    write_clock(clock_select, select | select_2d);
  } else {
    if ((select & select_2d) != 0) {
      write_clock(clock_select, select & ~select_2d);
      program(gpu2pll, word);
      wait_for_lock(lock_gpu2pll, lock_reads);
    } else {
      write_clock(clock_select, select | select_2d);
      program(dev2pll, word);
      wait_for_lock(lock_dev2pll, lock_reads);
    }
    write_clock(clock_select, select);
  }
}

}  // namespace rq302

void set_device_clock(uint32_t word) {
  const uint32_t select = read_clock(clock_select);
  write_clock(clock_select, select | select_device_plls);
  write_clock(devpll, word);
  write_clock(clock_select, select);
}

constexpr char done_3d[] = "3d core clk set ok";
constexpr char done_shader[] = "3d sh clk set ok";
constexpr char done_2d[] = "2d clk set ok";

}  // namespace

}  // namespace zvg::power

using namespace zvg::power;

void zvg_rq301_set_3d_clk_freq(uint32_t word) {
  set_3d_clock(rq301::programming, select_3d_gpu2pll, word);
  puts(done_3d);
}

void zvg_rq301_set_3dsh_clk_freq(uint32_t word) {
  set_3d_clock(rq301::programming, select_shader_gpu2pll, word);
  puts(done_shader);
}

void zvg_rq301_set_2d_clk_freq(uint32_t word) {
  rq301::set_2d_clock(word);
  puts(done_2d);
}

void zvg_rq302_set_3d_clk_freq(uint32_t word) {
  set_3d_clock(rq302::programming, select_3d_gpu2pll, word);
  puts(done_3d);
}

void zvg_rq302_set_3dsh_clk_freq(uint32_t word) {
  set_3d_clock(rq302::programming, select_shader_gpu2pll, word);
  puts(done_shader);
}

void zvg_rq302_set_2d_clk_freq(uint32_t word) {
  rq302::set_2d_clock(word);
  puts(done_2d);
}

void zvg_rq300_set_3d_clk_freq(uint32_t word) {
  has_rq302_clocks() ? zvg_rq302_set_3d_clk_freq(word) : zvg_rq301_set_3d_clk_freq(word);
}

void zvg_rq300_set_3dsh_clk_freq(uint32_t word) {
  has_rq302_clocks() ? zvg_rq302_set_3dsh_clk_freq(word) : zvg_rq301_set_3dsh_clk_freq(word);
}

void zvg_rq300_set_2d_clk_freq(uint32_t word) {
  has_rq302_clocks() ? zvg_rq302_set_2d_clk_freq(word) : zvg_rq301_set_2d_clk_freq(word);
}

void zvg_rq300_set_clk_freq(unsigned clock, uint32_t word) {
  switch (clock) {
    case ZVG_CLOCK_AXI:
      set_device_clock(word);
      puts("axi clk set ok");
      break;
    case ZVG_CLOCK_APB:
      set_device_clock(word);
      puts("apb clk set ok");
      break;
    case ZVG_CLOCK_PCIE:
    case ZVG_CLOCK_VPU:
      write_clock(dev2pll, word);
      puts("pcie/vpu clk set ok");
      break;
    case ZVG_CLOCK_3D:
      zvg_rq300_set_3d_clk_freq(word);
      break;
    case ZVG_CLOCK_3D_SHADER:
      zvg_rq300_set_3dsh_clk_freq(word);
      break;
    case ZVG_CLOCK_2D:
      zvg_rq300_set_2d_clk_freq(word);
      break;
    default:  // the second output of devpll follows the first; others do not exist
      break;
  }
}
