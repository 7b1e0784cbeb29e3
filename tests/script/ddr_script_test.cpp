// DDR scripts: what differs from register scripts.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "support/scratch.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::RegisterNode;

class DdrScript : public testing::Test {
 protected:
  void SetUp() override { node_.open(); }

  zvgtest::Output run(const std::string& content, unsigned mask = 0x3) {
    const std::string path = scratch_.file("script.txt", content);
    return capture([&] { EXPECT_EQ(zvgDdrRunScript(path.c_str(), mask), 0); });
  }

  zvgtest::Scratch scratch_;
  RegisterNode node_;
};

TEST_F(DdrScript, PrintsItsNameEvenWithoutAFile) {
  int result = 0;
  const auto output = capture([&] { result = zvgDdrRunScript("/nonexistent/script", 1); });
  EXPECT_EQ(result, -ENOENT);
  EXPECT_EQ(output.out, "zvgDdrRunScript\n");
  EXPECT_EQ(output.err, "open file \"/nonexistent/script\" failed, No such file or directory\n");
}

TEST_F(DdrScript, EveryAccessIsLongOnTheSelectedChannels) {
  run("3C0010 12345678 W 0 8\n3C8020 0 r FFFFFFFF 5\n");
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x3c0010 0x12345678", "w4 0x3c8010 0x12345678",
                                        "r4 0x3c0020", "r4 0x3c8020"));
}

TEST_F(DdrScript, CommonLinesAreThoseOfScripts) {
  const auto output = run("# comment\n/ comment\n\r\nusleep 4\nmsleep 2\nssleep 1\necho %x done\n");
  EXPECT_EQ(output.out, "zvgDdrRunScript\n %x done\n");
  EXPECT_THAT(node_.take(), ElementsAre("usleep 4", "usleep 2000", "usleep 1000000"));
}

TEST_F(DdrScript, LongDelaysAreWaitedFor) {
  node_.quiet = true;
  run("msleep 4294968\nmsleep off (was 50)\n");
  EXPECT_EQ(node_.slept_us, 4294968000u);
}

TEST_F(DdrScript, OnlyWritesAndPollsExist) {
  const auto output =
      run("3C0010 1 C 1 32\n3C0010 1 N 1 32\n3C0010 1 S 1 32\n3C0010 1 w 0 32\n", 1);
  EXPECT_EQ(output.err,
            "1 3C0010 1 C 1 32\n: Operation character error!\n"
            "2 3C0010 1 N 1 32\n: Operation character error!\n"
            "3 3C0010 1 S 1 32\n: Operation character error!\n");
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x3c0010 0x1"));
}

TEST_F(DdrScript, FailedWriteStops) {
  node_.result = [](bool, uint64_t) { return -1; };
  const auto output = run("3C0010 AB W 0 32\n3C0010 1 W 0 32\n");
  EXPECT_EQ(output.err,
            "zvg_ddr_ctr_write: write 0xab to [0x3c0010] failed\n"
            "1: write reg [3c0010] ab failed, exit script!\n");
  EXPECT_EQ(node_.take().size(), 1u);
}

TEST_F(DdrScript, FailedReadStops) {
  node_.result = [](bool, uint64_t) { return -1; };
  const auto output = run("3C0010 AB R FF 32\n3C0010 1 W 0 32\n");
  EXPECT_EQ(output.err,
            "zvg_ddr_ctr_read: read from [0x3c0010] failed\n"
            "1: read reg [3c0010] failed, exit script!\n");
}

TEST_F(DdrScript, PollThatNeverMatchesAbandonsTheScriptAfterAHundredReads) {
  node_.quiet = true;
  const uint64_t before = node_.accesses;
  const auto output = run("3C0010 AB R FF 32\n3C0010 1 W 0 32\n", 1);
  EXPECT_EQ(output.out,
            "zvgDdrRunScript\n"
            "1 (100 times): read reg [3c0010] out 0, but not ab (mask FF)\n"
            "trainning failed\n");
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(node_.accesses - before, 100u);
  EXPECT_EQ(node_.slept_us, 100u * 1000);
}

TEST_F(DdrScript, MatchOnTheHundredthReadGoesOn) {
  node_.quiet = true;
  int reads = 0;
  node_.on_read = [&](uint64_t, uint64_t* value) {
    *value = ++reads == 100 ? 0xAB : 0;
    return true;
  };
  const auto output = run("3C0010 AB R FF 32\n3C0014 1 W 0 32\n", 1);
  EXPECT_EQ(output.out, "zvgDdrRunScript\n");
  EXPECT_EQ(node_.bytes[0x3C0014], 1);
}

}  // namespace
