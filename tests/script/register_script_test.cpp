// Register scripts: every kind of line, operation, message and stop.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "support/scratch.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::Output;
using zvgtest::RegisterNode;

class Script : public testing::Test {
 protected:
  void SetUp() override { node_.open(); }

  Output run(const std::string& content) {
    const std::string path = scratch_.file("script.txt", content);
    return capture([&] { EXPECT_EQ(zvgRunScript(path.c_str()), 0); });
  }
  void fail_access(bool write, uint64_t offset) {
    node_.result = [=](bool is_write, uint64_t at) {
      return is_write == write && at == offset ? -1 : 0;
    };
  }

  zvgtest::Scratch scratch_;
  RegisterNode node_;
};

TEST_F(Script, MissingFile) {
  int result = 0;
  const auto output = capture([&] { result = zvgRunScript("/nonexistent/script"); });
  EXPECT_EQ(result, -ENOENT);
  EXPECT_EQ(output.err, "open file \"/nonexistent/script\" failed, No such file or directory\n");
  EXPECT_EQ(output.out, "");
}

TEST_F(Script, FolderRunsAsAnEmptyScript) {
  const auto output = capture([] { EXPECT_EQ(zvgRunScript("/"), 0); });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(Script, WritesInEveryWidth) {
  run("100 12345678 W FFFFFFFF 32\n200 12345678 w 0 16\n300 12345678 W 0 8\n");
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x100 0x12345678", "w2 0x200 0x5678", "w1 0x300 0x78"));
}

TEST_F(Script, AddressesAreHexadecimalWithOrWithoutPrefix) {
  run("0x1A0 0x10 W 0x0 32\n1b0 ff w 0 32");
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x1a0 0x10", "w4 0x1b0 0xff"));
}

TEST_F(Script, CommentsAndBlanksAreCountedAndSkipped) {
  const auto output = run("# comment\n// comment\n\n\r\n\r\n100 1 X 0 32\n");
  EXPECT_EQ(output.err, "6 100 1 X 0 32\n: Operation character error!\n");
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(Script, PieceThatBeginsWithNulIsSkipped) {
  run(std::string("\0 100 1 W 0 32\n200 1 W 0 32\n", 29));
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x200 0x1"));
}

TEST_F(Script, LineThatBeginsWithABlankIsARegisterLine) {
  run("  100 1 W 0 32\n\t200 2 W 0 32\n");
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x100 0x1", "w4 0x200 0x2"));
}

TEST_F(Script, BlankLineWithASpaceRepeatsTheLineBefore) {
  run("100 1 W 0 32\n \n");
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x100 0x1", "w4 0x100 0x1"));
}

TEST_F(Script, MissingFieldsCarryOver) {
  run("100 1 W F 16\n200\n300 5\n400 6 S\n");
  EXPECT_THAT(node_.take(), ElementsAre("w2 0x100 0x1", "w2 0x200 0x1", "w2 0x300 0x5", "r2 0x400",
                                        "w2 0x400 0x6"));
}

TEST_F(Script, FieldsStartAtZero) {
  const auto output = run("nonsense\n100 5 W\n");
  EXPECT_EQ(output.err,
            "1 nonsense\n: Operation character error!\n"
            "value width 0 is not supported\n"
            "2: write reg [100] 5 failed, exit script!\n");
}

TEST_F(Script, Delays) {
  run("ssleep 3\nmsleep 20\nusleep 7\n");
  EXPECT_THAT(node_.take(), ElementsAre("usleep 3000000", "usleep 20000", "usleep 7"));
}

TEST_F(Script, DelaysOfNothingDoNothing) {
  run("ssleep 0\nmsleep -5\nusleep\nssleep abc\n");
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(Script, DelayWordsAreComparedByTheirLength) {
  run("ssleepy 3\nmsleep5\nusleepless \t+9 8\n");
  EXPECT_THAT(node_.take(), ElementsAre("usleep 3000000", "usleep 5000", "usleep 9"));
}

TEST_F(Script, DelayNumberStandsBehindTheWord) {
  run("usleep # was 50\nssleep - 3\nmsleep off (was 3600000)\nusleepless -x 9\nssleep: 3\n"
      "ssleepy off 3\nusleep -4 5\n");
  EXPECT_THAT(node_.take(), IsEmpty());
}

// The product of the last that fits, the first that does not, and the largest number.
TEST_F(Script, LongDelaysOfMillisecondsAreWaitedFor) {
  node_.quiet = true;
  for (const uint64_t count : {4294967u, 4294968u, 2147483647u}) {
    node_.slept_us = 0;
    run("msleep " + std::to_string(count) + "\n");
    EXPECT_EQ(node_.slept_us, count * 1000);
  }
}

TEST_F(Script, EchoPrintsTheRestAsItStands) {
  const auto output = run("echo hello %d %s\necho\nechoes\necho last");
  EXPECT_EQ(output.out, " hello %d %s\n\nes\n last");
}

TEST_F(Script, CheckReportsAMismatchAndGoesOn) {
  node_.bytes[0x100] = 0xA5;
  const auto output = run("100 A5 C FF 8\n100 AF c F0 8\n100 A4 C FF 8\n200 1 W 0 8\n");
  EXPECT_EQ(output.out, "3: read [100] == 0xa5 != a4 (mask FF)\n");
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(node_.take(), ElementsAre("r1 0x100", "r1 0x100", "r1 0x100", "w1 0x200 0x1"));
}

TEST_F(Script, SetBitsKeepsTheRest) {
  node_.bytes[0x100] = 0xA5;
  run("100 3 S F 8\n100 F0 s 0F 16\n");
  EXPECT_THAT(node_.take(), ElementsAre("r1 0x100", "w1 0x100 0xa3", "r2 0x100", "w2 0x100 0xa0"));
}

TEST_F(Script, FailedSetBitsPrintsTheNewValue) {
  node_.bytes[0x100] = 0xA5;
  fail_access(true, 0x100);
  const auto output = run("100 3 S F 8\n200 1 W 0 8\n");
  EXPECT_EQ(output.err, "1: write reg [100] a3 failed, exit script!\n");
  EXPECT_THAT(node_.take(), ElementsAre("r1 0x100", "w1 0x100 0xa3"));
}

TEST_F(Script, FailedWriteStopsTheScript) {
  fail_access(true, 0x100);
  const auto output = run("# one\n100 ABC W 0 32\n200 1 W 0 32\n");
  EXPECT_EQ(output.err, "2: write reg [100] abc failed, exit script!\n");
  EXPECT_EQ(output.out, "");
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x100 0xabc"));
}

TEST_F(Script, FailedReadStopsTheScriptInEveryOperation) {
  fail_access(false, 0x100);
  for (const std::string operation : {"C", "R", "N", "S"}) {
    const auto output = run("100 1 " + operation + " 1 32\n200 1 W 0 32\n");
    EXPECT_EQ(output.err, "1: read reg [100] failed, exit script!\n") << operation;
    EXPECT_EQ(output.out, "");
    EXPECT_THAT(node_.take(), ElementsAre("r4 0x100")) << operation;
  }
}

TEST_F(Script, OtherWidthsFail) {
  const auto write = run("100 1 W 0 24\n200 1 W 0 8\n");
  EXPECT_EQ(write.err,
            "value width 24 is not supported\n1: write reg [100] 1 failed, exit script!\n");
  const auto read = run("100 1 C 0 64\n200 1 W 0 8\n");
  EXPECT_EQ(read.err, "value width 64 is not supported\n1: read reg [100] failed, exit script!\n");
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(Script, UnknownOperationIsReportedWithItsLine) {
  const auto output = run("100 1 Q 0 32\n200 1 W 0 32\n300 1 Z 0 32");
  EXPECT_EQ(output.err,
            "1 100 1 Q 0 32\n: Operation character error!\n"
            "3 300 1 Z 0 32: Operation character error!\n");
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x200 0x1"));
}

TEST_F(Script, PollEndsWithTheMatch) {
  int reads = 0;
  node_.on_read = [&](uint64_t, uint64_t* value) {
    *value = ++reads < 3 ? 0x00 : 0x81;
    return true;
  };
  EXPECT_EQ(run("100 1 R 1 8\n").out, "");
  EXPECT_THAT(node_.take(),
              ElementsAre("r1 0x100", "usleep 1000", "r1 0x100", "usleep 1000", "r1 0x100"));
  reads = 0;
  EXPECT_EQ(run("100 0 n 80 8\n").out, "");
  EXPECT_EQ(reads, 3);
}

std::string poll_progress(const char* negation) {
  std::string text;
  for (int times = 100; times < 10000; times += 100) {
    text += "1 (" + std::to_string(times) + " times): read reg [100] out 5, but not " + negation +
            "6 (mask F)\n";
  }
  return text;
}

TEST_F(Script, PollThatNeverMatchesTimesOutAndGoesOn) {
  node_.quiet = true;
  node_.bytes[0x100] = 5;
  const uint64_t before = node_.accesses;
  auto output = run("100 6 R F 8\n200 1 W 0 8\n");
  EXPECT_EQ(output.out, poll_progress(""));
  EXPECT_EQ(output.err,
            "1: check reg timeout, read [0x00000100] out 0x00000005, should be 0x00000006!\n");
  EXPECT_EQ(node_.accesses - before, 9999u + 1);
  EXPECT_EQ(node_.slept_us, 9999u * 1000);
  EXPECT_EQ(node_.bytes[0x200], 1);

  node_.bytes[0x100] = 5;
  output = run("100 5 N F 8\n");
  EXPECT_NE(output.out.find("1 (100 times): read reg [100] out 5, but not !5 (mask F)\n"),
            std::string::npos);
  EXPECT_EQ(output.err,
            "1: check reg timeout, read [0x00000100] out 0x00000005, should be 0x00000005!\n");
}

TEST_F(Script, MatchOnTheLastReadIsNoTimeout) {
  node_.quiet = true;
  int reads = 0;
  node_.on_read = [&](uint64_t, uint64_t* value) {
    *value = ++reads == 9999 ? 6 : 5;
    return true;
  };
  const auto output = run("100 6 R F 8\n");
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(reads, 9999);
}

TEST_F(Script, LongLinesAreReadInPieces) {
  // The buffer holds 1,023 characters; the piece after that is a line of its own.
  const std::string comment = "#" + std::string(1022, 'x');
  run(comment + "100 1 W 0 32\n200 2 W 0 32\n");
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x100 0x1", "w4 0x200 0x2"));
  const auto output = run(comment + "# rest\n5 5 X 0 32\n");
  EXPECT_EQ(output.err, "3 5 5 X 0 32\n: Operation character error!\n");
}

TEST_F(Script, AddressesOutOfRangeStop) {
  const auto output = run("1000000 1 W 0 32\n");
  EXPECT_EQ(output.err,
            "Invalid argument: offset is out of range\n"
            "1: write reg [1000000] 1 failed, exit script!\n");
}

TEST(ScriptWithoutABoard, StopsAtTheFirstRegisterLine) {
  zvgtest::Scratch scratch;
  const std::string path = scratch.file("script.txt", "100 1 W 0 32\n200 1 W 0 32\n");
  const auto output = capture([&] { EXPECT_EQ(zvgRunScript(path.c_str()), 0); });
  EXPECT_EQ(output.err,
            "s_type (-1) is not supported\n1: write reg [100] 1 failed, exit script!\n");
}

}  // namespace
