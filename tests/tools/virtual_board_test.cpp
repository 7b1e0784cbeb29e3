// zvgctl on the virtual board: every command, through every door that it can use.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <util_zvg.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "support/capture.h"
#include "tools/edid_files.h"
#include "tools/zvgctl_process.h"

namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using zvgtest::Folder;
using zvgtest::memory_door;
using zvgtest::monitor_bytes;
using zvgtest::monitor_path;
using zvgtest::Result;
using zvgtest::Setting;
using zvgtest::zvgctl_sim;

// Two cards with something in every space.
constexpr char known_board[] = R"(
generation = "rq301"
cards = 2

[[registers]]
space = "mmio"
offset = 0x318000
value = 0x11223344

[[registers]]
space = "mmio"
offset = 0x318004
value = 0x55667788

[[registers]]
space = "vram"
offset = 0x100
value = 0xcafef00d

[[registers]]
space = "vram"
offset = 0x104
value = 0x01020304

[[registers]]
space = "kmem"
offset = "0xFFFF888000000010"
width = 8
value = "0x1122334455667788"
)";

// A virtual board that a test describes, and the accesses that were made on it.
class Bench {
 public:
  explicit Bench(const std::string& board = known_board)
      : board_(folder_.put("test.toml", board)) {}

  Result run(const std::string& command, const Setting& setting = {}) {
    std::vector<std::string> words = {ZVGSIM_PROGRAM, "run",     "--virtual-time",      "--board",
                                      board_,         "--trace", folder_.path("trace"), "--"};
    for (const std::string& word : zvgtest::zvgctl_words(command)) words.push_back(word);
    return zvgtest::run(words, setting);
  }
  std::string trace() { return folder_.get("trace"); }
  const Folder& folder() const { return folder_; }
  const std::string& board() const { return board_; }

 private:
  Folder folder_;
  std::string board_;
};

std::string monitor_board(const std::string& monitor, const std::string& faults = {}) {
  return "generation = \"rq302\"\n[[hdmi]]\nport = 0\nedid = \"" + monitor_path(monitor) + "\"\n" +
         faults;
}

constexpr char serial_door[] = " --serial /dev/ttyZVG0";

// Before the first write, whether the board is there at all.
const std::string board_is_asked = "r4 mmio 0x288400 0x0\n";

// --sim itself.

TEST(SimTest, RunsItselfOnTheDefaultBoard) {
  const Result result = zvgctl_sim("info");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "Mode                   ZVGWR\n"
            "Board                  virtual (default)\n"
            "Generation             RQ302\n"
            "Card                   0 of 1\n"
            "Device id              0x202\n"
            "Driver core version    1.4.0.218\n"
            "GOP version            GOP 1.3.2\n"
            "Firmware version       FW 2.7.1\n"
            "AXI clock              600\n"
            "VPU clock              500\n"
            "3D clock               1000\n"
            "2D clock               500\n"
            "DDR clock              1600\n"
            "3D cores               8\n"
            "2D cores               2\n"
            "Memory channel mask    3\n"
            "Power state            Performance\n"
            "Video memory used      128\n"
            "Video memory free      1920\n"
            "System control         0x288400\n"
            "SPI flash controller   0x28ac00\n"
            "Clocks and PLLs        0x288000\n"
            "DDR channels           2\n"
            "DDR 0 controller       0x280000\n"
            "DDR 0 PHY              0x2c0000\n"
            "DDR 1 controller       0x130000\n"
            "DDR 1 PHY              0x1c0000\n");
}

TEST(SimTest, TakesReadyBoardsAndBoardFilesAnywhereOnTheLine) {
  const Bench bench;
  for (const std::string& command :
       {std::string("--sim rq301 info"), std::string("info --sim rq301"),
        std::string("info --sim=rq301 --json"), "info --sim " + bench.board(),
        "--sim=" + bench.board() + " --driver info"}) {
    const Result result = zvgtest::zvgctl(command);
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("RQ301")) << command;
  }
}

TEST(SimTest, ABoardThatIsNotThere) {
  EXPECT_EQ(zvgtest::zvgctl("info --sim /nowhere/board.toml").exit, 1);
  EXPECT_EQ(zvgtest::zvgctl("info --sim=nowhere").exit, 2);
  EXPECT_THAT(zvgtest::zvgctl("info --sim=nowhere").err, HasSubstr("nowhere"));
}

TEST(SimTest, OptionsAreUnderstoodBeforeAndBehindTheCommand) {
  const std::string expected = "0x318000: 0x11223344\n";
  Bench bench;
  EXPECT_EQ(bench.run("--driver reg read 0x318000").out, expected);
  EXPECT_EQ(bench.run("reg --driver read 0x318000").out, expected);
  EXPECT_EQ(bench.run("reg read --driver 0x318000").out, expected);
  EXPECT_EQ(bench.run("reg read 0x318000 --driver 0").out, expected);
  EXPECT_EQ(bench.run("reg read 0x318000 --driver=0").out, expected);
}

// info

TEST(InfoTest, JsonFromTheDriver) {
  Bench bench;
  const Result result = bench.run("info --json --driver 1");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.err, "");
  const json document = json::parse(result.out);
  EXPECT_EQ(document["mode"], "ZVGWR");
  EXPECT_EQ(document["generation"], "RQ301");
  EXPECT_EQ(document["card"], 1);
  EXPECT_EQ(document["cards"], 2);
  EXPECT_EQ(document["device_id"], "0x201");
  EXPECT_EQ(document["versions"]["core"], "1.4.0.218");
  EXPECT_EQ(document["clocks"]["ddr"], 1600);
  EXPECT_EQ(document["3d_cores"], 8);
  EXPECT_EQ(document["video_memory"]["free"], 1920);
  EXPECT_EQ(document["block_bases"]["system_control"], "0x308400");
  EXPECT_EQ(document["block_bases"]["ddr"].size(), 4u);
  EXPECT_EQ(document["block_bases"]["ddr"][3]["phy"], "0x4c0000");
}

TEST(InfoTest, WhatTheDriverDoesNotTellIsSaid) {
  Bench bench(
      "generation = \"rq302\"\n[versions]\ngop = \"\"\n"
      // The device id is asked for when the card is opened; the number of cards comes next.
      // Each is asked twice.
      "[[faults.driver]]\nrequest = 2\nnumber = 0x10\nerrno = \"EIO\"\ncount = 2\n"
      "[[faults.driver]]\nrequest = 1\nnumber = 0x05\nerrno = \"EIO\"\ncount = 2\n");
  const Result result = bench.run("info");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("Card                   0 of not told by the driver\n"));
  EXPECT_THAT(result.out, HasSubstr("GOP version            not told by the driver\n"));
  EXPECT_THAT(result.out, HasSubstr("Video memory           not told by the driver\n"));
  const json document = json::parse(bench.run("info --json").out);
  EXPECT_TRUE(document["cards"].is_null());
  EXPECT_TRUE(document["versions"]["gop"].is_null());
  EXPECT_TRUE(document["video_memory"].is_null());
}

TEST(InfoTest, ADriverThatDoesNotTellTheChip) {
  Bench bench(
      "generation = \"rq302\"\n[[faults.driver]]\nrequest = 1\nnumber = 0x10\nerrno = \"EIO\"\n"
      "count = 2\n");
  const Result result = bench.run("info");
  EXPECT_EQ(result.exit, 0);
  EXPECT_THAT(result.out, HasSubstr("Generation             not told by the driver\n"));
  EXPECT_THAT(result.out, testing::Not(HasSubstr("System control")));
  // Where everything else is depends on the chip.
  const Result other = bench.run("clock list");
  EXPECT_EQ(other.exit, 1);
  EXPECT_THAT(other.err, HasSubstr("the driver does not tell which chip the board has"));
}

TEST(InfoTest, MemoryTellsItsApertures) {
  Bench bench;
  EXPECT_EQ(bench.run("info --mem 0xE0000000:0x1000000").out,
            "Mode                   MEM\n"
            "Register aperture      0x1000000 bytes at 0xe0000000\n"
            "Video memory aperture  not mapped\n"
            "Generation             unknown: --generation tells\n");
  const json document =
      json::parse(bench.run(std::string("info --json --generation rq300") + memory_door).out);
  EXPECT_EQ(document["mode"], "MEM");
  EXPECT_EQ(document["generation"], "RQ300");
  EXPECT_EQ(document["apertures"]["vram"]["base"], "0xd0000000");
  EXPECT_EQ(document["block_bases"]["clock"], "0x308000");
}

// Cards

TEST(CardTest, OneThatIsNotThereIsRefused) {
  Bench bench;
  const Result result = bench.run("reg write 0x318000 0 --driver 2");
  EXPECT_EQ(result.exit, 1);
  // The library's own words come first, and would go on with card 0.
  EXPECT_EQ(result.out,
            "Invalid card parameter: 0 is out of range [0, 2).\nThe current card index is 0\n");
  EXPECT_EQ(result.err, "zvgctl: there is no card 2: the driver has 2, from 0 to 1\n");
  EXPECT_EQ(bench.trace(), "");
  const Result as_json = bench.run("reg read 0x318000 --driver 2 --json");
  EXPECT_EQ(as_json.exit, 1);
  const json document = json::parse(as_json.out);
  EXPECT_EQ(document["schema"], "zvg/error/1");
  EXPECT_EQ(document["error"]["kind"], "not_connected");
}

TEST(CardTest, PciReachesCard0Only) {
  Bench bench;
  EXPECT_EQ(bench.run("pci read 0").exit, 0);
  const Result result = bench.run("pci read 0 --driver 1");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err,
            "zvgctl: PCI configuration space can be reached for card 0 only, not for card 1\n");
}

// Every door

class DoorTest : public testing::TestWithParam<const char*> {
 protected:
  Result run(const std::string& command) { return bench_.run(command + GetParam()); }
  Bench bench_;
};

TEST_P(DoorTest, RegistersReadTheSame) {
  EXPECT_EQ(run("reg read 0x318000").out, "0x318000: 0x11223344\n");
  EXPECT_EQ(run("reg read 3244032").out, "0x318000: 0x11223344\n");
  EXPECT_EQ(run("reg read 0x318001 --width 8").out, "0x318001: 0x33\n");
  EXPECT_EQ(run("reg read 0x318002 -w 16").out, "0x318002: 0x1122\n");
  EXPECT_EQ(run("reg read 0x318000 --width 64").out, "0x318000: 0x5566778811223344\n");
  EXPECT_EQ(run("reg read 0x318000 --count 3").out, "0x318000: 11223344 55667788 00000000\n");
  EXPECT_EQ(run("reg read 0x317ff8-0x31800f -w 8").out,
            "0x317ff8: 00 00 00 00 00 00 00 00 44 33 22 11 88 77 66 55\n"
            "0x318008: 00 00 00 00 00 00 00 00\n");
  EXPECT_EQ(run("reg read 0xffffff --width 8").out, "0xffffff: 0x00\n");
}

TEST_P(DoorTest, RegistersAsJson) {
  const Result result = run("reg read 0x318000 --count 2 --json");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(json::parse(result.out), json({{"schema", "zvg/reg-read/1"},
                                           {"space", "reg"},
                                           {"address", "0x318000"},
                                           {"width", 32},
                                           {"values", {"0x11223344", "0x55667788"}}}));
}

TEST_P(DoorTest, VideoMemory) {
  EXPECT_EQ(run("vram read 0x100").out, "0x0000100: 0xcafef00d\n");
  EXPECT_EQ(run("vram read 0x100 --width 64").out, "0x0000100: 0x01020304cafef00d\n");
  EXPECT_EQ(run("vram read 0xfffffff --width 8").out, "0xfffffff: 0x00\n");
  const Result dump =
      run("vram dump " + bench_.folder().path("out") + " --offset 0x100 --length 8");
  EXPECT_EQ(dump.exit, 0) << dump.err;
  EXPECT_EQ(bench_.folder().get("out"), std::string("\x0d\xf0\xfe\xca\x04\x03\x02\x01"));
  EXPECT_EQ(
      run("vram load " + bench_.folder().path("out") + " --offset 0x200 --yes").out,
      "8 bytes of " + bench_.folder().path("out") + " are in video memory from 0x0000200 on\n");
  EXPECT_EQ(run("vram fill 1 --length 65544 --yes").out,
            "65544 bytes of video memory from 0x0000000 on are filled with 0x00000001\n");
}

TEST_P(DoorTest, WritesAreSilent) {
  for (const char* command :
       {"reg write 0x318000 1 2", "reg write 0x318000 1 --width 64", "reg mask 0x318000 1 0",
        "reg mask 0x318000 1 0 -w 32", "vram write 0x100 5 6 -w 16"}) {
    const Result result = run(command);
    EXPECT_EQ(result.exit, 0) << command;
    EXPECT_EQ(result.out + result.err, "") << command;
  }
}

TEST_P(DoorTest, OffsetsOutOfRangeFail) {
  const Result result = run("reg read 0x1000000");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err, "zvgctl: register 0x1000000 is out of range: the last one is 0xffffff\n");
  EXPECT_EQ(bench_.trace(), "");
}

INSTANTIATE_TEST_SUITE_P(
    All, DoorTest, testing::Values("", memory_door, serial_door), [](const auto& row) {
      return std::string(row.index == 0 ? "Driver" : row.index == 1 ? "Memory" : "Serial");
    });

TEST(MemoryDoorTest, BeyondTheMappedLength) {
  Bench bench;
  const Result result = bench.run("reg read 0x2000 --mem 0xE0000000:0x1000");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err,
            "offset (8192) is out of range\n"
            "zvgctl: cannot read register at 0x2000: --mem maps only 0x1000 bytes of it\n");
  const Result vram = bench.run("vram dump f --length 8 --mem 0xE0000000:0x1000000");
  EXPECT_EQ(vram.exit, 1);
  EXPECT_EQ(vram.err,
            "zvgctl: --mem maps only 0x0 bytes of video memory: 0x8 from 0x0 on are asked for\n");
}

// reg

TEST(RegTest, WritesReachTheBoard) {
  Bench bench;
  bench.run("reg write 0x318000 0xA5 0x5a");
  EXPECT_EQ(bench.trace(), board_is_asked + "w4 mmio 0x318000 0xa5\nw4 mmio 0x318004 0x5a\n");
  bench.run("reg write 0x318010 0x1234 -w 16");
  EXPECT_EQ(bench.trace(), board_is_asked + "w2 mmio 0x318010 0x1234\n");
}

TEST(RegTest, MaskReadsAndWritesInItsWidth) {
  Bench bench;
  bench.run("reg mask 0x318000 0x0f 0x05");
  EXPECT_EQ(bench.trace(), "r1 mmio 0x318000 0x44\nw1 mmio 0x318000 0x45\n");
  bench.run("reg mask 0x318000 0xffff0000 0xabcd0000 --width 32");
  EXPECT_EQ(bench.trace(), "r4 mmio 0x318000 0x11223344\nw4 mmio 0x318000 0xabcd3344\n");
}

TEST(RegTest, AFailingDriverIsReported) {
  const std::string fault =
      "[[faults.driver]]\nrequest = 1\nnumber = 0x01\nerrno = \"EIO\"\ncount = 1000\n";
  Bench bench("generation = \"rq302\"\n" + fault);
  const Result read = bench.run("reg read 0x10");
  EXPECT_EQ(read.exit, 1);
  EXPECT_EQ(read.out, "");
  EXPECT_EQ(read.err, "zvgctl: cannot read register at 0x10: Input/output error\n");
  EXPECT_EQ(bench.run("reg write 0x10 0").err,
            "zvgctl: cannot write register at 0x10: Input/output error\n");
  EXPECT_EQ(bench.run("reg mask 0x10 1 0").err,
            "zvgctl: cannot change register 0x000010: Input/output error\n");
  EXPECT_EQ(bench.run("vram read 0x10").err,
            "zvgctl: cannot read video memory at 0x10: Input/output error\n");
  EXPECT_EQ(bench.run("crtc read 1").err,
            "zvgctl: cannot read CRTC index 0x01: Input/output error\n");
  for (const char* command :
       {"hdmi status", "hdmi mode 0", "edid read --hdmi 0", "hdmi ddc init 0"}) {
    const Result result = bench.run(command);
    EXPECT_EQ(result.exit, 1) << command;
    EXPECT_THAT(result.err, HasSubstr("zvgctl: ")) << command;
  }
}

TEST(RegTest, WatchEndsAfterItsCount) {
  Bench bench;
  const Result result = bench.run("reg watch 0x318000 --count 5 --interval 10");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out, "0x318000: 0x11223344\n");
  EXPECT_EQ(bench.trace().size(), 5 * std::string("r4 mmio 0x318000 0x11223344\n").size());
  const Result as_json = bench.run("reg watch 0x318000 --count 1 --json");
  const json line = json::parse(as_json.out);
  EXPECT_EQ(line["address"], "0x318000");
  EXPECT_EQ(line["value"], "0x11223344");
  EXPECT_TRUE(line["time"].get<std::string>().ends_with("Z"));
  EXPECT_TRUE(line["seconds"].is_number());
}

TEST(RegTest, WatchEndsWithCtrlC) {
  const Bench bench;
  zvgtest::Process watch({ZVGCTL_PROGRAM, "reg", "watch", "0x318000", "--sim", bench.board()});
  ASSERT_TRUE(watch.wait_for_output("0x318000: 0x11223344\n"));
  watch.send(SIGINT);
  const Result result = watch.finish();
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out, "0x318000: 0x11223344\n\n");
  EXPECT_EQ(result.err, "");
}

// vram

TEST(VramTest, LoadAndFillWriteWords) {
  Bench bench;
  const std::string file = bench.folder().put("in", "\x01\x02\x03\x04\x05\x06\x07\x08\x09");
  EXPECT_EQ(bench.run("vram load " + file + " --offset 0x20 --length 8 --yes").exit, 0);
  EXPECT_EQ(bench.trace(), board_is_asked + "w4 vram 0x20 0x4030201\nw4 vram 0x24 0x8070605\n");
  EXPECT_EQ(bench.run("vram fill 0xff00ff00 --offset 4 --length 8 --yes").exit, 0);
  EXPECT_EQ(bench.trace(), board_is_asked + "w4 vram 0x4 0xff00ff00\nw4 vram 0x8 0xff00ff00\n");
}

TEST(VramTest, AnExistingDumpIsKept) {
  Bench bench;
  const std::string file = bench.folder().put("out", "precious");
  const Result result = bench.run("vram dump " + file + " --length 4");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err,
            "zvgctl: " + file + " exists already: give another name, or --force to replace it\n");
  EXPECT_EQ(bench.folder().get("out"), "precious");
  EXPECT_EQ(bench.run("vram dump " + file + " --offset 0x100 --length 4 --force").exit, 0);
  EXPECT_EQ(bench.folder().get("out"), "\x0d\xf0\xfe\xca");
  EXPECT_EQ(bench.run("vram dump /nowhere/file --length 4").exit, 1);
}

TEST(VramTest, WordsThatCannotBeReachedAreAFailure) {
  // The library tries the bridge as well, then reports success whatever came of it.
  Bench bench(
      "generation = \"rq302\"\n[faults.amba]\nnever_answers = true\n"
      "[[faults.driver]]\nrequest = 1\nnumber = 0x01\nerrno = \"EIO\"\ncount = 1000000\n");
  const Result dump = bench.run("vram dump " + bench.folder().path("out") + " --length 1024");
  EXPECT_EQ(dump.exit, 1);
  EXPECT_EQ(dump.out, "");
  EXPECT_THAT(dump.err, testing::StartsWith(
                            "Failed to read vram [0x0]\n"
                            "zvgctl: 1 words of video memory could not be read, in the piece from "
                            "0x0 on: neither directly nor over the on-chip bus\n"));
  const std::string file = bench.folder().put("in", "12345678");
  const Result load = bench.run("vram load " + file + " --yes");
  EXPECT_EQ(load.exit, 1);
  EXPECT_THAT(load.err, HasSubstr("Failed to write vram [0x0]\nzvgctl: 1 words"));
  const Result fill = bench.run("vram fill 0 --length 8 --yes");
  EXPECT_EQ(fill.exit, 1);
  EXPECT_THAT(fill.err, HasSubstr("Failed to read vram [0x0]\nzvgctl: 1 words"));
  EXPECT_EQ(bench.folder().files(), 3u);  // the board, the trace and the file to load
}

TEST(VramTest, DumpsAndLoadsMoreThanAPiece) {
  Bench bench;
  std::string content;
  for (int i = 0; i < 200'004; ++i) content.push_back(static_cast<char>(i * 31 >> 3));
  const std::string file = bench.folder().put("in", content);
  EXPECT_EQ(bench.run("vram load " + file + " --offset 0x1000 --yes").exit, 0);
  const std::string trace = bench.trace();
  EXPECT_EQ(std::count(trace.begin(), trace.end(), '\n'), 50'002) << "and one to ask the board";
  EXPECT_THAT(trace, HasSubstr("w4 vram 0x31d40 "));
  EXPECT_EQ(bench.run("vram dump " + bench.folder().path("out") + " --length 200004").exit, 0);
  EXPECT_EQ(bench.folder().get("out").size(), 200'004u);
}

// Questions

TEST(QuestionTest, WithoutATerminalTheAnswerIsNo) {
  Bench bench;
  const std::string file = bench.folder().put("in", "1234");
  for (const std::string& command :
       {"vram load " + file, std::string("vram fill 0 --length 4"),
        std::string("kmem write 0xFFFF888000000010 0"), std::string("pci write 4 0"),
        std::string("ioport write 0xc2 3"), std::string("hdmi ddc write 0 0x50 0 0")}) {
    const Result result = bench.run(command, {.input = "y\n"});
    EXPECT_EQ(result.exit, 2) << command;
    EXPECT_THAT(result.err, HasSubstr("zvgctl: refusing to ")) << command;
    EXPECT_THAT(result.err, HasSubstr(" without being told --yes")) << command;
    EXPECT_EQ(bench.trace(), "") << command;
  }
}

// A terminal that types an answer.
class Terminal {
 public:
  explicit Terminal(const std::string& answer) {
    master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    grantpt(master_);
    unlockpt(master_);
    char name[128];
    ptsname_r(master_, name, sizeof name);
    path_ = name;
    slave_ = open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_EQ(write(master_, answer.data(), answer.size()), static_cast<ssize_t>(answer.size()));
  }
  ~Terminal() {
    close(slave_);
    close(master_);
  }
  const std::string& path() const { return path_; }

 private:
  int master_;
  int slave_;
  std::string path_;
};

TEST(QuestionTest, OnATerminalTheUserDecides) {
  const std::string question =
      "zvgctl is about to overwrite 4 bytes of video memory from 0x0000000 on. Go on? [y/N] ";
  for (const char* answer : {"n\n", "\n", "maybe\n", "\x04"}) {
    Bench bench;
    const Terminal terminal(answer);
    const Result result = bench.run("vram fill 0 --length 4", {.terminal = terminal.path()});
    EXPECT_EQ(result.exit, 1) << answer;
    EXPECT_EQ(result.err, question + "zvgctl: stopped: nothing was changed\n");
    EXPECT_EQ(bench.trace(), "");
  }
  for (const char* answer : {"y\n", "Y\n", "yes\n"}) {
    Bench bench;
    const Terminal terminal(answer);
    const Result result = bench.run("vram fill 0 --length 4", {.terminal = terminal.path()});
    EXPECT_EQ(result.exit, 0) << answer;
    EXPECT_EQ(result.err, question);
    EXPECT_EQ(bench.trace(), board_is_asked + "w4 vram 0x0 0x0\n");
  }
}

// The virtual board is another process, which is told what was answered.
TEST(QuestionTest, IsAskedOnceWithAVirtualBoard) {
  const Bench bench;
  for (const std::string command :
       {"vram fill 0 --length 4", "flash unprotect", "flash erase --region 0:0x1000",
        "i2c write 1 0x4c 1 2", "clock set 3d --mhz 900"}) {
    SCOPED_TRACE(command);
    const Terminal terminal("y\n");
    const Result result = zvgtest::zvgctl(command + " --sim " + bench.board(),
                                          {.environment = {{"ZVGSIM_VIRTUAL_TIME", "1"}},
                                           .patience = std::chrono::seconds(20),
                                           .terminal = terminal.path()});
    const size_t question = result.err.find("Go on? [y/N] ");
    ASSERT_NE(question, std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("Go on?", question + 1), std::string::npos);
    EXPECT_GE(result.exit, 0) << "nobody waits for a second answer";
  }
}

// crtc, amba, kmem, pci, ioport

TEST(CrtcTest, ReadWriteAndDump) {
  Bench bench;
  EXPECT_EQ(bench.run("crtc read 0x11").out, "0x11: 0x00\n");
  EXPECT_EQ(bench.run("crtc read 254").exit, 0);
  EXPECT_EQ(bench.run("crtc write 0x11 0x8e").out, "");
  EXPECT_THAT(bench.trace(), HasSubstr("w1 mmio 0x103d4 0x11\nw1 mmio 0x103d5 0x8e\n"));
  const json dump = json::parse(bench.run("crtc dump --json").out);
  EXPECT_EQ(dump["space"], "crtc");
  EXPECT_EQ(dump["width"], 8);
  EXPECT_EQ(dump["values"].size(), 255u);
  const std::string text = bench.run("crtc dump").out;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 16);
  EXPECT_THAT(text, HasSubstr("\n0xf0: 00"));
}

TEST(AmbaTest, ReachesRegistersAndVideoMemory) {
  Bench bench;
  EXPECT_EQ(bench.run("amba read 0x1318000").out, "0x0001318000: 0x11223344\n");
  EXPECT_EQ(bench.run("amba read 0x1318000 -w 64").out, "0x0001318000: 0x5566778811223344\n");
  EXPECT_EQ(bench.run("amba read 0x1318001 -w 8").out, "0x0001318001: 0x33\n");
  EXPECT_EQ(bench.run("amba read 0x1318002 -w 16").out, "0x0001318002: 0x1122\n");
  EXPECT_EQ(bench.run("amba read 0x8000000100 --count 2").out, "0x8000000100: cafef00d 01020304\n");
  EXPECT_EQ(bench.run(std::string("amba read 0x1318000 --generation rq301") + serial_door).out,
            "0x0001318000: 0x11223344\n");
}

TEST(AmbaTest, WritesAndMasks) {
  Bench bench;
  EXPECT_EQ(bench.run("amba write 0x8000000010 0x12345678").exit, 0);
  EXPECT_EQ(bench.run("amba mask 0x8000000010 0xf0 0xa0").exit, 0);
}

TEST(AmbaTest, NoAnswerIsAFailure) {
  Bench bench("generation = \"rq302\"\n[faults.amba]\nnever_answers = true\n");
  const Result read = bench.run("amba read 0x1308000");
  EXPECT_EQ(read.exit, 1);
  EXPECT_EQ(read.out, "");
  EXPECT_EQ(read.err,
            "zvgctl: cannot read the on-chip bus at 0x0001308000: the bridge did not get an answer "
            "in time; is there anything at that address, and is it the right chip?\n");
  EXPECT_THAT(bench.run("amba write 0x1308000 1").err,
              HasSubstr("zvgctl: cannot write the on-chip"));
  EXPECT_THAT(bench.run("amba mask 0x1308000 1 1").err,
              HasSubstr("zvgctl: cannot change the on-ch"));
}

TEST(KmemTest, ReadsAndWrites) {
  Bench bench;
  EXPECT_EQ(bench.run("kmem read 0xffff888000000010 --width 64").out,
            "0xffff888000000010: 0x1122334455667788\n");
  EXPECT_EQ(bench.run("kmem read 0xffff888000000010 --width 8 --count 4").out,
            "0xffff888000000010: 88 77 66 55\n");
  EXPECT_EQ(bench.run("kmem write 0xffff888000000010 0xab --width 16 --yes").exit, 0);
  EXPECT_EQ(bench.trace(), "w2 kmem 0xffff888000000010 0xab\n");
  const Result nowhere = bench.run("kmem read 0x10");
  EXPECT_EQ(nowhere.exit, 1);
  EXPECT_THAT(nowhere.err, HasSubstr("zvgctl: cannot read kernel memory at 0x0000000000000010: "));
}

TEST(PciTest, ReadsWritesAndDumps) {
  Bench bench;
  EXPECT_THAT(bench.run("pci read 0").out, testing::MatchesRegex("0x000: 0x[0-9a-f]{4}5a56\n"));
  EXPECT_THAT(bench.run("pci read 0x10-0x18").out,
              HasSubstr("0x010: d0000008 00000000 e0000000\n"));
  EXPECT_EQ(bench.run("pci write 4 7 --yes").exit, 0);
  EXPECT_EQ(bench.trace(), "w4 pci 0x4 0x7\n");
  EXPECT_EQ(json::parse(bench.run("pci dump --json").out)["values"].size(), 64u);
  const std::string text = bench.run("pci dump").out;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 16);
}

TEST(IoportTest, ReadsAndWrites) {
  Bench bench;
  EXPECT_THAT(bench.run("ioport read 0xcc").out, testing::MatchesRegex("0xcc: 0x[0-9a-f]{2}\n"));
  EXPECT_EQ(bench.run("ioport write 0xc2 3 --yes").exit, 0);
}

// edid read

// What the library prints for the bytes: its dump of the fetch, then the report.
std::string fetch_text(const std::string& bytes) {
  return zvgtest::capture([&] {
           edid_print_helper(reinterpret_cast<const uint8_t*>(bytes.data()),
                             static_cast<uint32_t>(bytes.size()), 1);
         })
      .out;
}

std::string report_text() {
  return zvgtest::capture([] { do_edid_parse(nullptr); }).out;
}

class EdidDoorTest : public testing::TestWithParam<const char*> {};

TEST_P(EdidDoorTest, PrintsWhatTheLibraryPrints) {
  for (const char* monitor : {"office-24-dvi", "studio-27-hdmi", "wall-55-4k"}) {
    Bench bench(monitor_board(monitor));
    const Result result = bench.run(std::string("edid read --hdmi 0") + GetParam());
    EXPECT_EQ(result.exit, 0) << monitor << result.err;
    const std::string bytes = monitor_bytes(monitor);
    const std::string fetched = fetch_text(bytes);
    EXPECT_EQ(result.out, zvgtest::without_colours(fetched + report_text())) << monitor;
    EXPECT_EQ(result.err,
              bytes.size() > 256 ? "zvgctl: the report covers the first 256 of 512 bytes\n" : "")
        << monitor;
    EXPECT_EQ(bench.run(std::string("edid read --hdmi 0 --no-report") + GetParam()).out, fetched);
  }
}

TEST_P(EdidDoorTest, SavesAllBlocks) {
  for (const char* monitor : {"office-24-dvi", "studio-27-hdmi", "wall-55-4k"}) {
    Bench bench(monitor_board(monitor));
    const std::string file = bench.folder().path("raw");
    const Result result = bench.run("edid read --hdmi 0 --no-report --raw " + file + GetParam());
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(bench.folder().get("raw"), monitor_bytes(monitor)) << monitor;
    const Result again = bench.run("edid read --hdmi 0 --raw " + file + GetParam());
    EXPECT_EQ(again.exit, 1);
    EXPECT_THAT(again.err, HasSubstr(file + " exists already"));
    EXPECT_EQ(bench.run("edid read --hdmi 0 --force --raw " + file + GetParam()).exit, 0);
  }
}

TEST_P(EdidDoorTest, JsonIsAllThereIsOnStdout) {
  Bench bench(monitor_board("wall-55-4k"));
  const Result result = bench.run(std::string("edid read --hdmi 0 --json") + GetParam());
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.err, "");
  const json document = json::parse(result.out);
  EXPECT_EQ(document["raw"], zvgtest::as_hex(monitor_bytes("wall-55-4k")));
  EXPECT_EQ(document,
            json::parse(zvgtest::zvgctl("edid show --json " + monitor_path("wall-55-4k")).out));
}

INSTANTIATE_TEST_SUITE_P(
    All, EdidDoorTest, testing::Values("", memory_door, serial_door), [](const auto& row) {
      return std::string(row.index == 0 ? "Driver" : row.index == 1 ? "Memory" : "Serial");
    });

// Over a serial line the whole EDID twice: answers carry no checksum there.
TEST_P(EdidDoorTest, FetchesEachByteOnce) {
  const size_t times = std::string(GetParam()) == serial_door ? 2 : 1;
  for (const char* monitor : {"office-24-dvi", "studio-27-hdmi", "wall-55-4k"}) {
    Bench bench(monitor_board(monitor));
    EXPECT_EQ(bench.run(std::string("edid read --hdmi 0") + GetParam()).exit, 0);
    size_t reads = 0;
    std::istringstream trace(bench.trace());
    for (std::string line; std::getline(trace, line);) {
      // The transmitter's DDC operation: a byte within two blocks, or one behind them.
      if (line.ends_with(" 0x117e04 0x1") || line.ends_with(" 0x117e04 0x2")) ++reads;
    }
    EXPECT_EQ(reads, times * monitor_bytes(monitor).size()) << monitor;
  }
}

TEST(EdidReadTest, NoMonitor) {
  Bench bench("generation = \"rq302\"\n");
  const Result result = bench.run("edid read --hdmi 0");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "zvgctl: HDMI 0: no monitor is plugged in, or it is off (zvgctl hdmi status shows all "
            "ports; --blind reads all the same)\n");
  const Result blind = bench.run("edid read --hdmi 0 --blind");
  EXPECT_EQ(blind.exit, 1);
  EXPECT_EQ(blind.out, "");
  EXPECT_EQ(blind.err,
            "zvgctl: HDMI 0: the monitor's EDID could not be read over DDC: the monitor does not "
            "answer, or stopped in the middle, at offset 0x0\n");
}

TEST(EdidReadTest, ReadsBlindlyWhereHotPlugIsNotWired) {
  Bench bench(monitor_board("tube-19-vga", "receiver_sense = 0\n"));
  EXPECT_EQ(bench.run("edid read --hdmi 0").exit, 1);
  const Result result = bench.run("edid read --hdmi 0 --blind --no-report");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out, fetch_text(monitor_bytes("tube-19-vga")));
}

TEST(EdidReadTest, ANackEndsIt) {
  const std::string unread =
      "the monitor's EDID could not be read over DDC: the monitor does not answer, or stopped in "
      "the middle, at offset ";
  const std::pair<const char*, std::string> rows[] = {
      {"ddc_nack_at_byte = 127", unread + "0x7f\n"},
      {"ddc_nack_at_byte = 0", unread + "0x0\n"},
      {"ddc_nack_at_byte = 300",
       "nothing acknowledged the read of DDC address 0x50, offset 0x12c\n"},
      {"ddc_nack = [0x50]", unread + "0x0\n"},
      {"ddc_busy = true", unread + "0x0\n"},
  };
  for (const auto& [fault, reason] : rows) {
    Bench bench(
        monitor_board("wall-55-4k", std::string("[[faults.hdmi]]\nport = 0\n") + fault + "\n"));
    for (const char* option : {"", " --json"}) {
      const std::string raw = bench.folder().path("raw");
      const Result result = bench.run("edid read --hdmi 0 --raw " + raw + option);
      EXPECT_EQ(result.exit, 1) << fault;
      if (*option == '\0') {
        EXPECT_EQ(result.out, "") << fault;
      } else {
        EXPECT_EQ(json::parse(result.out)["schema"], "zvg/error/1") << fault;
      }
      EXPECT_EQ(result.err, "zvgctl: HDMI 0: " + reason) << fault;
      EXPECT_FALSE(std::filesystem::exists(raw)) << fault;
    }
  }
}

TEST(EdidReadTest, DamageIsSaidAndFailsWhenStrict) {
  Bench bench;
  std::string bytes = monitor_bytes("office-24-dvi");
  bytes[127] = static_cast<char>(bytes[127] + 1);
  const std::string edid = bench.folder().put("bad.edid", bytes);
  Bench damaged("generation = \"rq302\"\n[[hdmi]]\nport = 0\nedid = \"" + edid + "\"\n");
  const Result lenient = damaged.run("edid read --hdmi 0");
  EXPECT_EQ(lenient.exit, 0);
  EXPECT_EQ(lenient.err, "zvgctl: the EDID is damaged: the checksum of block 0 is wrong\n");
  const Result strict = damaged.run("edid read --hdmi 0 --strict");
  EXPECT_EQ(strict.exit, 1);
  EXPECT_EQ(strict.out, lenient.out);
  // Over a line it is more likely the line.
  const Result serial = damaged.run(std::string("edid read --hdmi 0") + serial_door);
  EXPECT_EQ(serial.exit, 1);
  EXPECT_EQ(serial.err, lenient.err);
}

// Serial faults of the virtual board, in virtual time

TEST(SerialFaultTest, EveryFaultEndsTheCommand) {
  for (const char* fault :
       {"action = \"drop\"", "action = \"cut\"\nbytes = 2", "action = \"delay\"\ndelay_ms = 2500",
        "action = \"noise\"\nbytes = 1", "action = \"noise\"\nbytes = 3"}) {
    Bench bench(std::string(known_board) + "[[faults.uart]]\nreply = 3\n" + fault + "\n");
    const Result result =
        bench.run(std::string("reg read 0x318000 --count 4 --serial /dev/ttyZVG0"));
    EXPECT_EQ(result.exit, 1) << fault;
    EXPECT_EQ(result.out, "") << fault;
    EXPECT_THAT(result.err, HasSubstr("zvgctl: no")) << fault;
  }
}

// The library's own register functions swallow a lost reply; its loops would go on with zeros.
struct DeadLine {
  const char* command;
  int reply;  // the first that is lost; number 1 is for the tool's question whether a board is
              // there
};

void PrintTo(const DeadLine& parameter, std::ostream* out) {
  *out << parameter.command << " without reply " << parameter.reply;
}

class DeadLineTest : public testing::TestWithParam<DeadLine> {};

TEST_P(DeadLineTest, EndsTheCommand) {
  Bench bench(
      monitor_board("wall-55-4k", "[[faults.uart]]\nreply = " + std::to_string(GetParam().reply) +
                                      "\naction = \"drop\"\ncount = 1000000\n"));
  const Result result = bench.run(std::string(GetParam().command) + serial_door);
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(
      result.err,
      testing::MatchesRegex(
          "uart receive data timeout!\nzvgctl: (the serial link /dev/ttyZVG0 at 115200 baud failed "
          "in the middle of the work .|an access to the board failed, so the result cannot be "
          "trusted: )no whole answer over the serial line from bus address 0x0001[0-9a-f]{6}(.: "
          "check the line and the board's power)?\n"));
}

INSTANTIATE_TEST_SUITE_P(
    InsideTheLibrary, DeadLineTest,
    testing::Values(DeadLine{"edid read --hdmi 0", 2}, DeadLine{"edid read --hdmi 0", 100},
                    DeadLine{"edid read --hdmi 0 --json", 500}, DeadLine{"hdmi status", 2},
                    DeadLine{"hdmi mode 0", 3}, DeadLine{"hdmi phy read 0 1", 2},
                    DeadLine{"hdmi phy start 0", 2}, DeadLine{"hdmi phy end 0", 2},
                    DeadLine{"hdmi ddc init 0", 2}, DeadLine{"hdmi ddc dump 0", 100},
                    DeadLine{"crtc dump", 2}, DeadLine{"crtc write 0 1", 2},
                    DeadLine{"amba read 0 --generation rq302", 2},
                    DeadLine{"amba mask 0 1 1 --generation rq302", 9}));

TEST(SerialFaultTest, ALostReplyInsideAnEdidEndsIt) {
  Bench bench(monitor_board("studio-27-hdmi", "[[faults.uart]]\nreply = 100\naction = \"drop\"\n"));
  const Result result = bench.run(std::string("edid read --hdmi 0") + serial_door);
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(
      result.err,
      HasSubstr("uart receive data timeout!\nzvgctl: the serial link /dev/ttyZVG0 at 115200 "
                "baud failed in the middle of the work"));
}

TEST(SerialFaultTest, ALostReplyBehindTwoBlocksOfAnEdidEndsIt) {
  Bench bench(monitor_board("wall-55-4k", "[[faults.uart]]\nreply = 1000\naction = \"drop\"\n"));
  const Result result = bench.run(std::string("edid read --hdmi 0") + serial_door);
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, HasSubstr("uart receive data timeout!\nzvgctl: no whole answer from the "
                                    "board on /dev/ttyZVG0 at 115200 baud"));
}

TEST(SerialFaultTest, ACorruptedReplyInsideAnEdidIsDamage) {
  // The 11th data byte: three replies a byte, and three before the first.
  Bench bench(monitor_board("office-24-dvi",
                            "[[faults.uart]]\nreply = 1\naction = \"corrupt\"\n"
                            "count = 4000\n"));
  const Result result = bench.run(std::string("edid read --hdmi 0 --blind") + serial_door);
  EXPECT_EQ(result.exit, 1);
}

// hdmi

TEST(HdmiTest, StatusOfAllPorts) {
  const Result result = zvgctl_sim("hdmi status");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out,
            "HDMI  monitor  receivers  PLL         pixel clock  TMDS clock\n"
            "0     yes      0xf        locked      on           on\n"
            "1     yes      0xf        locked      on           on\n"
            "2     yes      0xf        locked      on           on\n"
            "3     no       0x0        not locked  on           off\n");
  EXPECT_EQ(zvgctl_sim(std::string("hdmi status") + serial_door).out, result.out);
  const json document = json::parse(zvgctl_sim("hdmi status --json").out)["ports"];
  EXPECT_EQ(document.size(), 4u);
  EXPECT_EQ(document[3], json({{"hdmi", 3},
                               {"hot_plug", false},
                               {"receiver_sense", 0},
                               {"pll_locked", false},
                               {"pixel_clock", true},
                               {"tmds_clock", false}}));
}

TEST(HdmiTest, StatusOfOnePort) {
  EXPECT_EQ(zvgctl_sim("hdmi status 2").out,
            "HDMI  monitor  receivers  PLL     pixel clock  TMDS clock\n"
            "2     yes      0xf        locked  on           on\n");
}

TEST(HdmiTest, ModeShowsTheTimingAsItIs) {
  EXPECT_EQ(zvgctl_sim("hdmi mode 0").out,
            "HDMI 0: 2560x1440\n"
            "pixel-clock word: 241500 (0x03af5c)\n"
            "            active  sync start  sync end  total\n"
            "horizontal  2560    2608        2640      2720\n"
            "vertical    1440    1443        1448      1481\n");
  const json document = json::parse(zvgctl_sim("hdmi mode 2 --json").out);
  EXPECT_EQ(document["pixel_clock_word"], 594000);
  EXPECT_EQ(document["horizontal"]["total"], 4400);
  EXPECT_EQ(document["vertical"]["sync_end"], 2178);
}

TEST(HdmiTest, PhyRegistersAndSteps) {
  Bench bench(monitor_board("office-24-dvi"));
  EXPECT_THAT(bench.run("hdmi phy read 0 0x06").out,
              testing::MatchesRegex("0x06: 0x[0-9a-f]{4}\n"));
  EXPECT_EQ(json::parse(bench.run("hdmi phy read 0 6 --json").out)["register"], "0x6");
  EXPECT_EQ(bench.run("hdmi phy write 0 0x06 0x1234").out, "");
  EXPECT_THAT(bench.trace(), HasSubstr("w1 mmio 0x113022 0x12\nw1 mmio 0x113023 0x34\n"));
  EXPECT_EQ(bench.run("hdmi phy reset 0").out, "HDMI 0: the PHY was reset\n");
  EXPECT_EQ(bench.run("hdmi phy start 0").out,
            "HDMI 0: the PHY is ready for its registers to be written\n");
  EXPECT_EQ(bench.run("hdmi phy end 0").out, "HDMI 0: the PHY is up and its PLL locked\n");
}

TEST(HdmiTest, APllThatNeverLocksAndABusThatHangs) {
  Bench bench(monitor_board(
      "office-24-dvi", "[[faults.hdmi]]\nport = 0\npll_never_locks = true\nphy_busy = true\n"));
  const Result end = bench.run("hdmi phy end 0");
  EXPECT_EQ(end.exit, 1);
  EXPECT_THAT(end.out, HasSubstr("PHY PLL not locked: PCLK_ON="));
  EXPECT_EQ(end.err, "zvgctl: HDMI 0: cannot bring the PHY up: its PLL did not lock\n");
  const Result read = bench.run("hdmi phy read 0 0");
  EXPECT_EQ(read.exit, 1);
  EXPECT_EQ(read.err,
            "zvgctl: HDMI 0: cannot read PHY register 0x00: the controller did not finish in "
            "time\n");
}

TEST(HdmiTest, TheDeadlineEndsALibraryLoop) {
  const Bench bench(monitor_board("office-24-dvi", "[[faults.hdmi]]\nport = 0\nphy_busy = true\n"));
  const Result result = zvgtest::zvgctl("hdmi phy read 0 0 --deadline 1 --sim " + bench.board());
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("zvgctl: not done within the deadline of 1 s"));
  EXPECT_LT(result.seconds, 3);
}

TEST(HdmiTest, DdcReadsTheMonitor) {
  Bench bench(monitor_board("office-24-dvi"));
  EXPECT_EQ(bench.run("hdmi ddc init 0").out, "HDMI 0: the DDC bus is set up for standard mode\n");
  EXPECT_EQ(bench.trace(),
            board_is_asked +
                "w1 mmio 0x117e0c 0x4\nw1 mmio 0x117e0b 0x1\nw1 mmio 0x117e0e 0xe\n"
                "w1 mmio 0x117e0d 0x1\nr1 mmio 0x117e07 0x8\nw1 mmio 0x117e07 0x0\n");
  EXPECT_EQ(bench.run("hdmi ddc read 0 0x50 1").out, "0x01: 0xff\n");
  EXPECT_EQ(bench.run("hdmi ddc read 0 0x50 0 --count 8").out, "0x00: 00 ff ff ff ff ff ff 00\n");
  const json document = json::parse(bench.run("hdmi ddc read 0 80 6 -n 2 --json").out);
  EXPECT_EQ(document["slave"], "0x50");
  EXPECT_EQ(document["bytes"], "ff00");
  const std::string dump = bench.run("hdmi ddc dump 0").out;
  EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 16);
  EXPECT_EQ(bench.run("hdmi ddc dump 0 0x50").out, dump);
}

TEST(HdmiTest, DdcReadThatNobodyAcknowledges) {
  Bench bench(monitor_board("office-24-dvi"));
  const Result result = bench.run("hdmi ddc read 0 0x42 0");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "zvgctl: HDMI 0: cannot read DDC address 0x42, offset 0x00 (does anything there "
            "acknowledge?): the controller reports an error\n");
}

// The DDC master's own status is asked, not the PHY's, and a refusal is a failure.
TEST(HdmiTest, DdcWriteWaitsForTheDdcMaster) {
  Bench bench(monitor_board("office-24-dvi"));
  const Result result = bench.run("hdmi ddc write 0 0x50 3 4 --yes");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err,
            "zvgctl: HDMI 0: nothing acknowledged the write of DDC address 0x50, offset 0x3\n");
  EXPECT_THAT(bench.trace(),
              testing::StartsWith(board_is_asked + "w1 mmio 0x110105 0x3\nw1 mmio 0x117e00 0x50\n"
                                                   "w1 mmio 0x117e01 0x3\nw1 mmio 0x110185 0x3\n"
                                                   "w1 mmio 0x117e02 0x4\nw1 mmio 0x117e04 0x10\n"
                                                   "r1 mmio 0x110105 "));
  EXPECT_THAT(bench.trace(), testing::Not(HasSubstr("0x110108")));
  Bench hung(monitor_board("office-24-dvi", "[[faults.hdmi]]\nport = 0\nddc_busy = true\n"));
  const Result hang = hung.run("hdmi ddc write 0 0x50 3 4 --yes");
  EXPECT_EQ(hang.exit, 1);
  EXPECT_EQ(hang.err,
            "zvgctl: HDMI 0: the DDC master did not finish the write of address 0x50, offset "
            "0x3\n");
}

// The virtual board's UART on a real pseudo-terminal, at every rate

TEST(ServedBoardTest, AnswersAtEveryRate) {
  const Bench bench;
  zvgtest::Process server({ZVGSIM_PROGRAM, "serve", "--uart", "--board", bench.board()});
  ASSERT_TRUE(server.wait_for_output("\n"));
  const std::string path = server.output().substr(0, server.output().find('\n'));
  for (const char* baud : {":9600", ":19200", ":38400", ":115200", ":460800"}) {
    const Result result = zvgtest::zvgctl("reg read 0x318000 --width 64 --serial " + path + baud);
    EXPECT_EQ(result.exit, 0) << baud << result.err;
    EXPECT_EQ(result.out, "0x318000: 0x5566778811223344\n") << baud;
  }
  // One board through it all: what is written stays.
  EXPECT_EQ(zvgtest::zvgctl("reg write 0x318008 0x99 --serial " + path).exit, 0);
  EXPECT_EQ(zvgtest::zvgctl("reg read 0x318008 --serial " + path).out, "0x318008: 0x00000099\n");
  EXPECT_EQ(zvgtest::zvgctl("reg mask 0x318008 0xf0 0xf0 --serial " + path).exit, 0);
  EXPECT_EQ(zvgtest::zvgctl("reg read 0x318008 --serial " + path).out, "0x318008: 0x000000f9\n");
  server.send(SIGTERM);
  EXPECT_EQ(server.finish().exit, 0);
}

TEST(ServedBoardTest, GivesItsMonitorsEdid) {
  const Bench bench(monitor_board("studio-27-hdmi"));
  zvgtest::Process server({ZVGSIM_PROGRAM, "serve", "--uart", "--board", bench.board()});
  ASSERT_TRUE(server.wait_for_output("\n"));
  const std::string path = server.output().substr(0, server.output().find('\n'));
  const Result result = zvgtest::zvgctl("edid read --hdmi 0 --json --serial " + path + ":460800");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(json::parse(result.out)["raw"], zvgtest::as_hex(monitor_bytes("studio-27-hdmi")));
  server.send(SIGTERM);
  server.finish();
}

}  // namespace
