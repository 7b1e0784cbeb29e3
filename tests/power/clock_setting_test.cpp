// The frequency setters, access by access.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "power/clock_block.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace {

using namespace zvgtest;

// All bits set, so that whatever is kept or masked shows.
constexpr uint32_t word = 0xFFFFFFFF;
constexpr uint32_t kept_off = 0x01FFFFFF;  // on RQ302, with a PLL that was not bypassed
constexpr uint32_t kept_on = 0x81FFFFFF;   // and with one that was
constexpr uint32_t old_off = 0x12345678;
constexpr uint32_t old_on = 0x92345678;

Log operator+(Log a, const Log& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Log reads_of_lock(size_t count) {
  return Log(count, "r lock");
}

class Setting : public ClockBlock {
 protected:
  // Runs a setter with a clock selection; every PLL reports its lock from the n-th read on.
  Log run(uint32_t selection, void (*set)(uint32_t), int locks_at_read = 1) {
    program(sel, selection);
    reads_ = 0;
    node_.on_read = [this, locks_at_read](uint64_t offset, uint64_t* value) {
      if (offset != base() + lock) return false;
      *value = ++reads_ >= locks_at_read ? locks_ : ~locks_;
      return true;
    };
    const auto output = capture([&] { set(word); });
    out_ = output.out;
    EXPECT_EQ(output.err, "");
    return take();
  }

  int reads_ = 0;
  uint32_t locks_ = 0x70000000;
  std::string out_;
};

class Rq301Setting : public Setting {
 protected:
  void SetUp() override { open(0x201); }
};

class Rq302Setting : public Setting {
 protected:
  void SetUp() override {
    open(0x202);
    for (const ClockRegister reg : {dev, dev2, gpu, gpu2}) program(reg, old_off);
  }
};

struct Clock3d {
  void (*set)(uint32_t);
  uint32_t bit;
  const char* message;
};

TEST_F(Rq301Setting, ThreeDMovesToTheOtherPllAndBack) {
  for (const Clock3d& c : {Clock3d{zvg_rq301_set_3d_clk_freq, 0x100, "3d core clk set ok\n"},
                           Clock3d{zvg_rq301_set_3dsh_clk_freq, 0x200, "3d sh clk set ok\n"}}) {
    EXPECT_EQ(run(0xFFFFFFFF, c.set), (Log{"r sel", write("sel", ~c.bit), "w gpu2 0xffffffff",
                                           "r lock", "w sel 0xffffffff"}));
    EXPECT_EQ(out_, c.message);
    EXPECT_EQ(run(~c.bit, c.set), (Log{"r sel", "w sel 0xffffffff", "w gpu 0xffffffff", "r lock",
                                       write("sel", ~c.bit)}));
    EXPECT_EQ(out_, c.message);
  }
}

TEST_F(Rq302Setting, ThreeDMovesToTheOtherPllAndBack) {
  for (const Clock3d& c : {Clock3d{zvg_rq302_set_3d_clk_freq, 0x100, "3d core clk set ok\n"},
                           Clock3d{zvg_rq302_set_3dsh_clk_freq, 0x200, "3d sh clk set ok\n"}}) {
    for (const auto& [old, now] : {std::pair{old_off, kept_off}, {old_on, kept_on}}) {
      program(gpu, old);
      program(gpu2, old);
      EXPECT_EQ(run(0xFFFFFFFF, c.set), (Log{"r sel", write("sel", ~c.bit), "r gpu2",
                                             write("gpu2", now), "r lock", "w sel 0xffffffff"}));
      EXPECT_EQ(out_, c.message);
      EXPECT_EQ(run(~c.bit, c.set), (Log{"r sel", "w sel 0xffffffff", "r gpu", write("gpu", now),
                                         "r lock", write("sel", ~c.bit)}));
      EXPECT_EQ(content(sel), ~c.bit);
    }
  }
}

TEST_F(Rq301Setting, ThreeDWaitsForItsOwnLockOnly) {
  locks_ = 0x10000000;
  EXPECT_EQ(
      run(0x100, zvg_rq301_set_3d_clk_freq, 3),
      (Log{"r sel", "w sel 0x0", "w gpu2 0xffffffff"} + reads_of_lock(3) + Log{"w sel 0x100"}));
  locks_ = 0x20000000;
  EXPECT_EQ(run(0, zvg_rq301_set_3d_clk_freq, 3), (Log{"r sel", "w sel 0x100", "w gpu 0xffffffff"} +
                                                   reads_of_lock(3) + Log{"w sel 0x0"}));
}

TEST_F(Rq301Setting, ThreeDGoesOnWithoutALockAfter1002Reads) {
  const auto never = 100'000;
  locks_ = 0x20000000;
  const Log log = run(0, zvg_rq301_set_3d_clk_freq, never);
  EXPECT_EQ(log, (Log{"r sel", "w sel 0x100", "w gpu 0xffffffff"} + reads_of_lock(1002) +
                  Log{"w sel 0x0"}));
  EXPECT_EQ(out_, "3d core clk set ok\n");
  EXPECT_EQ(node_.slept_us, 0u);
}

TEST_F(Rq302Setting, ThreeDGoesOnWithoutALockAfter102Reads) {
  locks_ = 0x10000000;
  EXPECT_EQ(run(0x200, zvg_rq302_set_3dsh_clk_freq, 100'000),
            (Log{"r sel", "w sel 0x0", "r gpu2", write("gpu2", kept_off)} + reads_of_lock(102) +
             Log{"w sel 0x200"}));
  locks_ = 0x20000000;
  EXPECT_EQ(run(0, zvg_rq302_set_3dsh_clk_freq, 102).size(), 4 + 102 + 1u);
  EXPECT_EQ(run(0, zvg_rq302_set_3dsh_clk_freq, 101).size(), 4 + 101 + 1u);
  EXPECT_EQ(node_.slept_us, 0u);
}

TEST_F(Rq302Setting, TwoDWithBoth3dClocksOnGpu2pllMovesThemAway) {
  locks_ = 0x10000000;
  program(gpu2, old_on);
  EXPECT_EQ(run(0x301, zvg_rq302_set_2d_clk_freq, 2),
            (Log{"r sel", "r gpu2", write("gpu", old_on), "w sel 0x1", write("gpu2", kept_on),
                 "r lock", "r lock", "w sel 0x701"}));
  EXPECT_EQ(out_, "2d clk set ok\n");
  program(gpu2, old_off);
  EXPECT_EQ(run(0x700, zvg_rq302_set_2d_clk_freq),
            (Log{"r sel", "r gpu2", write("gpu", old_off), "w sel 0x400", write("gpu2", kept_off),
                 "r lock", "w sel 0x700"}));
}

TEST_F(Rq302Setting, TwoDWithNo3dClockOnGpu2pllWaitsForGpupll) {
  locks_ = 0x20000000;
  EXPECT_EQ(
      run(0x1, zvg_rq302_set_2d_clk_freq, 4),
      (Log{"r sel", "r gpu2", write("gpu2", kept_off)} + reads_of_lock(4) + Log{"w sel 0x401"}));
  EXPECT_EQ(out_, "2d clk set ok\n");
  program(gpu2, old_on);
  EXPECT_EQ(run(0x400, zvg_rq302_set_2d_clk_freq),
            (Log{"r sel", "r gpu2", write("gpu2", kept_on), "r lock", "w sel 0x400"}));
}

TEST_F(Rq302Setting, TwoDWithOne3dClockOnGpu2pllStaysWhereItIs) {
  for (const uint32_t one : {0x100u, 0x200u}) {
    locks_ = 0x10000000;
    program(gpu2, old_on);
    EXPECT_EQ(run(one | 0x400, zvg_rq302_set_2d_clk_freq, 3),
              (Log{"r sel", write("sel", one), "r gpu2", write("gpu2", kept_on)} +
               reads_of_lock(3) + Log{write("sel", one | 0x400)}));
    locks_ = 0x40000000;
    program(dev2, old_off);
    EXPECT_EQ(run(one, zvg_rq302_set_2d_clk_freq, 3),
              (Log{"r sel", write("sel", one | 0x400), "r dev2", write("dev2", kept_off)} +
               reads_of_lock(3) + Log{write("sel", one)}));
    EXPECT_EQ(out_, "2d clk set ok\n");
  }
}

TEST_F(Rq301Setting, TwoDByWhereThe3dClocksRun) {
  EXPECT_EQ(run(0x301, zvg_rq301_set_2d_clk_freq),
            (Log{"r sel", "w gpu 0xffffffff", "w sel 0x701"}));
  EXPECT_EQ(out_, "2d clk set ok\n");
  for (const uint32_t one : {0x100u, 0x200u}) {
    EXPECT_EQ(run(one | 0x400, zvg_rq301_set_2d_clk_freq),
              (Log{"r sel", write("sel", one), "w gpu 0xffffffff", write("sel", one | 0x400)}));
    EXPECT_EQ(run(one, zvg_rq301_set_2d_clk_freq),
              (Log{"r sel", write("sel", one | 0x400), "w dev 0xffffffff", write("sel", one)}));
  }
  program(gpu, 0xABCD1234);
  EXPECT_EQ(run(0x1, zvg_rq301_set_2d_clk_freq),
            (Log{"r sel", "r gpu", "w gpu2 0xabcd1234", "w sel 0x301", "w gpu 0xffffffff",
                 "w sel 0x701"}));
  EXPECT_EQ(out_, "2d clk set ok\n");
}

class AnySetting : public Setting, public testing::WithParamInterface<uint32_t> {
 protected:
  void SetUp() override { open(GetParam()); }

  Log run_any(unsigned clock, uint32_t value) {
    const auto output = capture([&] { zvg_rq300_set_clk_freq(clock, value); });
    out_ = output.out;
    EXPECT_EQ(output.err, "");
    return take();
  }
};

TEST_P(AnySetting, DevpllClocksRunFromItWhileItIsWritten) {
  program(sel, 0x700);
  const Log log = {"r sel", "w sel 0x701", "w dev 0xffffffff", "w sel 0x700"};
  EXPECT_EQ(run_any(0, word), log);
  EXPECT_EQ(out_, "axi clk set ok\n");
  EXPECT_EQ(run_any(2, word), log);
  EXPECT_EQ(out_, "apb clk set ok\n");
  program(sel, 0x1);
  EXPECT_EQ(run_any(0, 0x12), (Log{"r sel", "w sel 0x1", "w dev 0x12", "w sel 0x1"}));
}

TEST_P(AnySetting, Dev2pllClocksAreOneWrite) {
  for (const unsigned clock : {3u, 4u}) {
    EXPECT_EQ(run_any(clock, word), Log{"w dev2 0xffffffff"});
    EXPECT_EQ(out_, "pcie/vpu clk set ok\n");
  }
}

TEST_P(AnySetting, OtherNumbersDoNothing) {
  for (const unsigned clock : {1u, 8u, 9u, UINT32_MAX}) {
    EXPECT_EQ(run_any(clock, word), Log{});
    EXPECT_EQ(out_, "");
  }
}

TEST_P(AnySetting, CoreClocksGoToTheGenerationsSetters) {
  const struct {
    unsigned clock;
    void (*neutral)(uint32_t);
    void (*rq301)(uint32_t);
    void (*rq302)(uint32_t);
    const char* message;
  } cases[] = {
      {5, zvg_rq300_set_3d_clk_freq, zvg_rq301_set_3d_clk_freq, zvg_rq302_set_3d_clk_freq,
       "3d core clk set ok\n"},
      {6, zvg_rq300_set_3dsh_clk_freq, zvg_rq301_set_3dsh_clk_freq, zvg_rq302_set_3dsh_clk_freq,
       "3d sh clk set ok\n"},
      {7, zvg_rq300_set_2d_clk_freq, zvg_rq301_set_2d_clk_freq, zvg_rq302_set_2d_clk_freq,
       "2d clk set ok\n"},
  };
  // Bypassed already, so that no setter finds what another one left.
  for (const ClockRegister reg : {dev, dev2, gpu, gpu2}) program(reg, old_on);
  for (const auto& c : cases) {
    const bool is_rq302 = GetParam() == 0x202;
    const Log own = run(0x100, is_rq302 ? c.rq302 : c.rq301);
    EXPECT_NE(run(0x100, is_rq302 ? c.rq301 : c.rq302), own);
    EXPECT_EQ(run(0x100, c.neutral), own);
    EXPECT_EQ(out_, c.message);
    program(sel, 0x100);
    EXPECT_EQ(run_any(c.clock, word), own);
    EXPECT_EQ(out_, c.message);
  }
}

INSTANTIATE_TEST_SUITE_P(Generations, AnySetting, testing::Values(0x200, 0x201, 0x202));

}  // namespace
