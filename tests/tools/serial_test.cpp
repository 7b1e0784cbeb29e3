// zvgctl on a serial line with a board of every sort at its far end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <thread>

#include "tools/serial_board.h"
#include "tools/zvgctl_process.h"

namespace {

using ::testing::HasSubstr;
using zvgtest::Folder;
using zvgtest::Manners;
using zvgtest::Result;
using zvgtest::SerialBoard;

using Frame = SerialBoard::Frame;

Result on(const SerialBoard& board, const std::string& command,
          const zvgtest::Setting& setting = {}) {
  return zvgtest::zvgctl(command + " --serial " + board.path(), setting);
}

Frame frame(std::initializer_list<int> bytes) {
  Frame result;
  for (const int byte : bytes) result.push_back(static_cast<uint8_t>(byte));
  return result;
}

// The frames of the command itself: without the opening and the closing of the line.
std::vector<Frame> accesses(SerialBoard& board) {
  std::vector<Frame> result;
  for (const Frame& each : board.frames()) {
    if (each[0] == 0xFD || each[0] == 0xFE) result.push_back(each);
  }
  // The first one asks whether a board is there: the VGA miscellaneous output register.
  EXPECT_FALSE(result.empty());
  if (result.empty()) return result;
  EXPECT_EQ(result.front(), frame({0xFD, 0x1, 0, 0x01, 0x01, 0x03, 0xCC, 0, 0, 0, 0}));
  result.erase(result.begin());
  return result;
}

const Frame lead_in = frame({0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
const Frame divisor_9600 = frame({0xFC, 0, 0, 0, 0, 0, 0, 0, 0, 0x0A, 0xFC});

bool left_at_9600(SerialBoard& board) {
  const std::vector<Frame> frames = board.frames();
  size_t last = frames.size();
  while (last > 0 && frames[last - 1] == frame({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})) --last;
  return last >= 2 && frames[last - 2] == lead_in && frames[last - 1] == divisor_9600;
}

// The board is left where the next program expects it. The last frames may still be on their way.
void expect_left_at_9600(SerialBoard& board) {
  for (int i = 0; i < 100 && !left_at_9600(board); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(left_at_9600(board));
}

TEST(SerialTest, ReadsRegistersOfEveryWidth) {
  SerialBoard board;
  board.put(0x1308000, 0x11223344);
  board.put(0x1308004, 0x55667788);
  EXPECT_EQ(on(board, "reg read 0x308000").out, "0x308000: 0x11223344\n");
  EXPECT_EQ(on(board, "reg read 0x308000 --width 8").out, "0x308000: 0x44\n");
  EXPECT_EQ(on(board, "reg read 0x308003 --width 8").out, "0x308003: 0x11\n");
  EXPECT_EQ(on(board, "reg read 0x308002 --width 16").out, "0x308002: 0x1122\n");
  EXPECT_EQ(on(board, "reg read 0x308000-0x308007 --width 16").out,
            "0x308000: 3344 1122 7788 5566\n");
}

TEST(SerialTest, A64BitReadIsTwoWords) {
  SerialBoard board;
  board.put(0x1308004, 0x55667788);
  board.put(0x1308008, 0x11223344);
  const Result result = on(board, "reg read 0x308004 --width 64");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out, "0x308004: 0x1122334455667788\n");
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(accesses(board),
              testing::ElementsAre(frame({0xFD, 0xF, 0, 0x01, 0x30, 0x80, 0x04, 0, 0, 0, 0}),
                                   frame({0xFD, 0xF, 0, 0x01, 0x30, 0x80, 0x08, 0, 0, 0, 0})));
  expect_left_at_9600(board);
}

TEST(SerialTest, AnUnalignedReadIsMadeOfBytes) {
  SerialBoard board;
  board.put(0x1308000, 0x11223344);
  board.put(0x1308004, 0x55667788);
  EXPECT_EQ(on(board, "reg read 0x308003").out, "0x308003: 0x66778811\n");
  EXPECT_EQ(on(board, "reg read 0x308001 --width 16").out, "0x308001: 0x2233\n");
}

TEST(SerialTest, WritesRegistersOfEveryWidth) {
  SerialBoard board;
  board.put(0x1308000, 0);
  const Result byte = on(board, "reg write 0x308003 0x5a --width 8");
  EXPECT_EQ(byte.exit, 0) << byte.err;
  EXPECT_EQ(byte.out, "");
  EXPECT_EQ(board.get(0x1308000), 0x5A000000u);
  EXPECT_EQ(on(board, "reg write 0x308000 0x1234 --width 16").exit, 0);
  EXPECT_EQ(board.get(0x1308000), 0x5A001234u);
  EXPECT_EQ(on(board, "reg write 0x308010 1 2 3").exit, 0);
  EXPECT_EQ(board.get(0x1308010), 1u);
  EXPECT_EQ(board.get(0x1308014), 2u);
  EXPECT_EQ(board.get(0x1308018), 3u);
  EXPECT_EQ(on(board, "reg write 0x308020 0x1122334455667788 --width 64").exit, 0);
  EXPECT_EQ(board.get(0x1308020), 0x55667788u);
  EXPECT_EQ(board.get(0x1308024), 0x11223344u);
}

TEST(SerialTest, AnUnalignedWriteIsMadeOfBytes) {
  SerialBoard board;
  board.put(0x1308000, 0);
  board.put(0x1308004, 0);
  EXPECT_EQ(on(board, "reg write 0x308003 0x11223344").exit, 0);
  EXPECT_EQ(board.get(0x1308000), 0x44000000u);
  EXPECT_EQ(board.get(0x1308004), 0x00112233u);
}

TEST(SerialTest, MaskChangesItsBitsOnly) {
  SerialBoard board;
  board.put(0x1308000, 0xFFFFFFFF);
  EXPECT_EQ(on(board, "reg mask 0x308001 0x0f 0x05").exit, 0);
  EXPECT_EQ(board.get(0x1308000), 0xFFFFF5FFu);
  EXPECT_EQ(on(board, "reg mask 0x308000 0xff00 0 --width 32").exit, 0);
  EXPECT_EQ(board.get(0x1308000), 0xFFFF00FFu);
}

TEST(SerialTest, VideoMemoryHasItsOwnBusAddress) {
  SerialBoard board;
  board.put(0x8000000010, 0xCAFEF00D);
  EXPECT_EQ(on(board, "vram read 0x10").out, "0x0000010: 0xcafef00d\n");
  EXPECT_EQ(on(board, "vram write 0xffffffc 0x12345678").exit, 0);
  EXPECT_EQ(board.get(0x800FFFFFFC), 0x12345678u);
}

TEST(SerialTest, DumpLoadAndFill) {
  const Folder folder;
  SerialBoard board;
  std::string content;
  for (int i = 0; i < 4 * 130; ++i) content.push_back(static_cast<char>(i * 7));
  const std::string source = folder.put("in", content);
  const Result load = on(board, "vram load " + source + " --offset 0x100 --yes");
  EXPECT_EQ(load.exit, 0) << load.err;
  EXPECT_EQ(load.out, "520 bytes of " + source + " are in video memory from 0x0000100 on\n");
  EXPECT_EQ(board.get(0x8000000100), 0x150E0700u);
  const Result dump = on(board, "vram dump " + folder.path("out") + " --offset 0x100 --length 520");
  EXPECT_EQ(dump.exit, 0) << dump.err;
  EXPECT_EQ(dump.out,
            "520 bytes of video memory from 0x0000100 on are in " + folder.path("out") + "\n");
  EXPECT_EQ(folder.get("out"), content);
  const Result fill = on(board, "vram fill 0xa5 --offset 0x104 --length 8 --yes");
  EXPECT_EQ(fill.out, "8 bytes of video memory from 0x0000104 on are filled with 0x000000a5\n");
  EXPECT_EQ(board.get(0x8000000100), 0x150E0700u);
  EXPECT_EQ(board.get(0x8000000104), 0xA5u);
  EXPECT_EQ(board.get(0x8000000108), 0xA5u);
  EXPECT_NE(board.get(0x800000010C), 0xA5u);
}

TEST(SerialTest, EveryBaudRateIsAnnouncedToTheBoard) {
  const struct {
    int baud;
    int divisor;
  } rates[] = {{19200, 1406}, {38400, 703}, {115200, 234}, {460800, 58}};
  for (const auto& rate : rates) {
    SerialBoard board;
    const Result result =
        zvgtest::zvgctl("reg read 0 --serial " + board.path() + ":" + std::to_string(rate.baud));
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_THAT(board.frames(), testing::Contains(frame({0xFC, 0, 0, 0, 0, 0, 0, 0, 0,
                                                         rate.divisor >> 8, rate.divisor & 0xFF})));
    expect_left_at_9600(board);
  }
}

TEST(SerialTest, InfoTellsTheLineAndWhatIsNotKnown) {
  SerialBoard board;
  EXPECT_EQ(on(board, "info").out,
            "Mode                   SERIAL\n"
            "Serial line            " +
                board.path() +
                " at 115200 baud\n"
                "Generation             unknown: --generation tells\n");
  EXPECT_THAT(on(board, "info --generation rq302").out,
              HasSubstr("Generation             RQ302\n"
                        "System control         0x288400\n"));
}

TEST(SerialTest, ABootMessageIsNotTakenForAnAnswer) {
  SerialBoard board({.banner = "U-Boot 2021.01\r\nHit any key\r\n"});
  board.put(0x1000000, 0x12345678);
  const Result result = on(board, "reg read 0");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out, "0x000000: 0x12345678\n");
}

// Lines that do not behave.

TEST(BadSerialTest, NobodyAnswers) {
  SerialBoard board({.silent_after = 0});
  const Result result = on(board, "reg read 0");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "uart receive data timeout!\nzvgctl: no board answers on " + board.path() +
                            " at 115200 baud: is it powered, are both directions of the line "
                            "connected, and does it still listen at 9600 baud (power it off and "
                            "on if not)?\n");
  EXPECT_LT(result.seconds, 4);
}

TEST(BadSerialTest, AnswersStopInTheMiddle) {
  SerialBoard board({.silent_after = 3});
  const Result result = on(board, "reg read 0x100 --count 4");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "uart receive data timeout!\nzvgctl: no whole answer from the board on " +
                            board.path() +
                            " at 115200 baud to a read of bus address 0x0001000108: check the line "
                            "and the board's power\n");
  expect_left_at_9600(board);
}

TEST(BadSerialTest, TheAnswerComesTooLate) {
  SerialBoard board({.late_after = 1});
  const Result result = on(board, "reg read 0x100");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, HasSubstr("no whole answer from the board"));
}

TEST(BadSerialTest, HalfAnAnswer) {
  SerialBoard board({.half_after = 1});
  const Result result = on(board, "reg read 0x100");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, HasSubstr("uart receive data timeout!\nzvgctl: no whole answer"));
}

TEST(BadSerialTest, NoiseBeforeTheAnswer) {
  SerialBoard board({.noise_before_after = 1});
  const Result result = on(board, "reg read 0x100");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "zvgctl: noise on the line " + board.path() +
                            " at 115200 baud: more came back than the answer to a read of bus "
                            "address 0x0001000100, so the answer cannot be trusted\n");
}

TEST(BadSerialTest, NoiseBehindTheAnswer) {
  SerialBoard board({.noise_after_after = 1});
  const Result result = on(board, "reg read 0x100 --json");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.out, HasSubstr("\"schema\": \"zvg/error/1\""));
  EXPECT_THAT(result.err, HasSubstr("noise on the line"));
}

TEST(BadSerialTest, ADumpThatFailsLeavesNoFile) {
  const Folder folder;
  SerialBoard board({.silent_after = 100});
  const Result result = on(board, "vram dump " + folder.path("out") + " --length 1024");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(folder.files(), 0u);
}

// A DDC master that is always done, and a monitor whose every byte is zero.
void give_zero_edid(SerialBoard& board) {
  board.put(0x1110104, 0x0200);
  board.put(0x1113004, 0x13);
  board.put(0x1117E00, 0);
}

// The library's own register functions swallow a lost answer; its loops would go on with zeros.
struct DyingLink {
  const char* command;
  int answers;  // one of them to the tool's own question whether a board is there
};

void PrintTo(const DyingLink& parameter, std::ostream* out) {
  *out << parameter.command << " after " << parameter.answers;
}

class DyingLinkTest : public testing::TestWithParam<DyingLink> {};

TEST_P(DyingLinkTest, EndsTheCommand) {
  SerialBoard board({.silent_after = GetParam().answers});
  give_zero_edid(board);
  const Result result = on(board, GetParam().command);
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err,
              HasSubstr("uart receive data timeout!\nzvgctl: the serial link " + board.path() +
                        " at 115200 baud failed in the middle of the work (no whole answer over "
                        "the serial line from bus address 0x0001"));
  EXPECT_THAT(result.err, testing::EndsWith("): check the line and the board's power\n"));
  EXPECT_LT(result.seconds, 5);
  expect_left_at_9600(board);
}

// More of them, without the waiting, are in virtual_board_test.cpp.
INSTANTIATE_TEST_SUITE_P(InsideTheLibrary, DyingLinkTest,
                         testing::Values(DyingLink{"edid read --hdmi 0", 100},
                                         DyingLink{"hdmi phy end 0", 1}));

TEST(BadSerialTest, ADamagedEdidIsAFailureOnALine) {
  SerialBoard board;
  give_zero_edid(board);
  const Result result = on(board, "edid read --hdmi 0");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("zvgctl: the EDID is damaged: the header is wrong"));
}

TEST(BadSerialTest, TheDeadlineEndsALoopThatDoesNot) {
  SerialBoard board;
  board.put(0x1113004, 0);  // the PLL never locks
  const Result result = on(board, "hdmi phy end 0 --deadline 1");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err,
            "zvgctl: not done within the deadline of 1 s, gave up reading bus address 0x0001113004 "
            "over the serial line: the board does not answer as it should, or needs a longer "
            "deadline\n");
  EXPECT_LT(result.seconds, 3);
  expect_left_at_9600(board);
}

TEST(BadSerialTest, ATerminatedCommandLeavesTheBoardAt9600) {
  SerialBoard board;
  zvgtest::Process watch(
      zvgtest::zvgctl_words("reg watch 0 --interval 0.01 --serial " + board.path()));
  ASSERT_TRUE(watch.wait_for_output("0x000000: 0x01000000\n"));
  watch.send(SIGTERM);
  const Result result = watch.finish();
  EXPECT_EQ(result.exit, 0) << "a watch is ended, not broken off";
  expect_left_at_9600(board);
}

TEST(BadSerialTest, AReaderThatGoesAwayLeavesTheBoardAt9600) {
  SerialBoard board;
  // More than a pipe holds, to somebody who reads one line.
  const Result result = zvgtest::run({"/bin/bash", "-c",
                                      std::string("set -o pipefail; ") + ZVGCTL_PROGRAM +
                                          " vram read 0 --count 8000 --serial " + board.path() +
                                          ":460800 | head -1"});
  EXPECT_EQ(result.exit, 128 + SIGPIPE);
  EXPECT_TRUE(result.out.starts_with("0x0000000: 00000000 00000004 ")) << result.out;
  expect_left_at_9600(board);
}

TEST(SerialTest, WatchShowsChangesAndEndsWithCtrlC) {
  SerialBoard board;
  board.put(0x1000000, 1);
  zvgtest::Process watch(
      zvgtest::zvgctl_words("reg watch 0 --interval 0.01 --serial " + board.path()));
  ASSERT_TRUE(watch.wait_for_output("0x000000: 0x00000001\n"));
  board.put(0x1000000, 2);
  ASSERT_TRUE(watch.wait_for_output("0x000000: 0x00000001 -> 0x00000002 (after "));
  watch.send(SIGINT);
  const Result result = watch.finish();
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(result.out.ends_with(" s)\n\n")) << result.out;
  expect_left_at_9600(board);
}

TEST(BadSerialTest, AMissingLine) {
  const Result result = zvgtest::zvgctl("reg read 0 --serial /dev/ttyNONE");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err,
            "Opening /dev/ttyNONE failed, No such file or directory\n"
            "zvgctl: cannot open the serial line /dev/ttyNONE: No such file or directory: ls "
            "/dev/ttyS* /dev/ttyUSB* shows those that are here; to try zvgctl without a board, add "
            "--sim\n");
}

TEST(BadSerialTest, AFileIsNoLineAndStaysAsItIs) {
  const Folder folder;
  const std::string path = folder.put("file", "content");
  const Result result = zvgtest::zvgctl("reg read 0 --serial " + path + ":9600");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err, "zvgctl: " + path + " is not a serial line\n");
  EXPECT_EQ(folder.get("file"), "content");
}

TEST(BadSerialTest, ADeviceThatIsNoLine) {
  const Result result = zvgtest::zvgctl("reg read 0 --serial /dev/null");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("zvgctl: /dev/null cannot be set up as a serial line\n"));
}

}  // namespace
