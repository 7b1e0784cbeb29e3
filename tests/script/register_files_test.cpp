// Check files and read files: their lines, their runs, and what they leave behind.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "support/scratch.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::Output;
using zvgtest::RegisterNode;

class RegisterFiles : public testing::Test {
 protected:
  void SetUp() override { node_.open(); }

  Output check(const std::string& content, int result = 0) {
    const std::string path = scratch_.file("check.txt", content);
    return capture([&] { EXPECT_EQ(zvgRunCheckReg(path.c_str()), result); });
  }
  Output read(const std::string& content, int result = 0) {
    const std::string path = scratch_.file("read.txt", content);
    return capture([&] { EXPECT_EQ(zvgRunReadReg(path.c_str()), result); });
  }

  zvgtest::Scratch scratch_;
  RegisterNode node_;
};

constexpr char closing[] = "reg data is in out_file.txt!\n";

TEST(RemoveLine, RemovesCarriageReturnsInPlace) {
  char line[] = "\ra\rb\r\n\r";
  EXPECT_EQ(removeLine(line), 7);
  EXPECT_STREQ(line, "ab\n");
  char empty[] = "";
  EXPECT_EQ(removeLine(empty), 0);
  char plain[] = "abc";
  EXPECT_EQ(removeLine(plain), 3);
  EXPECT_STREQ(plain, "abc");
}

TEST_F(RegisterFiles, MissingFiles) {
  const std::string text = "open file \"/nonexistent/file\" failed, No such file or directory\n";
  const auto check_output =
      capture([] { EXPECT_EQ(zvgRunCheckReg("/nonexistent/file"), -ENOENT); });
  EXPECT_EQ(check_output.err, text);
  const auto read_output = capture([] { EXPECT_EQ(zvgRunReadReg("/nonexistent/file"), -ENOENT); });
  EXPECT_EQ(read_output.err, text);
  EXPECT_EQ(check_output.out + read_output.out, "");
}

TEST_F(RegisterFiles, ChecksAndWritesMix) {
  node_.bytes[0x300] = 0x5A;
  const auto output = check("300 RM0 FF 8 5A\n304 WM0 0 32 1234\n300 RM0 FF 8 5B\n");
  EXPECT_EQ(output.out,
            "[0x300]:\033[34m[0000005a]\033[0m.\n"
            "write [304] with 1234 success!\n"
            "[0x300] :\033[31m5a\033[0m, expected \033[34m5b\033[0m (mask FF)\n");
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(node_.take(), ElementsAre("r1 0x300", "w4 0x304 0x1234", "r1 0x300"));
}

TEST_F(RegisterFiles, ChannelIsTheNamesThirdCharacter) {
  check("3000 WH0 0 8 1\n3000 WH3 0 8 2\n");
  EXPECT_THAT(node_.take(), ElementsAre("w1 0x113000 0x1", "w1 0x143000 0x2"));
}

TEST_F(RegisterFiles, CheckHeadersAreShownWithTheirNewline) {
  const auto output = check("# PLL\n/ comment\n\n\r\n#last");
  EXPECT_EQ(output.out, "\033[36mRegister\uFF1A# PLL\n\033[0m\033[36mRegister\uFF1A#last\033[0m");
}

TEST_F(RegisterFiles, CheckDelays) {
  check("ssleep 1\nmsleep 2\nusleep 3\nusleep 0\n");
  EXPECT_THAT(node_.take(), ElementsAre("usleep 1000000", "usleep 2000", "usleep 3"));
}

TEST_F(RegisterFiles, LongDelaysAreWaitedForInBothFiles) {
  const std::string content = "msleep 4294968\nmsleep off (was 50)\n";
  node_.quiet = true;
  check(content);
  EXPECT_EQ(node_.slept_us, 4294968000u);
  node_.slept_us = 0;
  read(content);
  EXPECT_EQ(node_.slept_us, 4294968000u);
}

TEST_F(RegisterFiles, EchoIsNotALineOfTheseFiles) {
  const auto output = check("echo hello\n");
  EXPECT_EQ(output.out + output.err, "");
}

TEST_F(RegisterFiles, UnknownNamesArePassedOverInACheck) {
  const auto output = check("300 RX0 FF 8 1\n300 XM0 FF 8 1\n300 rm0 FF 8 1\n304 WM0 0 8 1\n");
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(node_.take(), ElementsAre("w1 0x304 0x1"));
}

TEST_F(RegisterFiles, MissingFieldsCarryOver) {
  check("300 WM0 0 8 11\n304\n308 WM0 0 16\n");
  EXPECT_THAT(node_.take(), ElementsAre("w1 0x300 0x11", "w1 0x304 0x11", "w2 0x308 0x11"));
}

TEST_F(RegisterFiles, FailedCheckNamesTheFilesAddressAndGoesOn) {
  const auto output = check("10040 RD1 FF 16 1\n300 WM0 0 8 1\n");
  EXPECT_EQ(output.err,
            "value width 16 is not supported\nread reg [530040] failed, exit script!\n");
  EXPECT_EQ(output.out, "[10040] read/write err!\nwrite [300] with 1 success!\n");
}

TEST_F(RegisterFiles, ReadsAreLoggedAndShown) {
  node_.bytes[0x300] = 0x5A;
  node_.bytes[0x113005] = 0x12;
  const auto output = read("300 RM0 0 8\r\n304 RM0 0 32\n3004 RH0 0 16 rest\n");
  EXPECT_EQ(output.out, std::string("[300]: 5a\n[304]: 0\n[3004]: 1200\n") + closing);
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(scratch_.read("out_file.txt"),
            "300 RM0 0 8 0x5a\n304 RM0 0 32 0\n3004 RH0 0 16 rest 0x1200\n");
  EXPECT_THAT(node_.take(), ElementsAre("r1 0x300", "r4 0x304", "r2 0x113004"));
}

TEST_F(RegisterFiles, ReadHeadersAreCopied) {
  const auto output = read("# PLL\r\n/ comment\n\n300 RM0 0 8\n# end");
  EXPECT_EQ(output.out, std::string("[300]: 0\n") + closing);
  EXPECT_EQ(scratch_.read("out_file.txt"), "# PLL\r\n300 RM0 0 8 0\n# end");
}

TEST_F(RegisterFiles, OutputFileGrows) {
  read("300 RM0 0 8\n");
  read("304 RM0 0 8\n");
  EXPECT_EQ(scratch_.read("out_file.txt"), "300 RM0 0 8 0\n304 RM0 0 8 0\n");
}

TEST_F(RegisterFiles, FailedReadLogsAllOnes) {
  const auto output = read("8C RV1 0 8\n");
  EXPECT_EQ(output.out, std::string("crtc channel [1] is err!\n[8c]: ffffffff\n") + closing);
  EXPECT_EQ(scratch_.read("out_file.txt"), "8C RV1 0 8 0xffffffff\n");
}

TEST_F(RegisterFiles, UnknownNamesAreReportedInARead) {
  const auto output = read("300 RX7 0 8\n304 RM0 0 8\n");
  EXPECT_EQ(output.err, "no matching function found for op = R, name = X, channel_name = 7\n");
  EXPECT_EQ(output.out, std::string("[304]: 0\n") + closing);
}

TEST_F(RegisterFiles, WritingRowEndsAReadAtOnce) {
  const auto output = read("300 RM0 0 8\n304 WM0 0 8\n308 RM0 0 8\n", -1);
  EXPECT_EQ(output.out, "[300]: 0\n");
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(node_.take(), ElementsAre("r1 0x300"));
}

TEST_F(RegisterFiles, WhatWasReadBeforeAWritingRowIsInTheFile) {
  node_.bytes[0x300] = 0x5A;
  read("# PLL\n300 RM0 0 8\n304 WM0 0 8\n", -1);
  EXPECT_EQ(scratch_.read("out_file.txt"), "# PLL\n300 RM0 0 8 0x5a\n");
}

TEST_F(RegisterFiles, ReadDelays) {
  read("ssleep 1\nmsleep 2\nusleep 3\n");
  EXPECT_THAT(node_.take(), ElementsAre("usleep 1000000", "usleep 2000", "usleep 3"));
}

TEST_F(RegisterFiles, OutputFileThatCannotBeOpened) {
  ASSERT_EQ(mkdir("out_file.txt", 0700), 0);
  const auto output = read("300 RM0 0 8\n", -EISDIR);
  EXPECT_EQ(output.err, "open out_file failed, Is a directory\n");
  EXPECT_EQ(output.out, "");
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(RegisterFiles, LongNamesAndGarbageDoNoHarm) {
  const std::string long_name(5000, 'A');
  check("300 " + long_name + " 0 8 1\n" + std::string("\x01\xFF\xFE\0garbage\n", 12));
  const auto output = read("300 " + long_name + " 0 8\n");
  EXPECT_NE(output.err.find("op = A, name = A"), std::string::npos);
  EXPECT_THAT(node_.take(), IsEmpty());
}

}  // namespace
