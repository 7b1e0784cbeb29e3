// I2C buses, rails, video inputs and the microcontroller, from the command line.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "tools/zvgctl_process.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using zvgtest::Folder;
using zvgtest::on_virtual_time;
using zvgtest::Process;
using zvgtest::Result;
using zvgtest::run;
using zvgtest::zvgctl;
using zvgtest::zvgctl_sim;
using zvgtest::zvgctl_words;
using Json = nlohmann::json;

constexpr char board_text[] = R"(
[[power_monitors]]
name = "front"
chip = "ltc2990"
bus = 1
address = 0x4D
supply = 3.3
volts = [3.33, 3.3, 1.8, 1.2]
shunts = [{ name = "3V3", milliohms = 2.5, amperes = { value = 6, swing = 3, period_s = 4 } }]
[[power_monitors]]
chip = "ltc2991"
bus = 1
address = 0x49
volts = [1, 2, 3, 4, 1.5, 2.5, 3.5, 4.5]
shunts = [{ milliohms = 10, amperes = 2 }, { milliohms = 10, amperes = -4 }]
[[power_monitors]]
chip = "ina3221"
bus = 2
address = 0x40
shunts = [{ milliohms = 5, amperes = -3 }, { milliohms = 10, amperes = 1.2 }]
[[i2c_memories]]
bus = 0
address = 0x54
contents = [0x10, 0x20, 0x30]
[[video]]
port = 1
bus = 3
address = 0x25
width = 704
height = 576
)";

// A command on a board of its own, in virtual time.
class BoardChips : public testing::Test {
 protected:
  std::string board(const std::string& more = "") const {
    return folder_.put("board.toml", board_text + more);
  }
  Result on(const std::string& board_file, const std::string& command) const {
    return run(zvgctl_words("--sim " + board_file + " " + command), on_virtual_time());
  }
  Folder folder_;
};

// i2c ---------------------------------------------------------------------------------------

TEST_F(BoardChips, ScanDrawsTheGrid) {
  const Result result = on(board(), "i2c scan 1");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "bus 1\n"
            "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f\n"
            "00:                         -- -- -- -- -- -- -- --\n"
            "10: -- -- -- -- -- -- -- -- -- -- -- -- -- -- -- --\n"
            "20: -- -- -- -- -- -- -- -- -- -- -- -- -- -- -- --\n"
            "30: -- -- -- -- -- -- -- -- -- -- -- -- -- -- -- --\n"
            "40: -- -- -- -- -- -- -- -- -- 49 -- -- -- 4d -- --\n"
            "50: -- -- -- -- -- -- -- -- -- -- -- -- -- -- -- --\n"
            "60: -- -- -- -- -- -- -- -- -- -- -- -- -- -- -- --\n"
            "70: -- -- -- -- -- -- -- --                        \n");
}

TEST_F(BoardChips, ScanOfAllBusesAsJson) {
  const Result result = on(board(), "i2c scan --json");
  EXPECT_EQ(Json::parse(result.out), Json::parse(R"({"schema": "zvg/i2c-scan/1", "buses": [
                            {"bus": 0, "devices": ["0x54"]}, {"bus": 1, "devices": ["0x49", "0x4d"]},
                            {"bus": 2, "devices": ["0x40"]}, {"bus": 3, "devices": ["0x25"]},
                            {"bus": 4, "devices": []}, {"bus": 5, "devices": []}]})"));
}

TEST_F(BoardChips, ScanGivesADeviceThatRefusesBytes) {
  const Result result =
      on(board("[[faults.i2c]]\nbus = 0\naddress = 0x54\nnack_at_byte = 1\n"), "i2c scan 0 --json");
  EXPECT_EQ(Json::parse(result.out)["buses"][0]["devices"], Json({"0x54"}));
}

TEST_F(BoardChips, ReadsDumpsAndWritesRegisters) {
  const std::string file = board();
  EXPECT_EQ(on(file, "i2c read 0 0x54 1").out, "0x01: 0x20\n");
  EXPECT_EQ(on(file, "i2c read 0 0x54 0 --count 4").out, "0x00: 10 20 30 00\n");
  EXPECT_EQ(Json::parse(on(file, "i2c read 0 84 0 -c 2 --json").out),
            Json::parse(R"({"schema": "zvg/i2c-read/1", "bus": 0, "address": "0x54",
                            "register": "0x0", "bytes": "1020"})"));
  const Result dump = on(file, "i2c dump 0 0x54");
  EXPECT_THAT(dump.out, testing::StartsWith("0x00: 10 20 30 00 00"));
  EXPECT_EQ(std::count(dump.out.begin(), dump.out.end(), '\n'), 16);
  EXPECT_EQ(on(file, "i2c write 0 0x54 0x10 1 2 --yes").exit, 0);
  const Result unasked = on(file, "i2c write 0 0x54 0x10 1");
  EXPECT_EQ(unasked.exit, 2);
  EXPECT_THAT(unasked.err, HasSubstr("write 1 byte to register 0x10 of I2C device 0x54 on bus 0"));
}

TEST_F(BoardChips, SaysWhyATransferFailed) {
  const Result absent = on(board(), "i2c read 0 0x20 0");
  EXPECT_EQ(absent.exit, 1);
  EXPECT_THAT(absent.err, HasSubstr("I2C bus 0, address 0x20: cannot read: no device answers"));
  const Result refused = on(board("[[faults.i2c]]\nbus = 0\naddress = 0x54\nnack_at_byte = 2\n"),
                            "i2c write 0 0x54 0 1 --yes");
  EXPECT_EQ(refused.exit, 1);
  EXPECT_THAT(refused.err, HasSubstr("did not acknowledge a byte"));
}

TEST_F(BoardChips, WrongI2cArguments) {
  for (const auto& [command, why] : std::initializer_list<std::pair<const char*, const char*>>{
           {"i2c scan 6", "BUS: 6 is too large"},
           {"i2c read 0 0x80 0", "ADDRESS: 0x80 is too large"},
           {"i2c read 0 0x50 0x100", "REGISTER: 0x100 is too large"},
           {"i2c read 0 0x50 0 -c 0", "--count: expected at least 1"},
           {"i2c read 0 0x50 0 -c 257", "--count: 257 is too large"},
           {"i2c read 0 0x50 0xf8 -c 9", "beyond the last one, 0xff: expected at most 8"},
           {"i2c write 0 0x50 0xff 1 2 -y", "VALUE: 2 registers from 0xff on go beyond"},
           {"i2c write 0 0x50 0 0x100 -y", "VALUE: 0x100 is too large"},
           {"--serial /dev/null i2c scan 4", "BUS: 4 is too large"},
           {"ddc read 16", "CHANNEL: 16 is too large"},
           {"--serial /dev/null ddc read 0", "driver"},
           {"mcu edid 1", "expected FIRST:SECOND"},
           {"mcu edid 1:16", "16 is too large"},
           {"edid read", "1 option"},
           {"edid read --hdmi 0 --ddc 1", "1 option"},
           {"video init 2 --channel 0", "PORT: 2 is too large"},
           {"video init 0 --channel 4", "--channel: 4 is too large"},
           {"video init 0 --channel 0 --window c", "--window: expected a or b"},
           {"video start 0 --size 720", "--size: expected two numbers, as 640x480"},
           {"video start 0 --size 1x1 --format-a 4", "--format-a: 4 is too large"},
           {"power read --chip ltc2990:1", "--chip: expected CHIP:BUS:ADDRESS"},
           {"power read --chip ltc2992:1:0x4c", "--chip: expected CHIP:BUS:ADDRESS"},
           {"power read --chip ltc2990:1:0x48", "an ltc2990 is at 0x4c to 0x4f"},
           {"power read --chip ltc2990:1:0x4c:a", "expected milliohms"},
           {"power read --chip ltc2990:1:0x4c:1,2,3", "at most 2 sense resistors"},
           {"power watch --interval 0", "--interval: expected seconds"}}) {
    const Result result = zvgctl_sim(command);
    EXPECT_EQ(result.exit, 2) << command;
    EXPECT_THAT(result.err, HasSubstr(why)) << command;
  }
}

// edid and ddc ------------------------------------------------------------------------------

TEST_F(BoardChips, ReadsEdidsByTheDriverAndTheMicrocontroller) {
  const Result hdmi = zvgctl_sim("edid read --hdmi 0 --json");
  const Result ddc = zvgctl_sim("edid read --ddc 0 --json");
  const Result mcu = zvgctl_sim("edid read --mcu 0:1 --json");
  EXPECT_EQ(ddc.exit, 0) << ddc.err;
  EXPECT_EQ(mcu.exit, 0) << mcu.err;
  EXPECT_EQ(ddc.out, hdmi.out);
  EXPECT_EQ(mcu.out, hdmi.out);  // the same monitor
  const Result report = zvgctl_sim("edid read --ddc 0");
  EXPECT_THAT(report.out, HasSubstr("EDID is ready for parsed."));
  EXPECT_THAT(report.out, HasSubstr("Maximum Pixel Clock"));
}

TEST_F(BoardChips, SavesWhatTheDriverRead) {
  const Result result = zvgctl_sim("ddc read 1 --raw " + folder_.path("monitor.bin"));
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_THAT(result.out, testing::StartsWith("0x000: 00 ff ff ff ff ff ff 00"));
  EXPECT_EQ(folder_.get("monitor.bin").size(), 128u);
}

TEST_F(BoardChips, SaysThatNoMonitorAnswers) {
  EXPECT_THAT(zvgctl_sim("ddc read 9").err, HasSubstr("DDC 9: cannot read the EDID"));
  const Result mcu = zvgctl_sim("mcu edid 4:4");
  EXPECT_EQ(mcu.exit, 1);
  EXPECT_EQ(mcu.out, "");
  EXPECT_THAT(mcu.err, HasSubstr("MCU 4:4: the microcontroller could not read the EDID"));
}

TEST_F(BoardChips, AHungMicrocontrollerMeetsTheDeadline) {
  const std::string file = folder_.put("hung.toml", "[faults.mcu]\nnever_done = true\n");
  const Result result = run(zvgctl_words("--sim " + file + " --deadline 1 mcu edid 0:0"));
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("not done within the deadline of 1 s"));
}

TEST_F(BoardChips, RestartsTheMicrocontroller) {
  const std::string stopped = folder_.put("stopped.toml", "[mcu]\nrunning = false\n");
  EXPECT_EQ(on(stopped, "mcu reset --yes").out, "the microcontroller was restarted\n");
  EXPECT_EQ(on(stopped, "mcu reset").exit, 2);
  EXPECT_EQ(zvgctl_sim("mcu reset").out, "the microcontroller runs; nothing to do\n");
}

// power -------------------------------------------------------------------------------------

// The rails of a JSON document, by "chip rail".
std::map<std::string, Json> rails(const std::string& text) {
  std::map<std::string, Json> found;
  const Json document = Json::parse(text);
  for (const Json& rail : document["rails"]) {
    found[std::string(rail["chip"]) + " " + std::string(rail["rail"])] = rail;
  }
  return found;
}

TEST_F(BoardChips, MeasuresTheBoardsRails) {
  const Result result = on(board(), "power read --json");
  ASSERT_EQ(result.exit, 0) << result.err;
  auto found = rails(result.out);
  EXPECT_EQ(found.size(), 4u + 7u + 2u);
  const Json& rail = found["front 3V3"];
  EXPECT_NEAR(rail["volts"], 3.3, 0.0004);
  const double amperes = rail["amperes"];
  EXPECT_NEAR(amperes, 6, 3.1);
  EXPECT_NEAR(rail["watts"], double(rail["volts"]) * amperes, 0.003);
  EXPECT_NEAR(found["front V3"]["volts"], 1.8, 0.0004);
  EXPECT_TRUE(found["front V3"]["amperes"].is_null());
  EXPECT_NEAR(found["front supply"]["volts"], 3.3, 0.0004);
  EXPECT_NEAR(found["ltc2991@1:49 V1-V2"]["amperes"], 2, 0.002);
  EXPECT_NEAR(found["ltc2991@1:49 V3-V4"]["amperes"], -4, 0.002) << "the sign is set right";
  EXPECT_NEAR(found["ltc2991@1:49 V8"]["volts"], 4.5, 0.0004);
  EXPECT_NEAR(found["ina3221@2:40 CH1"]["amperes"], -3, 0.01);
  EXPECT_NEAR(found["ina3221@2:40 CH2"]["amperes"], 1.2, 0.01);
  EXPECT_TRUE(found["ina3221@2:40 CH1"]["volts"].is_null());
}

TEST_F(BoardChips, ChipsCanBeNamedOnTheCommandLine) {
  const std::string file = board();
  const Result result = on(file,
                           "power read --json --chip ltc2990:1:0x4d:0,0 --chip "
                           "ina3221:2:0x40:5,10");
  auto found = rails(result.out);
  EXPECT_EQ(found.size(), 5u + 2u);
  EXPECT_NEAR(found["ltc2990@1:4d V1"]["volts"], 3.33, 0.0004);
  EXPECT_NEAR(found["ina3221@2:40 CH2"]["amperes"], 1.2, 0.01);
}

// A board that outlives the commands, at the end of a serial line.
class ServedBoard {
 public:
  ServedBoard(const Folder& folder, const std::string& board)
      : link_(folder.path("uart")),
        process_({ZVGSIM_PROGRAM, "serve", "--uart", "--link", link_, "--board", board}) {
    EXPECT_TRUE(process_.wait_for_output("\n"));
  }
  Result operator()(const std::string& command) const {
    return zvgctl("--serial " + link_ + " " + command);
  }

 private:
  const std::string link_;
  Process process_;
};

TEST_F(BoardChips, RailsOverASerialLineAreTheSame) {
  const std::string command = "power read --chip ltc2990:1:0x4d";
  const ServedBoard serial(folder_, board());
  const Result result = serial(command);
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out, on(board(), command).out);
}

TEST_F(BoardChips, RailsThroughTheAperturesAreTheSame) {
  const std::string command = "power read --chip ltc2990:1:0x4d";
  const Result result = on(board(), command + zvgtest::memory_door + " --generation rq302");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out, on(board(), command).out);
}

TEST_F(BoardChips, TheTableLinesUp) {
  const Result result = on(board(), "power read");
  EXPECT_THAT(result.out, HasSubstr("CHIP          RAIL       VOLTS   AMPERES     WATTS\n"));
  EXPECT_THAT(result.out, HasSubstr("front         V3        1.8000         -         -\n"));
}

TEST_F(BoardChips, WatchShowsRailsThatChange) {
  const Result result = on(board(), "power watch --count 8 --interval 0.5 --json");
  ASSERT_EQ(result.exit, 0) << result.err;
  std::istringstream lines(result.out);
  double lowest = 1e9, highest = -1e9;
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    const double amperes = rails(line)["front 3V3"]["amperes"];
    lowest = std::min(lowest, amperes);
    highest = std::max(highest, amperes);
  }
  EXPECT_EQ(count, 8);
  EXPECT_LT(lowest, 4);
  EXPECT_GT(highest, 8);
}

TEST_F(BoardChips, WatchWritesCsv) {
  const Result result = on(board(), "power watch --count 2 --csv");
  std::istringstream lines(result.out);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "time,chip,rail,volts,amperes,watts");
  int rows = 0;
  for (; std::getline(lines, line); ++rows) EXPECT_EQ(std::count(line.begin(), line.end(), ','), 5);
  EXPECT_EQ(rows, 2 * 13);
}

TEST_F(BoardChips, CtrlCEndsAWatchCleanly) {
  for (const int signal : {SIGINT, SIGTERM}) {
    Process process(zvgctl_words("--sim " + board() + " power watch --csv --interval 30"));
    ASSERT_TRUE(process.wait_for_output("CH2"));
    process.send(signal);
    const Result result = process.finish();
    EXPECT_EQ(result.exit, 0) << result.signal;
    EXPECT_EQ(result.err, "\n");
    EXPECT_TRUE(result.out.ends_with("\n"));
    EXPECT_LT(result.seconds, 20);
  }
}

TEST_F(BoardChips, SaysWhatIsWrongWithAChip) {
  const std::string place = "bus = 1\naddress = 0x4D\n";
  const struct {
    std::string fault, why;
  } rows[] = {{"stays_busy = true", "its conversion did not end within 10 s"},
              {"never_ready = true", "its results did not get ready within 10 s"},
              {"nack = true", "address 0x4d: cannot ltc2990"}};
  for (const auto& row : rows) {
    const Result result = on(board("[[faults.i2c]]\n" + place + row.fault + "\n"), "power read");
    EXPECT_EQ(result.exit, 1) << row.fault;
    EXPECT_THAT(result.err, HasSubstr(row.why));
    EXPECT_EQ(result.out, "");
  }
  // Stale results are told, beside the values.
  const Result stale = on(board("[[faults.i2c]]\n" + place + "drops_valid = true\n"), "power read");
  EXPECT_EQ(stale.exit, 0);
  EXPECT_THAT(stale.err, HasSubstr("LTC2990 V1="));
  EXPECT_THAT(stale.err, HasSubstr("invalid raw voltage is exist"));
  EXPECT_THAT(stale.out, testing::Not(HasSubstr("invalid")));
}

TEST_F(BoardChips, WrongBoardFiles) {
  EXPECT_THAT(zvgctl_sim("power read --board " + folder_.path("none.toml")).err,
              HasSubstr("none.toml"));
  const std::string empty = folder_.put("empty.toml", "generation = \"rq301\"\n");
  EXPECT_THAT(zvgctl_sim("power read --board " + empty).err,
              HasSubstr("names no [[power_monitors]]"));
  const std::string wrong = folder_.put(
      "wrong.toml", "[[power_monitors]]\nchip = \"ltc2990\"\nbus = 9\naddress = 0x4c\n");
  EXPECT_THAT(zvgctl_sim("power read --board " + wrong).err,
              HasSubstr("wrong.toml:1: expected a bus"));
}

TEST(Power, NeedsToKnowTheChips) {
  // Without a board at all the connection fails first; with one, the chips are asked for.
  const Result result = zvgctl("power read");
  EXPECT_NE(result.exit, 0);
}

// video -------------------------------------------------------------------------------------

TEST_F(BoardChips, VideoFromSetUpToStop) {
  const ServedBoard serial(folder_, board());
  EXPECT_EQ(serial("video init 1 --channel 3 --alternate --window b").exit, 0);
  EXPECT_EQ(serial("video start 1 --at 10,20 --size 704x576 --offset 0x100 --format-a 2 "
                   "--format-b 1 --flag")
                .exit,
            0);
  EXPECT_THAT(serial("video status").out,
              HasSubstr("1     yes      b       704x576  10,20  704x576  0x100   2/1      yes"));
  EXPECT_EQ(serial("video stop 1").exit, 0);
  const Json status = Json::parse(serial("video status 1 --json").out)["ports"];
  EXPECT_EQ(status[0]["capturing"], false);
  EXPECT_EQ(status[0]["window"], "b");
  EXPECT_EQ(status[0]["source"], nullptr);
  EXPECT_EQ(status[0]["offset"], nullptr);
  EXPECT_THAT(serial("video status 1").out, HasSubstr("1     no       b       off     -"));
  EXPECT_EQ(serial("video restart 1").exit, 0);
  EXPECT_EQ(Json::parse(serial("video status 1 --json").out)["ports"][0]["capturing"], true);
  const Result unplaced = serial("video start 0 --size 1x1");
  EXPECT_EQ(unplaced.exit, 1);
  EXPECT_THAT(unplaced.err, HasSubstr("video port 0 is in no window yet"));
}

TEST_F(BoardChips, VideoThatWasNeverSetUpHasNoNumbers) {
  const Json document = Json::parse(on(board(), "video status --json").out);
  for (const Json& port : document["ports"]) {
    for (const char* const key : {"source", "x", "y", "width", "height", "offset", "flag"}) {
      EXPECT_EQ(port[key], nullptr) << key;
    }
  }
}

TEST_F(BoardChips, VideoLooksWhetherTheDecoderAnswers) {
  const Result result = on(board(), "video init 0 --channel 3");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("cannot reach the video decoder"));
}

}  // namespace
