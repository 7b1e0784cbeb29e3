// The mode operations row by row: accesses in order, what they keep and set, text and result.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

#include "power/clock_block.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace {

using namespace zvgtest;

// A register's new value: (old & keep) | set.
struct Change {
  ClockRegister reg;
  uint32_t keep;
  uint32_t set;
};

constexpr uint32_t all = 0xFFFFFFFF;
constexpr uint32_t low31 = 0x7FFFFFFF;
constexpr uint32_t bit31 = 0x80000000;

struct Row {
  int mode;
  int number;
  uint32_t select;  // the bit that is consulted; 0 for none
  std::vector<Change> when_set;
  std::vector<Change> when_clear;
  const char* message;
};

const Row rq301[] = {
    {1, 1, 0, {}, {{ctl, all, 0x8000}}, "devpll bypass set ok"},
    {1, 2, 0, {}, {{ctl, all, 0x4000}}, "dev2pll bypass set ok"},
    {1, 3, 0, {}, {{ctl, all, 0x2000}}, "gpupll bypass set ok"},
    {1, 4, 0, {}, {{ctl, all, 0x1000}}, "gpu2pll bypass set ok"},
    {1, 5, 0x100, {{ctl, all, 0x1000}}, {{ctl, all, 0x2000}}, "3dcore set bypass frequency ok"},
    {1, 6, 0x200, {{ctl, all, 0x2000}}, {{ctl, all, 0x8000}}, "2dcore set bypass frequency ok"},
    {2, 1, 0, {}, {{ctl, all, 0x8000}}, "devpll off set ok"},
    {2, 2, 0, {}, {{ctl, all, 0x4000}}, "dev2pll off set ok"},
    {2, 3, 0, {}, {{ctl, all, 0x2000}}, "gpupll off set ok"},
    {2, 4, 0, {}, {{ctl, all, 0x1000}}, "gpu2pll off set ok"},
    {2, 5, 0x100, {{ctl, 0xEFFFEFFF, 0x10000000}}, {{ctl, 0xFFFFFFFB, 0}}, "3dcore off set ok"},
    {2, 6, 0x200, {{ctl, 0xFFFFFFFE, 0}}, {{ctl, 0xFFFFFFF7, 0}}, "2dcore off set ok"},
    {0, 1, 0, {}, {{ctl, 0x7FFF7FFE, 0x1}}, "devpll power on set ok"},
    {0, 2, 0, {}, {{ctl, 0xBFFFBFFD, 0x2}}, "dev2pll power on set ok"},
    {0, 3, 0, {}, {{ctl, 0xDFFFDFF3, 0xC}}, "gpupll power on set ok"},
    {0, 4, 0, {}, {{ctl, 0xEFFFEFFF, 0}}, "gpu2pll power on set ok"},
    {0, 5, 0x100, {{ctl, 0xEFFFEFFF, 0}}, {{ctl, 0xDFFFDFFB, 0x4}}, "3dcore power on set ok"},
    {0, 6, 0x200, {{ctl, 0xDFFFDFF7, 0x8}}, {{ctl, 0x7FFF7FFE, 0x1}}, "2dcore power on set ok"},
};

const Row rq302[] = {
    {1, 1, 0, {}, {{dev, all, bit31}}, "devpll bypass set ok"},
    {1, 2, 0, {}, {{dev2, all, bit31}}, "dev2pll bypass set ok"},
    {1, 3, 0, {}, {{gpu, all, bit31}}, "gpupll bypass set ok"},
    {1, 4, 0, {}, {{gpu2, all, bit31}}, "gpu2pll bypass set ok"},
    {1, 5, 0x100, {{gpu2, all, bit31}}, {{gpu, all, bit31}}, "3dcore set bypass frequency ok"},
    {1, 6, 0x400, {{gpu2, all, bit31}}, {{dev2, all, bit31}}, "2dcore set bypass frequency ok"},
    {2, 1, 0, {}, {{ctl, all, 0x80000000}}, "devpll off set ok"},
    {2, 2, 0, {}, {{ctl, all, 0x40000000}}, "dev2pll off set ok"},
    {2, 3, 0, {}, {{ctl, all, 0x20000000}}, "gpupll off set ok"},
    {2, 4, 0, {}, {{ctl, all, 0x10000000}}, "gpu2pll offs set ok"},
    {2,
     5,
     0x100,
     {{ctl, 0xEFFFFFFC, 0x10000000}, {gpu2, low31, 0}},
     {{ctl, all, 0x20000000}, {gpu, low31, 0}},
     "3dcore off set ok"},
    {2,
     6,
     0x400,
     {{ctl, 0xEFFFFFFC, 0x10000000}, {gpu2, low31, 0}},
     {{ctl, 0xBFFFFFF3, 0x40000000}, {dev2, low31, 0}},
     "2dcore off set ok"},
    {0, 1, 0, {}, {{ctl, 0x7FFFFFFF, 0}, {dev, low31, 0}}, "devpll power on set ok"},
    {0, 2, 0, {}, {{dev2, low31, 0}, {ctl, 0xBFFFFFF3, 0xC}}, "dev2pll power on set ok"},
    {0, 3, 0, {}, {{gpu, low31, 0}, {ctl, 0xDFFFFFFF, 0}}, "gpupll power on set ok"},
    {0, 4, 0, {}, {{gpu2, low31, 0}, {ctl, 0xEFFFFFFC, 0x3}}, "gpu2pll power on set ok"},
    {0,
     5,
     0x100,
     {{ctl, 0xEFFFFFFC, 0x3}, {gpu2, low31, 0}},
     {{ctl, 0xDFFFFFFF, 0}, {gpu, low31, 0}},
     "3dcore power on set ok"},
    {0,
     6,
     0x400,
     {{ctl, 0xEFFFFFFC, 0x3}, {gpu2, low31, 0}},
     {{ctl, 0xBFFFFFF3, 0xC}, {dev2, low31, 0}},
     "2dcore power on set ok"},
};

class Modes : public ClockBlock {
 protected:
  // The row with each value of its select bit (and all others against it), and with registers of
  // all zeroes and all ones.
  template <size_t rows>
  void expect(const Row (&table)[rows], int (*set_mode)(int, int), bool returns_length) {
    for (const Row& row : table) {
      for (const bool selected : {false, true}) {
        if (selected && row.select == 0) continue;
        for (const uint32_t old : {0u, 0xFFFFFFFFu}) {
          SCOPED_TRACE(testing::Message() << "mode " << row.mode << " number " << row.number
                                          << " selected " << selected << " old " << old);
          for (const ClockRegister reg : {ctl, dev, dev2, gpu, gpu2, fifth}) program(reg, old);
          program(sel, selected ? row.select : ~row.select);
          Log log;
          if (row.select != 0) log.push_back("r sel");
          for (const Change& change : selected ? row.when_set : row.when_clear) {
            const char* const name = name_of(change.reg);
            log.push_back(std::string("r ") + name);
            log.push_back(write(name, (old & change.keep) | change.set));
          }
          int result = -7;
          const auto output = capture([&] { result = set_mode(row.mode, row.number); });
          EXPECT_EQ(take(), log);
          EXPECT_EQ(output.out, std::string(row.message) + "\n");
          EXPECT_EQ(output.err, "");
          EXPECT_EQ(result, returns_length ? static_cast<int>(strlen(row.message) + 1) : 0);
        }
      }
    }
  }
};

TEST_F(Modes, Rq301) {
  open(0x201);
  expect(rq301, zvg_rq301_set_clk_mode, false);
}

TEST_F(Modes, Rq302) {
  open(0x202);
  expect(rq302, zvg_rq302_set_clk_mode, true);
}

TEST_F(Modes, NeutralFunctionFollowsTheDeviceId) {
  open(0x200);
  expect(rq301, zvg_rq300_set_clk_mode, false);
  open(0x202);
  expect(rq302, zvg_rq300_set_clk_mode, true);
}

TEST_F(Modes, OthersAreRefusedWithoutAWord) {
  for (const uint32_t id : {0x201u, 0x202u}) {
    open(id);
    for (const auto& [mode, number] : {std::pair{0, 0},
                                       {0, 7},
                                       {1, 0},
                                       {1, 7},
                                       {2, 0},
                                       {2, 7},
                                       {3, 1},
                                       {-1, 1},
                                       {3, 6},
                                       {0, -1}}) {
      for (int (*set_mode)(int, int) :
           {zvg_rq301_set_clk_mode, zvg_rq302_set_clk_mode, zvg_rq300_set_clk_mode}) {
        int result = 0;
        const auto output = capture([&, m = mode, n = number] { result = set_mode(m, n); });
        EXPECT_EQ(result, -2) << mode << " " << number;
        EXPECT_EQ(output.out + output.err, "");
        EXPECT_EQ(take(), Log{});
      }
    }
  }
}

}  // namespace
