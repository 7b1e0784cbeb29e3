// Which registers tell a clock's frequency, on both generations.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "power/clock_block.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace {

using namespace zvgtest;

constexpr uint32_t word(unsigned n, unsigned m, unsigned shift) {
  return (n - 1) << 16 | (m - 1) << 8 | shift << 4;
}

TEST(CalcPllout, RoundsToTheNearestMegahertz) {
  EXPECT_EQ(calc_pllout(word(100, 1, 1), 0), 2700);
  EXPECT_EQ(calc_pllout(word(100, 1, 1), 15), 169);  // 168.75
  EXPECT_EQ(calc_pllout(word(100, 1, 3), 1), 338);   // 337.5: a half goes up
  EXPECT_EQ(calc_pllout(word(222, 2, 2), 4), 300);   // 299.7
  EXPECT_EQ(calc_pllout(word(167, 3, 3), 6), 54);    // 53.68
  EXPECT_EQ(calc_pllout(word(512, 1, 0), 0), 27648);
  EXPECT_EQ(calc_pllout(word(1, 32, 7), 15), 0);
}

TEST(CalcPllout, LooksAtItsFieldsOnly) {
  constexpr uint32_t elsewhere = 0xFE00E08F;
  EXPECT_EQ(calc_pllout(word(222, 2, 2) | elsewhere, 4), 300);
  // An input divider of 33 to 64 is decoded with its low five bits.
  EXPECT_EQ(calc_pllout(99u << 16 | 63u << 8 | 0x10, 0), 84);  // as M 32
}

TEST(CalcPllout, SurvivesADividerOfNothing) {
  EXPECT_EQ(calc_pllout(0, UINT32_MAX), 0);
}

// Every PLL has a frequency of its own; post-dividers read 3, 5, 7, 9 ... by their shifts.
constexpr struct {
  ClockRegister reg;
  uint32_t word;
} plls[] = {
    {dev, word(100, 1, 1)},   // 2700
    {dev2, word(80, 1, 1)},   // 2160
    {gpu, word(90, 1, 1)},    // 2430
    {gpu2, word(110, 1, 1)},  // 2970
    {fifth, word(60, 1, 1)},  // 1620
};
constexpr uint32_t post_word =
    0x1C96 << 16 | 0x0A43;  // shift 0: 3, 4: 4, 8: 10, 16: 6, 20: 9, 28: 1

struct Case {
  unsigned clock;
  uint32_t sel;
  uint32_t ctl;
  int mhz;
  Log log;
};

class Frequency : public ClockBlock {
 protected:
  void program_plls() {
    for (const auto& pll : plls) program(pll.reg, pll.word);
    program(post, post_word);
  }

  void expect(const std::vector<Case>& cases, int (*read)(unsigned)) {
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message()
                   << "clock " << c.clock << std::hex << " sel 0x" << c.sel << " ctl 0x" << c.ctl);
      program(sel, c.sel);
      program(ctl, c.ctl);
      EXPECT_EQ(read(c.clock), c.mhz);
      EXPECT_EQ(take(), c.log);
    }
  }
};

TEST_F(Frequency, Rq301) {
  open(0x201);
  program_plls();
  expect(
      {
          // devpll and its post-dividers: A at bit 8, B at 4, C at 0.
          {0, 0, 0x7FFF7FFF, 245, {"r ctl", "r dev", "r post"}},
          {1, 0, 0x7FFF7FFF, 540, {"r ctl", "r dev", "r post"}},
          {2, 0, 0x7FFF7FFF, 675, {"r ctl", "r dev", "r post"}},
          {0, 0, 0x00008000, 27, {"r ctl"}},
          {1, 0, 0x80008000, 27, {"r ctl"}},  // bypassed and off
          {2, 0, 0x80000000, 0, {"r ctl"}},
          // dev2pll, for clock 4 with an enable.
          {3, 0, 0xBFFFBFFD, 2160, {"r ctl", "r dev2"}},
          {3, 0, 0x40004000, 27, {"r ctl"}},
          {3, 0, 0x40000002, 0, {"r ctl"}},
          {4, 0, 0xBFFFBFFF, 2160, {"r ctl", "r dev2"}},
          {4, 0, 0xBFFFBFFD, 0, {"r ctl"}},
          {4, 0, 0x00004002, 27, {"r ctl"}},
          {4, 0, 0x40000002, 0, {"r ctl"}},
          {4, 0, 0x00004000, 27, {"r ctl"}},
          // The 3D core.
          {5, 0x100, 0xEFFFEFFF, 2970, {"r sel", "r ctl", "r gpu2"}},
          {5, 0x100, 0x10001000, 27, {"r sel", "r ctl"}},
          {5, 0x100, 0x00001000, 27, {"r sel", "r ctl"}},
          {5, 0x100, 0x10000000, 0, {"r sel", "r ctl"}},
          {5, 0xFFFFFEFF, 0xDFFFDFFF, 2430, {"r sel", "r ctl", "r gpu"}},
          {5, 0, 0x00000004, 2430, {"r sel", "r ctl", "r gpu"}},
          {5, 0, 0xDFFFDFFB, 0, {"r sel", "r ctl"}},
          {5, 0, 0x00002004, 27, {"r sel", "r ctl"}},
          {5, 0, 0x20000004, 0, {"r sel", "r ctl"}},
          // The shader, the same by bit 9.
          {6, 0x200, 0, 2970, {"r sel", "r ctl", "r gpu2"}},
          {6, 0x200, 0x1000, 27, {"r sel", "r ctl"}},
          {6, 0xFFFFFDFF, 4, 2430, {"r sel", "r ctl", "r gpu"}},
          {6, 0, 0, 0, {"r sel", "r ctl"}},
          // The 2D core.
          {7, 0x400, 0xDFFFDFFF, 2430, {"r sel", "r ctl", "r gpu"}},
          {7, 0x400, 0xDFFFDFF7, 0, {"r sel", "r ctl"}},
          {7, 0x400, 0x00002008, 27, {"r sel", "r ctl"}},
          {7, 0x400, 0x20000008, 0, {"r sel", "r ctl"}},
          {7, 0xFFFFFBFF, 0x7FFF7FFF, 2700, {"r sel", "r ctl", "r dev"}},
          {7, 0, 0x7FFF7FFE, 0, {"r sel", "r ctl"}},
          {7, 0, 0x00008001, 27, {"r sel", "r ctl"}},
          {7, 0, 0x80000001, 0, {"r sel", "r ctl"}},
          // The fifth PLL, whatever the control register says.
          {8, 0, 0xFFFFFFFF, 1620, {"r fifth"}},
      },
      zvg_rq301_get_freq);
}

TEST_F(Frequency, Rq302) {
  open(0x202);
  program_plls();
  expect(
      {
          {0, 1, 0x7FFFFFFF, 675, {"r sel", "r ctl", "r dev", "r post"}},
          {1, 1, 0x7FFFFFFF, 540, {"r sel", "r ctl", "r dev", "r post"}},
          {2, 1, 0x7FFFFFFF, 245, {"r sel", "r ctl", "r dev", "r post"}},
          {0, 1, 0x80000000, 0, {"r sel", "r ctl"}},
          {0, 0xFFFFFFFE, 0, 27, {"r sel"}},
          {1, 0, 0, 27, {"r sel"}},
          {2, 0, 0x80000000, 27, {"r sel"}},
          {3, 1, 0xBFFFFFFF, 309, {"r sel", "r ctl", "r dev2", "r post"}},
          {4, 1, 0xBFFFFFFF, 216, {"r sel", "r ctl", "r dev2", "r post"}},
          {3, 1, 0x40000000, 0, {"r sel", "r ctl"}},
          {4, 1, 0x40000000, 0, {"r sel", "r ctl"}},
          {3, 0, 0, 27, {"r sel"}},
          {4, 0, 0, 27, {"r sel"}},
          {5, 0x100, 0xEFFFFFFF, 2970, {"r sel", "r gpu2", "r ctl"}},
          {5, 0x100, 0x10000000, 0, {"r sel", "r gpu2", "r ctl"}},
          {5, 0xFFFFFEFF, 0xDFFFFFFF, 2430, {"r sel", "r gpu", "r ctl"}},
          {5, 0, 0x20000000, 0, {"r sel", "r gpu", "r ctl"}},
          {6, 0x200, 0, 2970, {"r sel", "r gpu2", "r ctl"}},
          {6, 0x200, 0x10000000, 0, {"r sel", "r gpu2", "r ctl"}},
          {6, 0xFFFFFDFF, 0, 2430, {"r sel", "r gpu", "r ctl"}},
          {6, 0, 0x20000000, 0, {"r sel", "r gpu", "r ctl"}},
          {7, 0x400, 0, 2970, {"r sel", "r gpu2", "r ctl"}},
          {7, 0x400, 0x10000000, 0, {"r sel", "r gpu2", "r ctl"}},
          {7, 0xFFFFFBFF, 0xBFFFFFFF, 1080, {"r sel", "r dev2", "r ctl", "r post"}},
          {7, 0, 0x40000000, 0, {"r sel", "r dev2", "r ctl"}},
          {8, 0, 0xFF3FFFFF, 1620, {"r fifth", "r ctl"}},
          {8, 0, 0x00400000, 0, {"r fifth", "r ctl"}},
          {8, 0, 0x00800000, 0, {"r fifth", "r ctl"}},
      },
      zvg_rq302_get_freq);
}

TEST_F(Frequency, Rq302Bypass) {
  open(0x202);
  program_plls();
  for (const auto& pll : plls) program(pll.reg, pll.word | 0x80000000);
  expect(
      {
          {5, 0x100, 0x10000000, 27, {"r sel", "r gpu2"}},
          {5, 0, 0x20000000, 27, {"r sel", "r gpu"}},
          {6, 0x200, 0, 27, {"r sel", "r gpu2"}},
          {6, 0, 0, 27, {"r sel", "r gpu"}},
          {7, 0x400, 0, 27, {"r sel", "r gpu2"}},
          {7, 0, 0x40000000, 27, {"r sel", "r dev2"}},
          // The clock selection bypasses these; and the fifth PLL takes two bits.
          {0, 1, 0, 675, {"r sel", "r ctl", "r dev", "r post"}},
          {3, 1, 0, 309, {"r sel", "r ctl", "r dev2", "r post"}},
          {8, 0, 0, 1620, {"r fifth", "r ctl"}},
      },
      zvg_rq302_get_freq);
  program(fifth, plls[4].word | 0x40000000);
  expect({{8, 0, 0, 1620, {"r fifth", "r ctl"}}}, zvg_rq302_get_freq);
  program(fifth, plls[4].word | 0xC0000000);
  expect({{8, 0, 0x00C00000, 27, {"r fifth"}}}, zvg_rq302_get_freq);
}

TEST_F(Frequency, UnknownClocksAreRefused) {
  const struct {
    uint32_t device_id;
    int (*read)(unsigned);
    const char* out;
  } cases[] = {
      {0x201, zvg_rq301_get_freq, "zvg_rq301_get_freq: command error\n"},
      {0x201, zvg_rq302_get_freq, "zvg_rq302_get_freq: command error\n"},
      {0x201, zvg_rq300_get_freq, "zvg_rq301_get_freq: command error\n"},
      {0x202, zvg_rq300_get_freq, "zvg_rq302_get_freq: command error\n"},
  };
  for (const auto& c : cases) {
    open(c.device_id);
    for (const unsigned clock : {9u, 10u, UINT32_MAX}) {
      int result = 0;
      const auto output = capture([&] { result = c.read(clock); });
      EXPECT_EQ(result, -1);
      EXPECT_EQ(output.out, c.out);
      EXPECT_EQ(output.err, "");
      EXPECT_EQ(take(), Log{});
    }
  }
}

TEST_F(Frequency, NeutralReadBackFollowsTheDeviceId) {
  // Clock 0 asks for the selection on RQ302 alone. RQ300 counts as RQ301.
  for (const uint32_t id : {0x200u, 0x201u, 0x203u}) {
    open(id);
    zvg_rq300_get_freq(0);
    EXPECT_EQ(take().front(), "r ctl") << id;
  }
  open(0x202);
  zvg_rq300_get_freq(0);
  EXPECT_EQ(take().front(), "r sel");
}

TEST_F(Frequency, BaseIsLookedUpAtEveryAccess) {
  open(0x201);
  zvg_rq301_get_freq(8);
  EXPECT_EQ(node_.take(), Log{"r4 0x308014"});
  zvg_gpu_hardware[ZVG_HW_CLOCK] = 0x1000;
  zvg_rq301_get_freq(8);
  EXPECT_EQ(node_.take(), Log{"r4 0x1014"});
  // Even in the middle of a read-back.
  node_.on_read = [](uint64_t, uint64_t* value) {
    zvg_gpu_hardware[ZVG_HW_CLOCK] += 0x1000;
    *value = 0;
    return true;
  };
  zvg_rq301_get_freq(3);
  EXPECT_EQ(node_.take(), (Log{"r4 0x1000", "r4 0x2008"}));
}

TEST_F(Frequency, Rq302BaseComesWithTheBoard) {
  open(0x202);
  zvg_rq300_get_freq(8);
  EXPECT_EQ(node_.take(), (Log{"r4 0x288014", "r4 0x288000"}));
}

}  // namespace
