// zvgctl dp, mode, panel, vga and gamma on the virtual board.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tools/edid_files.h"
#include "tools/zvgctl_process.h"

namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using zvgtest::Folder;
using zvgtest::monitor_bytes;
using zvgtest::monitor_path;
using zvgtest::Result;
using zvgtest::zvgctl;
using zvgtest::zvgctl_sim;

// zvgctl on a board of the test's own.
class Bench {
 public:
  explicit Bench(const std::string& board) : board_(folder_.put("test.toml", board)) {}
  Result run(const std::string& command) {
    return zvgtest::run(zvgtest::zvgctl_words("--sim " + board_ + " " + command),
                        zvgtest::on_virtual_time());
  }

 private:
  Folder folder_;
  std::string board_;
};

std::string dp_board(const std::string& port, const std::string& faults = {}) {
  return "[[dp]]\nport = 0\n" + port +
         (faults.empty() ? "" : "\n[[faults.dp]]\nport = 0\n" + faults);
}

TEST(DpTool, StatusOfAllPorts) {
  const Result result = zvgctl_sim("dp status --json");
  EXPECT_EQ(result.exit, 0);
  const json ports = json::parse(result.out)["ports"];
  ASSERT_EQ(ports.size(), 4u);
  EXPECT_EQ(ports[0]["sink"], true);
  EXPECT_EQ(ports[0]["link"]["up"], false);
  EXPECT_EQ(ports[2]["sink"], false);
  EXPECT_TRUE(ports[2]["link"].is_null());
  EXPECT_THAT(zvgctl_sim("dp status 3").out, AllOf(HasSubstr("\n3   yes"), Not(HasSubstr("\n0"))));
}

TEST(DpTool, TrainShowsEveryLane) {
  const Result result = zvgctl_sim("dp train 1");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(result.out,
              EndsWith("DP 1: 4 lanes at 2.7 Gbit/s, the link is up\n"
                       "lane  clock recovery  equalised  symbol lock  swing  pre-emphasis\n"
                       "0     yes             yes        yes          0      0\n"
                       "1     yes             yes        yes          0      0\n"
                       "2     yes             yes        yes          2      1\n"
                       "3     yes             yes        yes          0      0\n"
                       "aligned: yes\n"));
  const json document = json::parse(zvgctl_sim("dp train 1 --json").out);
  EXPECT_EQ(document["up"], true);
  EXPECT_EQ(document["lanes"][2]["swing"], 2);
  EXPECT_EQ(document["lanes"][2]["pre_emphasis"], 1);
}

TEST(DpTool, TrainsTheSameThroughTheApertures) {
  const Result result =
      zvgctl_sim("dp train 1 --generation rq302" + std::string(zvgtest::memory_door));
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out, zvgctl_sim("dp train 1").out);
}

TEST(DpTool, TrainFailsWhenTheLinkIsNotUp) {
  const struct {
    std::string board, error;
  } cases[] = {
      {dp_board("", "never_equalises = true"), "the link is not up: lane 0 is not equalised"},
      {dp_board("channel = [[0, 0], [0, 0], [0, 0], [0, 0]]\nrate = 0x07"),
       "has no clock recovery"},
      {dp_board("lanes = 0"), "no lane is in use"},
      {dp_board("", "pll_never_locks = true"), "has no clock recovery"},
      {dp_board("sink = false"), "no sink is plugged in"},
      {dp_board("", "defers = 0xFFFFFFFF"), "the sink puts it off for ever"},
      {dp_board("", "nack = true"), "the sink refuses it"},
      {dp_board("", "no_reply = true"), "the sink does not answer"},
      {dp_board("", "reply_error = true"), "the sink's reply is damaged"},
      {dp_board("", "short_by = 16"), "the link is not up"},
  };
  for (const auto& c : cases) {
    const Result result = Bench(c.board).run("dp train 0");
    EXPECT_EQ(result.exit, 1) << c.board;
    EXPECT_THAT(result.err, HasSubstr(c.error)) << c.board;
  }
}

TEST(DpTool, TimerThatStandsStillEndsWithTheDeadline) {
  const Result result = Bench(dp_board("", "timer_stopped = true")).run("dp train 0 --deadline 1");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("not done within the deadline of 1 s"));
}

TEST(DpTool, ModeSetStartsTheStream) {
  const Result result = zvgctl_sim("dp mode-set 0");
  EXPECT_EQ(result.exit, 0);
  EXPECT_THAT(result.out, AllOf(StartsWith("pclk=148500\n"), HasSubstr("DP0: enable the link\n"),
                                HasSubstr("the link is up")));
}

TEST(DpTool, DpcdByFieldAndByByte) {
  EXPECT_EQ(zvgctl_sim("dp dpcd read 0 1").out, "0x00001: 0x14\n");
  EXPECT_EQ(zvgctl_sim("dp dpcd read 0 1 --via-driver").out, "0x00001: 0x14\n");
  EXPECT_EQ(zvgctl_sim("dp dpcd read 3 0 --count 20").out,
            "0x00000: 14 0a 82 01 00 00 01 00 00 00 00 00 00 00 00 00\n"
            "0x00010: 00 00 00 00\n");
  EXPECT_EQ(zvgctl_sim("dp dpcd read 0 1 --count 2 --decode").out,
            "DPCD     field               value\n"
            "0x00001  MAX_LINK_RATE       5.4 Gbit/s\n"
            "0x00002  MAX_LANE_COUNT      4\n"
            "0x00002  TPS3_SUPPORTED      no\n"
            "0x00002  ENHANCED_FRAME_CAP  yes\n");
  const json dump = json::parse(zvgctl_sim("dp dpcd dump 0 --json").out);
  EXPECT_EQ(dump["fields"][2]["field"], "MAX_LINK_RATE");
  EXPECT_EQ(dump["fields"][2]["text"], "5.4 Gbit/s");
  EXPECT_EQ(zvgctl_sim("dp dpcd write 0 0x600 2").exit, 0);
  EXPECT_EQ(zvgctl_sim("dp dpcd read 2 0").exit, 1);
}

TEST(DpTool, BadInput) {
  for (const char* const command : {"dp dpcd read 4 0",
                                    "dp dpcd read -1 0",
                                    "dp dpcd read 0 0x100000",
                                    "dp dpcd write 0 0 256",
                                    "dp dpcd read 0 0 --count 0",
                                    "dp train",
                                    "dp train 4",
                                    "dp phy read 0 0x42",
                                    "dp phy power 0 4",
                                    "dp cdb read 0 0x10000",
                                    "panel backlight 101",
                                    "panel pwm 19",
                                    "panel pwm 10001",
                                    "panel self-test maybe",
                                    "vga gain --red 64",
                                    "gamma set 4",
                                    "gamma set 0 --temperature 999",
                                    "gamma show --gamma 1:2",
                                    "gamma show --gamma 0",
                                    "gamma show --brightness -1",
                                    "gamma show -o curve.gif",
                                    "edid read",
                                    "mode list --raw --json",
                                    "edid read --hdmi 0 --dp 0"}) {
    EXPECT_EQ(zvgctl_sim(command).exit, 2) << command;
  }
}

TEST(DpTool, EdidByEveryWay) {
  const auto bytes = monitor_bytes("wall-55-4k");
  Folder folder;
  const std::string file = folder.path("edid.bin");
  EXPECT_EQ(zvgctl_sim("dp edid 1 --raw " + file).exit, 0);
  EXPECT_EQ(folder.get("edid.bin"), std::string(bytes.begin(), bytes.end()));
  EXPECT_EQ(zvgctl_sim("dp edid 1 -f --via-driver --raw " + file).exit, 0);
  EXPECT_EQ(folder.get("edid.bin"), std::string(bytes.begin(), bytes.end()));
  EXPECT_EQ(zvgctl_sim("edid read --dp 1 -f --raw " + file).exit, 0);
  EXPECT_EQ(folder.get("edid.bin"), std::string(bytes.begin(), bytes.end()));
  EXPECT_THAT(zvgctl_sim("edid read --dp 0").out, HasSubstr("Manufacturer Name:"));
  const Result result = Bench(dp_board("")).run("dp edid 0");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("block 0 of the EDID could not be read"));
}

TEST(DpTool, PhyAndItsBus) {
  EXPECT_EQ(zvgctl_sim("dp phy read 0 0x44").out, "0x0044: 0x00000000\n");
  EXPECT_EQ(zvgctl_sim("dp phy write 0 0x40 1").exit, 0);
  EXPECT_EQ(zvgctl_sim("dp cdb read 0 0xe001").out, "0xe001: 0x0004\n");
  EXPECT_EQ(zvgctl_sim("dp cdb write 0 0x94 4").exit, 0);
  EXPECT_EQ(zvgctl_sim("dp phy power 0 3").out, "DP 0: the PHY is in power state 3\n");
  Bench faulty(dp_board("", "cdb_busy = true\nno_power_acknowledge = true"));
  EXPECT_EQ(faulty.run("dp cdb read 0 0").exit, 1);
  EXPECT_EQ(faulty.run("dp cdb write 0 0 0").exit, 1);
  EXPECT_EQ(faulty.run("dp phy power 0 1").exit, 1);
}

TEST(ModeTool, OutputsAndTheirControllers) {
  const json outputs = json::parse(zvgctl_sim("mode list --json").out)["outputs"];
  ASSERT_EQ(outputs.size(), 16u);
  EXPECT_EQ(outputs[0]["output"], "DAC");
  EXPECT_EQ(outputs[0]["mode"]["horizontal"]["total"], 2200);
  EXPECT_NEAR(outputs[0]["mode"]["refresh_hz"].get<double>(), 60.0, 0.01);
  EXPECT_EQ(outputs[7]["output"], "DP");
  EXPECT_EQ(outputs[7]["crtc"], 1);
  EXPECT_EQ(outputs[7]["mode"]["vsync_negative"], true);
  EXPECT_TRUE(outputs[15]["mode"].is_null());
  EXPECT_THAT(zvgctl_sim("mode list").out, HasSubstr("DP 2    CRTC2       1024x768   60.00 Hz"));
  EXPECT_THAT(zvgctl_sim("mode list --raw").out,
              StartsWith("The value of HDMI_DAC_DVO_OUT_MUX reg: 0x00000000\nDAC 0 -> "));
  Bench crossed(
      "output_mux = 0x10\n[[crtc]]\nnumber = 1\n"
      "timing = [65000, 1024, 1048, 1184, 1344, 768, 771, 777, 806]\n");
  EXPECT_THAT(crossed.run("mode list").out, HasSubstr("DVO 0   CRTC1       1024x768"));
}

TEST(PanelTool, BacklightPwmAndSelfTest) {
  EXPECT_EQ(zvgctl_sim("panel pwm 1000 --start").out, "PWM: 1000 Hz, running\n");
  EXPECT_EQ(zvgctl_sim("panel backlight 50").out, "backlight: 50 %\n");
  EXPECT_EQ(zvgctl_sim("panel self-test on").out, "DP 3: the panel's self-test is on\n");
  EXPECT_EQ(zvgctl_sim("panel self-test off").exit, 0);
  EXPECT_THAT(zvgctl_sim("panel self-test on --dp 0").err, HasSubstr("has no self-test"));
  EXPECT_THAT(zvgctl_sim("panel self-test on --dp 2").err, HasSubstr("cannot reach"));
}

TEST(VgaTool, Gains) {
  EXPECT_EQ(zvgctl_sim("vga gain --red 40 --blue 63").out,
            "colour  gain\nred     40\ngreen   0\nblue    63\n");
  EXPECT_EQ(json::parse(zvgctl_sim("vga gain --green 7 --json").out)["green"], 7);
}

TEST(GammaTool, SetReachesTheDriver) {
  EXPECT_EQ(zvgctl_sim("gamma set 2 --gamma 2.2 --brightness 0.8 --temperature 5000").out,
            "CRTC2: gamma 2.2:2.2:2.2, brightness 0.8, 5000 K\n");
}

TEST(GammaTool, ShowNeedsNoBoard) {
  const Result neutral = zvgctl("gamma show");
  EXPECT_EQ(neutral.exit, 0);
  EXPECT_THAT(neutral.out,
              AllOf(StartsWith("gamma 1:1:1, brightness 1, 6500 K\n65535 |"),
                    HasSubstr("\n    0 |WW"), Not(HasSubstr("R")), HasSubstr("255\n")));
  const json curves = json::parse(zvgctl("gamma show --brightness 0.5 --json").out);
  EXPECT_EQ(curves["red"].size(), 256u);
  EXPECT_EQ(curves["blue"][255], 32640);
}

TEST(GammaTool, ShowDrawsIntoFiles) {
  Folder folder;
  EXPECT_EQ(zvgctl("gamma show -o " + folder.path("a.svg")).exit, 0);
  EXPECT_THAT(folder.get("a.svg"), AllOf(HasSubstr("<svg"), HasSubstr("</svg>")));
  EXPECT_EQ(zvgctl("gamma show -o " + folder.path("a.svg")).exit, 1) << "it is there already";
  EXPECT_EQ(zvgctl("gamma show -f --gamma 2 -o " + folder.path("a.svg")).exit, 0);
  EXPECT_EQ(zvgctl("gamma show -o " + folder.path("a.png")).exit, 0);
  EXPECT_THAT(folder.get("a.png"), StartsWith("\x89PNG\r\n"));
}

}  // namespace
