// The clock generators: as registers, and as the library reads and sets them.
#include "devices/clocks/clock_block.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "devices/block_bases.h"
#include "support/board_fixture.h"
#include "support/capture.h"

namespace zvgsim {
namespace {

constexpr uint32_t lock_status = 0x50;

class ClockBlockTest : public zvgtest::BoardFixture {
 protected:
  void power_up_generation(Generation generation, BoardConfig config = {}) {
    config.generation = generation;
    power_up(config);
    base_ = block_bases(generation).clocks;
  }
  uint32_t read(uint32_t reg) { return static_cast<uint32_t>(peek(base_ + reg)); }
  void write(uint32_t reg, uint32_t value) { poke(base_ + reg, value); }
  void pass(uint64_t us) { clock().sleep(microseconds(us)); }

  uint32_t base_ = block_bases(Generation::rq302).clocks;
};

TEST_F(ClockBlockTest, PllsAreLockedAtPowerUp) {
  for (const Generation generation : {Generation::rq300, Generation::rq301, Generation::rq302}) {
    power_up_generation(generation);
    EXPECT_EQ(read(lock_status), 0x70000000u);
  }
}

TEST_F(ClockBlockTest, WrittenPllLosesItsLockForAWhile) {
  const struct {
    uint32_t reg;
    uint32_t lock;
  } plls[] = {{0x08, 1u << 30}, {0x0C, 1u << 29}, {0x10, 1u << 28}};
  for (const auto& pll : plls) {
    write(pll.reg, 0x00590013);
    EXPECT_EQ(read(pll.reg), 0x00590013u);
    EXPECT_EQ(read(lock_status), 0x70000000 & ~pll.lock);
    pass(19);
    EXPECT_EQ(read(lock_status), 0x70000000 & ~pll.lock);
    pass(1);
    EXPECT_EQ(read(lock_status), 0x70000000u);
    // A byte of it is enough.
    poke(base_ + pll.reg + 3, 0x80, 1);
    EXPECT_EQ(read(lock_status), 0x70000000 & ~pll.lock);
    pass(20);
  }
  write(0x04, 0x12);  // devpll reports nothing
  EXPECT_EQ(read(lock_status), 0x70000000u);
}

TEST_F(ClockBlockTest, PoweredDownPllHasNoLock) {
  const struct {
    uint32_t power_down;
    uint32_t lock;
  } plls[] = {{1u << 30, 1u << 30}, {1u << 29, 1u << 29}, {1u << 28, 1u << 28}, {1u << 31, 0}};
  for (const auto& pll : plls) {
    write(0, pll.power_down | 0xF);
    pass(1000);
    EXPECT_EQ(read(lock_status), 0x70000000 & ~pll.lock);
    write(0, 0xF);
    EXPECT_EQ(read(lock_status), 0x70000000 & ~pll.lock);
    pass(20);
    EXPECT_EQ(read(lock_status), 0x70000000u);
  }
}

TEST_F(ClockBlockTest, LockStatusIsReadOnlyAndOtherRegistersAreNot) {
  write(lock_status, 0);
  EXPECT_EQ(read(lock_status), 0x70000000u);
  write(lock_status, 0xFFFFFFFF);
  EXPECT_EQ(read(lock_status), 0x70000000u);
  for (const uint32_t reg : {0x14u, 0x30u, 0x34u, 0x54u, 0x3FCu}) {
    write(reg, 0xA5A50000 | reg);
    EXPECT_EQ(read(reg), 0xA5A50000 | reg);
  }
  EXPECT_EQ(read(lock_status), 0x70000000u);
}

TEST_F(ClockBlockTest, LockTimeAndFaultsComeFromTheBoard) {
  BoardConfig config;
  config.of<ClockSettings>().lock_us = 300;
  config.faults.of<ClockFaults>().never_locks = {false, false, true, false};
  power_up_generation(Generation::rq302, config);
  EXPECT_EQ(read(lock_status), 0x50000000u);
  write(0x0C, 1);
  write(0x10, 1);
  pass(299);
  EXPECT_EQ(read(lock_status), 0x40000000u);
  pass(1);
  EXPECT_EQ(read(lock_status), 0x50000000u);
}

TEST_F(ClockBlockTest, PllWordsComeAsNearAsTheDividersLet) {
  for (const double mhz : {27., 100., 333., 600., 1000., 1333., 1600., 2000.}) {
    const int made = calc_pllout(pll_word(mhz), 0);
    EXPECT_NEAR(made, mhz, 9) << mhz;
  }
  EXPECT_EQ(calc_pllout(pll_word(2700), 0), 2700);
  EXPECT_EQ(pll_word(1), 0u) << "out of reach";
}

// As the library sees it ----------------------------------------------------------------------

class LibraryClocks : public ClockBlockTest,
                      public testing::WithParamInterface<std::pair<Generation, const char*>> {
 protected:
  void SetUp() override {
    BoardConfig config;
    config.of<ClockSettings>() = {594, 486, 999, 432, 1593};
    power_up_generation(GetParam().first, config);
    ASSERT_GE(zvgRwOpen(0), 0);
  }
};

TEST_P(LibraryClocks, ReadBackTheBoardsFrequencies) {
  EXPECT_EQ(zvg_rq300_get_freq(ZVG_CLOCK_AXI), 594);
  EXPECT_EQ(zvg_rq300_get_freq(ZVG_CLOCK_DEVPLL_2), 297);
  EXPECT_NEAR(zvg_rq300_get_freq(ZVG_CLOCK_APB), 594 / 4, 1);
  EXPECT_EQ(zvg_rq300_get_freq(ZVG_CLOCK_PCIE), 486);
  EXPECT_EQ(zvg_rq300_get_freq(ZVG_CLOCK_VPU), 486);
  EXPECT_EQ(zvg_rq300_get_freq(ZVG_CLOCK_3D), 999);
  EXPECT_EQ(zvg_rq300_get_freq(ZVG_CLOCK_3D_SHADER), 999);
  EXPECT_EQ(zvg_rq300_get_freq(ZVG_CLOCK_2D), 432);
  EXPECT_EQ(zvg_rq300_get_freq(ZVG_CLOCK_FIFTH_PLL), 1593);
}

TEST_P(LibraryClocks, SettersWaitForTheLockAndTheFrequencyFollows) {
  uint32_t word = 0;
  // 900 MHz; RQ302 has no post-divider at these clocks.
  ASSERT_EQ(zvg_rq300_pllcalc(27000, 1, 900'000, &word), 0);
  zvgtest::capture([&] {
    for (const unsigned clock : {ZVG_CLOCK_3D, ZVG_CLOCK_3D_SHADER}) {
      trace().start();
      zvg_rq300_set_clk_freq(clock, word);
      char status_read[32];
      snprintf(status_read, sizeof status_read, "r4 mmio 0x%x ", base_ + lock_status);
      const auto log = trace().take();
      const auto reads = std::count_if(log.begin(), log.end(), [&](const std::string& line) {
        return line.starts_with(status_read);
      });
      EXPECT_GT(reads, 10);  // 20 us of them
      EXPECT_LT(reads, 100);
      EXPECT_EQ(read(lock_status), 0x70000000u);
    }
    zvg_rq300_set_clk_freq(ZVG_CLOCK_PCIE, word);
    zvg_rq300_set_clk_freq(ZVG_CLOCK_AXI, word);
  });
  for (const unsigned clock : {ZVG_CLOCK_3D, ZVG_CLOCK_3D_SHADER, ZVG_CLOCK_PCIE, ZVG_CLOCK_AXI}) {
    EXPECT_NEAR(zvg_rq300_get_freq(clock), 900, 1) << clock;
  }
}

TEST_P(LibraryClocks, ModesBypassSwitchOffAndOnAgain) {
  zvgtest::capture([&] {
    const unsigned clock = ZVG_CLOCK_3D;
    constexpr int core_3d = 5;
    EXPECT_GE(zvg_rq300_set_clk_mode(ZVG_CLOCK_BYPASS, core_3d), 0);
    EXPECT_EQ(zvg_rq300_get_freq(clock), 27);
    EXPECT_GE(zvg_rq300_set_clk_mode(ZVG_CLOCK_POWER_ON, core_3d), 0);
    EXPECT_EQ(zvg_rq300_get_freq(clock), 999);
    EXPECT_GE(zvg_rq300_set_clk_mode(ZVG_CLOCK_OFF, core_3d), 0);
    EXPECT_EQ(zvg_rq300_get_freq(clock), 0);
    EXPECT_GE(zvg_rq300_set_clk_mode(ZVG_CLOCK_POWER_ON, core_3d), 0);
    EXPECT_EQ(zvg_rq300_get_freq(clock), 999);
  });
}

INSTANTIATE_TEST_SUITE_P(Generations, LibraryClocks,
                         testing::Values(std::pair{Generation::rq301, "rq301"},
                                         std::pair{Generation::rq302, "rq302"}),
                         [](const auto& instance) { return instance.param.second; });

}  // namespace
}  // namespace zvgsim
