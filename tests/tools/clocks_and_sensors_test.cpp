// Clocks, sensors, fan, the driver's report and its power state, from the command line.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tools/zvgctl_process.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using zvgtest::Folder;
using zvgtest::on_virtual_time;
using zvgtest::Process;
using zvgtest::Result;
using zvgtest::zvgctl;
using zvgtest::zvgctl_sim;
using zvgtest::zvgctl_words;
using Json = nlohmann::json;

constexpr char exact_board[] = R"(
[clocks]
axi = 594
vpu = 486
3d = 999
2d = 432
ddr = 1593
)";

// A command on a board of its own, in virtual time, with a trace of its accesses.
class OnBoard : public testing::Test {
 protected:
  Result on(const std::string& board, const std::string& command) {
    std::vector<std::string> words = {ZVGSIM_PROGRAM,
                                      "run",
                                      "--virtual-time",
                                      "--board",
                                      folder_.put("board.toml", board),
                                      "--trace",
                                      folder_.path("trace"),
                                      "--"};
    for (const std::string& word : zvgctl_words(command)) words.push_back(word);
    return zvgtest::run(words);
  }
  // The values written to a register, in order.
  std::vector<std::string> writes(const std::string& address) const {
    std::vector<std::string> values;
    std::istringstream lines(folder_.get("trace"));
    const std::string begin = "w4 mmio " + address + " ";
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with(begin)) values.push_back(line.substr(begin.size()));
    }
    return values;
  }
  size_t all_writes() const {
    std::istringstream lines(folder_.get("trace"));
    size_t count = 0;
    for (std::string line; std::getline(lines, line);) count += line.starts_with("w");
    return count;
  }

  Folder folder_;
};

// Clocks --------------------------------------------------------------------------------------

TEST_F(OnBoard, ClockListShowsClocksAndPlls) {
  const Result result = on(exact_board, "clock list");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out,
            "CLOCK   MHz   WHAT\n"
            "axi     594   AXI bus\n"
            "dev2    297   devpll, second\n"
            "apb     149   APB bus\n"
            "pcie    486   PCIe\n"
            "vpu     486   video processor\n"
            "3d      999   3D core\n"
            "shader  999   3D shader\n"
            "2d      432   2D core\n"
            "pll5    1593  fifth PLL\n"
            "\n"
            "PLL      WORD        N   M  OD  P  MHz   LOCK    POWER\n"
            "devpll   0x00570033  88  1  3   -  594   -       on\n"
            "dev2pll  0x00470033  72  1  3   -  486   locked  on\n"
            "gpupll   0x00490023  74  1  2   -  999   locked  on\n"
            "gpu2pll  0x003f0033  64  1  3   -  432   locked  on\n"
            "pll5     0x003a0013  59  1  1   -  1593  -       on\n");
  const Result rq301 = on(std::string("generation = 'rq301'\n") + exact_board, "clock list --json");
  const Json document = Json::parse(rq301.out);
  EXPECT_EQ(document["clocks"][5], Json({{"clock", "3d"}, {"mhz", 999}}));
  EXPECT_EQ(document["clocks"][7], Json({{"clock", "2d"}, {"mhz", 432}}));
  EXPECT_EQ(document["plls"][3]["pll"], "gpu2pll");
  EXPECT_EQ(document["plls"][3]["mhz"], 999);
  EXPECT_EQ(document["plls"][3]["p"], 1);
  EXPECT_EQ(document["plls"][0]["locked"], nullptr);
}

TEST_F(OnBoard, ClockListShowsWhatIsOffAndUnlocked) {
  const std::string board = std::string(exact_board) +
                            "[faults.clocks]\nnever_locks = ['gpupll']\n"
                            "[[registers]]\noffset = 0x288000\nvalue = 0x1000000F\n"
                            "[[registers]]\noffset = 0x288008\nvalue = 0x80470033\n";
  const Result result = on(board, "clock list");
  EXPECT_THAT(result.out, HasSubstr("2d      off"));
  EXPECT_THAT(result.out, HasSubstr("gpupll   0x00490023  74  1  2   -  999   no    on\n"));
  EXPECT_THAT(result.out, HasSubstr("gpu2pll  0x003f0033  64  1  3   -  432   no    off\n"));
  EXPECT_EQ(on(board, "clock get 2d").out, "2d: off\n");
}

TEST_F(OnBoard, ClockGetReadsOne) {
  EXPECT_EQ(on(exact_board, "clock get 3d").out, "3d: 999 MHz\n");
  EXPECT_EQ(Json::parse(on(exact_board, "clock get apb --json").out),
            Json({{"schema", "zvg/clock-get/1"}, {"clock", "apb"}, {"mhz", 149}}));
  EXPECT_EQ(on(exact_board, "clock get pll5 --serial /dev/ttyZVG0 --generation rq302").out,
            "pll5: 1593 MHz\n");
}

TEST(ClockPlan, NeedsNoBoard) {
  const Result result = zvgctl("clock plan --mhz 900");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out,
            "word              0x00c70221\n"
            "N, M, OD, P       200, 3, 2, 1\n"
            "phase comparator  9.000 MHz (loop band 1)\n"
            "VCO               3600.000 MHz\n"
            "output            900.000 MHz, +0 kHz off 900 MHz\n");
  const Json document = Json::parse(zvgctl("clock plan --mhz 148.5 --input 100 --json").out);
  EXPECT_EQ(document["target_mhz"], 148.5);
  EXPECT_NEAR(document["output_mhz"].get<double>(),
              2 * 100 * document["n"].get<double>() / document["m"].get<double>() /
                  (1 << document["od"].get<int>()) / document["p"].get<int>(),
              1e-9);
  EXPECT_LT(std::abs(document["error_khz"].get<double>()), 1000);
}

TEST(ClockPlan, SaysWhatCannotBe) {
  EXPECT_THAT(zvgctl("clock plan --mhz 3500").err,
              HasSubstr("no setting comes within 2 MHz of 3500 MHz"));
  EXPECT_EQ(zvgctl("clock plan --mhz 3500").exit, 1);
  EXPECT_THAT(zvgctl("clock plan --mhz 5 --max-post 1").err, HasSubstr("within 1 MHz of 5 MHz; a "
                                                                       "post-divider may help"));
  for (const std::string arguments :
       {"--mhz 0", "--mhz x", "--mhz 4001", "--mhz 100 --input 6.9", "--mhz 100 --input 601",
        "--mhz 100 --max-post 0", "--mhz 100 --max-post 17", ""}) {
    const Result result = zvgctl("clock plan " + arguments);
    EXPECT_EQ(result.exit, 2) << arguments;
    EXPECT_EQ(result.out, "") << arguments;
    EXPECT_NE(result.err, "") << arguments;
  }
}

TEST_F(OnBoard, ClockSetShowsThePlanWritesAndReadsBack) {
  const Result result = on(exact_board, "clock set 3d --mhz 900 --yes");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out,
            "word              0x00c70221\n"
            "N, M, OD, P       200, 3, 2, 1\n"
            "phase comparator  9.000 MHz (loop band 1)\n"
            "VCO               3600.000 MHz\n"
            "output            900.000 MHz, +0 kHz off 900 MHz\n"
            "3d: 900 MHz, was 999 MHz\n");
  EXPECT_EQ(writes("0x28800c"), std::vector<std::string>{"0xc70221"});
}

TEST_F(OnBoard, ClockSetCountsTheOutputsPostDividerIn) {
  const Result result = on(exact_board, "clock set apb --mhz 120 --yes");
  EXPECT_THAT(result.out, AllOf(HasSubstr("480 MHz"), HasSubstr("behind its post-divider of 4"),
                                HasSubstr("apb: 120 MHz, was 149 MHz\n")));
  const Json document =
      Json::parse(on(exact_board, "clock set vpu --word 0x570033 --yes --json").out);
  EXPECT_EQ(document["before_mhz"], 486);
  EXPECT_EQ(document["after_mhz"], 594);
  EXPECT_EQ(document["pll"]["word"], "0x00570033");
}

TEST_F(OnBoard, ClockSetAsksFirst) {
  const Result result = on(exact_board, "clock set 3d --mhz 900");
  EXPECT_EQ(result.exit, 2);
  EXPECT_THAT(result.err, HasSubstr("refusing to set the 3d clock from 999 MHz to 900.000 MHz"));
  EXPECT_THAT(result.out, HasSubstr("word              0x00c70221\n"));
  EXPECT_EQ(all_writes(), 0u);
}

TEST_F(OnBoard, ClockSetTellsALockThatNeverComes) {
  const std::string board = "[faults.clocks]\nnever_locks = ['dev2pll', 'gpupll']\n";
  for (const auto& [clock, pll] : {std::pair{"3d", "gpupll"}, {"pcie", "dev2pll"}}) {
    const Result result = on(board, std::string("clock set ") + clock + " --mhz 900 --yes");
    EXPECT_EQ(result.exit, 1);
    EXPECT_EQ(result.err,
              std::string("zvgctl: ") + pll + " was written, but does not report a lock\n");
  }
}

TEST_F(OnBoard, ClockSetRefusesWhatMakesNoSense) {
  const std::pair<const char*, const char*> cases[] = {
      {"clock set pll5 --mhz 900", "the clock 'pll5' can only be read"},
      {"clock set dev2 --mhz 900", "the clock 'dev2' can only be read"},
      {"clock set wombat --mhz 900", "there is no clock 'wombat'; known are axi, dev2"},
      {"clock set 3d --mhz 900 --max-post 4", "RQ302 does not use the word's post-divider"},
      {"clock set 3d --mhz 900 --word 1", "--word"},
      {"clock set 3d", "--mhz"},
      {"clock set 3d --word 0x100000000", "--word"},
      {"clock mode wombat off", "there is no 'wombat' to switch"},
      {"clock mode 3d sideways", "expected on, bypass or off, found 'sideways'"},
      {"clock list --serial /dev/ttyZVG0", "add --generation"},
  };
  for (const auto& [command, error] : cases) {
    const Result result = on("", std::string(command) + " --yes");
    EXPECT_EQ(result.exit, 2) << command;
    EXPECT_THAT(result.err, HasSubstr(error)) << command;
    EXPECT_EQ(all_writes(), 0u) << command;
  }
  const Result rq301 = on("generation = 'rq301'\n", "clock set 3d --mhz 50 --max-post 16 --yes");
  EXPECT_EQ(rq301.exit, 0) << rq301.err;
}

TEST_F(OnBoard, ClockModeSwitches) {
  EXPECT_EQ(on(exact_board, "clock mode 3d bypass").out, "");
  EXPECT_EQ(writes("0x28800c"), std::vector<std::string>{"0x80490023"});
  EXPECT_EQ(Json::parse(on(exact_board, "clock mode gpu2pll off --yes --json").out),
            Json({{"schema", "zvg/clock-mode/1"}, {"target", "gpu2pll"}, {"mode", "off"}}));
  EXPECT_EQ(writes("0x288000"), std::vector<std::string>{"0x1000000f"});
  const Result asked = on(exact_board, "clock mode devpll off");
  EXPECT_EQ(asked.exit, 2);
  EXPECT_THAT(asked.err, HasSubstr("refusing to switch devpll off"));
  EXPECT_EQ(all_writes(), 0u);
  EXPECT_EQ(on(exact_board, "clock mode dev2pll on").exit, 0);
}

// Sensors -------------------------------------------------------------------------------------

constexpr char cool_board[] = R"(
[sensors]
temperature = [40.0, -10.0]
voltage = [0.9, 1.1]
process = [1, 2, 1023]
)";

TEST_F(OnBoard, SensorRead) {
  const std::string table = "SENSOR  CELSIUS   VOLTS\n0         40.0";
  for (const std::string door : {"", " --serial /dev/ttyZVG0 --generation rq302"}) {
    const Result result = on(cool_board, "sensor read --process" + door);
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("\n\nTYPE  SENSOR  CODE\n2     0       1\n3     0       2\n"
                                      "4     0       1023\n"));
    const Json document = Json::parse(on(cool_board, "sensor read --json" + door).out);
    EXPECT_NEAR(document["sensors"][0]["celsius"].get<double>(), 40, 0.2);
    EXPECT_NEAR(document["sensors"][1]["celsius"].get<double>(), -10, 0.2);
    EXPECT_NEAR(document["sensors"][0]["volts"].get<double>(), 0.9, 0.0005);
    EXPECT_NEAR(document["sensors"][1]["volts"].get<double>(), 1.1, 0.0005);
    EXPECT_FALSE(document.contains("process"));
  }
  const Json both = Json::parse(
      on(std::string("generation = 'rq301'\n") + cool_board, "sensor read --process --json").out);
  EXPECT_EQ(both["process"].size(), 6u);
}

TEST_F(OnBoard, SensorFailuresAreTold) {
  const Result driver =
      on("[[faults.driver]]\nrequest = 1\nnumber = 0x11\nerrno = 'EBUSY'\n", "sensor read");
  EXPECT_EQ(driver.exit, 1);
  EXPECT_EQ(driver.out, "");
  EXPECT_EQ(driver.err,
            "card 0: Geting Pvt code failed with type 0 and index 0\n"
            "zvgctl: cannot read the temperature of sensor 0: Device or resource busy\n");
  EXPECT_EQ(on("", "sensor read --serial /dev/ttyZVG0").exit, 2);
  const Result rq300 = on("generation = 'rq300'\n", "sensor read");
  EXPECT_EQ(rq300.exit, 0) << "the driver knows it";
}

TEST(SensorWatch, ReadsAgainAndAgain) {
  const Result csv = zvgctl_sim("sensor watch --csv --count 3");
  EXPECT_EQ(csv.exit, 0);
  EXPECT_THAT(csv.out, StartsWith("time,celsius0,celsius1,volts0,volts1\n20"));
  EXPECT_EQ(std::count(csv.out.begin(), csv.out.end(), '\n'), 4);
  const Result json = zvgctl_sim("sensor watch --json --count 2 --interval 0.1");
  std::istringstream lines(json.out);
  int documents = 0;
  for (std::string line; std::getline(lines, line); ++documents) {
    EXPECT_EQ(Json::parse(line)["sensors"].size(), 2u);
  }
  EXPECT_EQ(documents, 2);
  const Result tables = zvgctl_sim("sensor watch --count 2");
  EXPECT_EQ(std::count(tables.out.begin(), tables.out.end(), '\n'), 9);
  EXPECT_EQ(zvgctl_sim("sensor watch --interval 0").exit, 2);
  EXPECT_EQ(zvgctl_sim("sensor watch --count x").exit, 2);
}

TEST(SensorWatch, SeesTheBoardChange) {
  const Result csv =
      zvgtest::run(zvgctl_words("--sim busy sensor watch --csv --count 10"), on_virtual_time());
  std::istringstream lines(csv.out);
  std::set<std::string> temperatures;
  for (std::string line; std::getline(lines, line);) {
    temperatures.insert(line.substr(line.find(',') + 1, 5));
  }
  EXPECT_GT(temperatures.size(), 7u);
}

TEST(SensorWatch, EndsWithCtrlC) {
  Process watch(zvgctl_words("--sim sensor watch --csv --interval 0.1"));
  ASSERT_TRUE(watch.wait_for_output("Z,"));
  watch.send(SIGINT);
  EXPECT_EQ(watch.finish().exit, 0);
}

// Fan -----------------------------------------------------------------------------------------

TEST_F(OnBoard, FanByDriverAndSerialLine) {
  EXPECT_EQ(on("", "fan set 40").exit, 0);
  EXPECT_EQ(on("", "fan auto").exit, 0);
  EXPECT_EQ(on("", "fan test-temperature 85").exit, 0);
  EXPECT_EQ(on("", "fan set 26 --serial /dev/ttyZVG0").exit, 0);
  const std::string trace = folder_.get("trace");
  EXPECT_THAT(trace, HasSubstr("w1 mmio 0x103d4 0xd6\nw1 mmio 0x103d5 0x4\n"
                               "w1 mmio 0x103d4 0xd7\nw1 mmio 0x103d5 0x1\n"));
}

TEST_F(OnBoard, FanRefusals) {
  const std::pair<const char*, const char*> cases[] = {
      {"fan set 101", "PERCENT"},
      {"fan set -1", ""},
      {"fan set", "PERCENT"},
      {"fan set 5 --mem 0xE0000000:0x1000000", "not with --mem"},
      {"fan auto --serial /dev/ttyZVG0", "there is none over a serial line"},
      {"fan test-temperature 85 --serial /dev/ttyZVG0", "only the driver"},
  };
  for (const auto& [command, error] : cases) {
    const Result result = on("", command);
    EXPECT_EQ(result.exit, 2) << command;
    EXPECT_THAT(result.err, HasSubstr(error)) << command;
  }
  const Result failed =
      on("[[faults.driver]]\nrequest = 1\nnumber = 0x15\nerrno = 'EPERM'\n", "fan set 5");
  EXPECT_EQ(failed.exit, 1);
  EXPECT_THAT(failed.err,
              HasSubstr(": Operation not permitted\nzvgctl: the fan's control was not changed\n"));
}

// Query ---------------------------------------------------------------------------------------

TEST(Query, PrintsTheDriversReport) {
  EXPECT_EQ(zvgctl_sim("query VRAM").out, "Query vram used rate is\uFF1A6.25%\n");
  EXPECT_EQ(zvgctl_sim("query C").out, "Query Card Num: 1\nQuery Channel: 1 2\n");
  EXPECT_EQ(zvgctl_sim("query LOAD 4").out, "Query load[4]\uFF1A27%\n");
  EXPECT_EQ(zvgctl_sim("query LOAD 0x4").out, "Query load[4]\uFF1A27%\n");
  const Result all = zvgctl_sim("query");
  EXPECT_THAT(all.out, AllOf(StartsWith("Query DEVICE ID: 0x202\n"),
                             HasSubstr("Query load[4]\uFF1A27%\nQuery firmware: FW 2.7.1\n")));
  EXPECT_EQ(Json::parse(zvgctl_sim("query BAND --json").out)["items"],
            Json({{{"item", "bandwidth"}, {"value", "6400Mbps"}}}));
}

TEST(Query, SaysWhatItDoesNotKnow) {
  const Result unknown = zvgctl_sim("query wombat");
  EXPECT_EQ(unknown.exit, 1);
  EXPECT_THAT(unknown.err, HasSubstr("nothing is called 'wombat'; known are ID, AXI,"));
  EXPECT_EQ(unknown.out, "");
  EXPECT_THAT(zvgctl_sim("query AXI 3").err, HasSubstr("only LOAD takes an engine's number"));
  EXPECT_EQ(zvgctl_sim("query LOAD x").exit, 2);
  for (const char* const command : {"query LOAD 9", "query LOAD 99", "query LOAD 9 --json"}) {
    const Result absent = zvgctl_sim(command);
    EXPECT_EQ(absent.exit, 1) << command;
    EXPECT_EQ(absent.out.find("-1%"), std::string::npos) << command;
    EXPECT_THAT(absent.err, HasSubstr("the driver knows no engine 9")) << command;
  }
  EXPECT_THAT(zvgctl("query --serial /dev/ttyX").err, HasSubstr("use --driver"));
  const Folder folder;
  const std::string bare = folder.put("bare.toml", "");
  EXPECT_THAT(zvgctl("query LOAD --sim " + bare).err, HasSubstr("the driver knows no engine"));
}

// Power state ---------------------------------------------------------------------------------

TEST(PowerStateCommand, GetsAndSets) {
  EXPECT_EQ(zvgctl_sim("power-state get").out, "0 (Performance)\n");
  EXPECT_EQ(Json::parse(zvgctl_sim("power-state get --json").out),
            Json({{"schema", "zvg/power-state-get/1"}, {"state", 0}, {"name", "Performance"}}));
  for (const std::string state : {"performance", "Save", "STANDBY", "0", "2"}) {
    EXPECT_EQ(zvgctl_sim("power-state set " + state).exit, 0) << state;
  }
  for (const std::string state : {"invalid", "3", "-1", ""}) {
    EXPECT_EQ(zvgctl_sim("power-state set " + state).exit, 2) << state;
  }
  EXPECT_EQ(zvgctl("power-state get --serial /dev/ttyX").exit, 2);
  const Folder folder;
  const std::string faulty =
      folder.put("faulty.toml", "[[faults.driver]]\nrequest = 1\nnumber = 0x14\ncount = 9\n");
  const Result get = zvgctl("power-state get --sim " + faulty);
  EXPECT_EQ(get.exit, 1);
  EXPECT_EQ(get.err,
            "zvgPowerGetState: get power state failed\n"
            "zvgctl: cannot get the power state: Input/output error\n");
  EXPECT_EQ(zvgctl("power-state set save --sim " + faulty).exit, 1);
}

}  // namespace
