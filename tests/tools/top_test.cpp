// zvgctl top on real terminals: what is on the screen, that it moves, and how it ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "tools/zvgctl_process.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using zvgtest::Folder;
using zvgtest::on_virtual_time;
using zvgtest::Process;
using zvgtest::Result;
using zvgtest::zvgctl;
using zvgtest::zvgctl_words;

// A terminal with a shell command in it, of a tmux server of its own.
class Terminal {
 public:
  Terminal(int columns, int lines, const std::string& command) {
    tmux({"-f", "/dev/null", "new-session", "-d", "-x", std::to_string(columns), "-y",
          std::to_string(lines), command + "; echo EXIT=$?; sleep 60"});
  }
  ~Terminal() { tmux({"kill-server"}); }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  std::vector<std::string> screen() const {
    std::istringstream text(tmux({"capture-pane", "-p"}).out);
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }
  std::string text() const { return tmux({"capture-pane", "-p"}).out; }
  // Waits until the screen shows it.
  bool shows(const std::string& what) const {
    for (int i = 0; i < 300; ++i) {
      if (text().find(what) != std::string::npos) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  }
  void type(const std::string& keys) const { tmux({"send-keys", keys}); }
  void resize(int columns, int lines) const {
    tmux({"resize-window", "-x", std::to_string(columns), "-y", std::to_string(lines)});
  }

 private:
  Result tmux(std::vector<std::string> words) const {
    words.insert(words.begin(), {"/usr/bin/env", "tmux", "-S", folder_.path("socket")});
    zvgtest::Setting setting;
    setting.environment = {{"TMUX", ""}, {"TERM", "xterm-256color"}, {"LC_ALL", "C"}};
    return zvgtest::run(words, setting);
  }

  Folder folder_;
};

std::string top(const std::string& arguments = {}) {
  return std::string(ZVGCTL_PROGRAM) + " --sim busy top " + arguments;
}

void expect_whole_board(const std::string& text) {
  for (const char* const what : {"zvgctl top  RQ302, card 0, virtual (busy)",
                                 "CLOCKS               MHz",
                                 "AXI bus              601",
                                 "3D core              999",
                                 "fifth PLL           1602",
                                 "DIE            CELSIUS   VOLTS",
                                 "sensor 0         ",
                                 "sensor 1         ",
                                 "fan       [#",
                                 "memory    [#",
                                 " of 2048",
                                 "ENGINES",
                                 "engine 0  [",
                                 "engine 7  [",
                                 "RAILS",
                                 "slot       3V3 ",
                                 " V ",
                                 " A ",
                                 " W",
                                 "q quits"}) {
    EXPECT_THAT(text, HasSubstr(what));
  }
  EXPECT_THAT(text, Not(HasSubstr("engine 6"))) << "which is not there";
}

TEST(TopTest, FitsTheSmallestScreen) {
  const Terminal terminal(80, 24, top());
  ASSERT_TRUE(terminal.shows("RAILS")) << terminal.text();
  const auto screen = terminal.screen();
  EXPECT_EQ(screen.size(), 24u);
  for (const std::string& line : screen) EXPECT_LE(line.size(), 80u);
  expect_whole_board(terminal.text());
  EXPECT_THAT(screen.back(), StartsWith("q quits"));
  EXPECT_THAT(screen.front(), MatchesRegex(".* 20[0-9-]+T[0-9:.]+Z ?"));
}

TEST(TopTest, UsesAWideScreen) {
  const Terminal terminal(200, 60, top());
  ASSERT_TRUE(terminal.shows("RAILS")) << terminal.text();
  const auto screen = terminal.screen();
  EXPECT_EQ(screen.size(), 60u);
  expect_whole_board(terminal.text());
  // Three engines and three rails a line.
  for (const std::string& line : screen) {
    if (line.starts_with("engine 0")) {
      EXPECT_THAT(line, AllOf(HasSubstr("engine 3"), HasSubstr("engine 7")));
    }
    if (line.starts_with("slot")) {
      EXPECT_THAT(line, AllOf(HasSubstr("3V3"), HasSubstr("1V8"), HasSubstr("supply")));
    }
  }
}

TEST(TopTest, MovesAndQuits) {
  const Terminal terminal(80, 24, top("--interval 0.2"));
  ASSERT_TRUE(terminal.shows("RAILS"));
  const auto first = terminal.screen();
  bool moved = false;
  for (int i = 0; i < 100 && !moved; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto now = terminal.screen();
    // Below the time: a temperature, a load and a current.
    int changes = 0;
    for (size_t line = 1; line < now.size(); ++line) changes += now[line] != first[line];
    moved = changes >= 3;
  }
  EXPECT_TRUE(moved) << terminal.text();
  terminal.type("q");
  EXPECT_TRUE(terminal.shows("EXIT=0")) << terminal.text();
  EXPECT_THAT(terminal.text(), Not(HasSubstr("RAILS"))) << "the screen was not given back";
}

TEST(TopTest, EndsWithCtrlC) {
  const Terminal terminal(80, 24, top());
  ASSERT_TRUE(terminal.shows("RAILS"));
  terminal.type("C-c");
  EXPECT_TRUE(terminal.shows("EXIT=0")) << terminal.text();
}

TEST(TopTest, FollowsTheTerminalsSize) {
  const Terminal terminal(80, 24, top());
  ASSERT_TRUE(terminal.shows("RAILS"));
  terminal.resize(60, 20);
  EXPECT_TRUE(terminal.shows("at least 80x24, please")) << terminal.text();
  terminal.resize(100, 30);
  EXPECT_TRUE(terminal.shows("RAILS")) << terminal.text();
}

TEST(TopTest, LogsWhatItShows) {
  const Folder folder;
  const Terminal terminal(80, 24, top("--interval 0.1 --count 5 --csv " + folder.path("top.csv")));
  ASSERT_TRUE(terminal.shows("EXIT=0")) << terminal.text();
  const std::string csv = folder.get("top.csv");
  EXPECT_THAT(csv, StartsWith("time,mhz_axi,mhz_dev2,mhz_apb,mhz_pcie,mhz_vpu,mhz_3d,mhz_shader,"
                              "mhz_2d,mhz_pll5,celsius0,celsius1,volts0,volts1,fan_percent,load0,"
                              "load1,load2,load3,load4,load5,load7,memory_used,memory_free,"
                              "slot 3V3 V,slot 3V3 A,slot 1V8 V,slot 1V8 A,slot supply V,"
                              "slot supply A\n20"));
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 6);
  std::istringstream lines(csv);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_EQ(std::count(line.begin(), line.end(), ','), 29) << line;
  }
}

TEST(TopTest, OnlyLogsWithoutATerminal) {
  const Folder folder;
  const Result result = zvgtest::run(
      zvgctl_words("--sim busy top --count 3 --csv " + folder.path("top.csv")), on_virtual_time());
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(result.out, "");
  const std::string csv = folder.get("top.csv");
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 4);
}

// On a busy board, in virtual time.
Result busy_top(const std::string& arguments) {
  return zvgtest::run(zvgctl_words("--sim busy top " + arguments), on_virtual_time());
}

TEST(TopTest, KeepsALogThatIsThere) {
  const Folder folder;
  const std::string log = folder.put("top.csv", "precious\n");
  const Result kept = busy_top("--count 1 --csv " + log);
  EXPECT_EQ(kept.exit, 1);
  EXPECT_THAT(kept.err, HasSubstr("--append goes on in it, --force replaces it"));
  EXPECT_EQ(folder.get("top.csv"), "precious\n");
  EXPECT_EQ(busy_top("--count 1 --force --csv " + log).exit, 0);
  EXPECT_THAT(folder.get("top.csv"), StartsWith("time,"));
}

TEST(TopTest, GoesOnInALog) {
  const Folder folder;
  const std::string log = folder.path("top.csv");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(busy_top("--count 1 --append --csv " + log).exit, 0);
  const std::string csv = folder.get("top.csv");
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 4) << "the names once, and three samples";
  // Behind a line that the power cut off, a new one begins.
  folder.put("top.csv", csv + "2026-");
  EXPECT_EQ(busy_top("--count 1 --append --csv " + log).exit, 0);
  EXPECT_THAT(folder.get("top.csv"), HasSubstr("\n2026-\n20"));
}

TEST(TopTest, PrintsOneSample) {
  const Result text = busy_top("--once");
  EXPECT_EQ(text.exit, 0) << text.err;
  EXPECT_THAT(text.out, AllOf(HasSubstr("3d"), HasSubstr("SENSOR  CELSIUS   VOLTS"),
                              HasSubstr("ENGINE  LOAD"), HasSubstr("slot  3V3")));
  const Result once = busy_top("--once --json");
  const auto document = nlohmann::json::parse(once.out);
  EXPECT_EQ(document["schema"], "zvg/top/1");
  EXPECT_EQ(document["clocks"].size(), 9u);
  EXPECT_EQ(document["sensors"].size(), 2u);
  EXPECT_EQ(document["engines"][0]["engine"], 0);
  EXPECT_EQ(document["trouble"], nullptr);
}

TEST(TopTest, PrintsADocumentASample) {
  const Result result = busy_top("--json --count 3");
  EXPECT_EQ(result.exit, 0) << result.err;
  std::istringstream lines(result.out);
  int samples = 0;
  for (std::string line; std::getline(lines, line); ++samples) {
    EXPECT_EQ(nlohmann::json::parse(line)["schema"], "zvg/top/1");
  }
  EXPECT_EQ(samples, 3);
  EXPECT_THAT(busy_top("--csv - --count 2").out, StartsWith("time,mhz_axi"));
}

TEST(TopTest, BoardsMayHaveLess) {
  const Folder folder;
  const std::string bare = folder.put("bare.toml", "generation = 'rq301'\n");
  const Terminal terminal(80, 24, std::string(ZVGCTL_PROGRAM) + " top --sim " + bare);
  ASSERT_TRUE(terminal.shows("ENGINES\nnone")) << terminal.text();
  EXPECT_THAT(terminal.text(), Not(HasSubstr("RAILS")));
  EXPECT_THAT(terminal.text(), HasSubstr("RQ301"));
}

TEST(TopTest, SaysWhatCannotBeMeasured) {
  const Folder folder;
  const std::string faulty =
      folder.put("faulty.toml", "[[faults.driver]]\nrequest = 1\nnumber = 0x11\ncount = 1000000\n");
  const Terminal terminal(120, 24, std::string(ZVGCTL_PROGRAM) + " top --sim " + faulty);
  ASSERT_TRUE(terminal.shows("cannot read the temperature of sensor 0")) << terminal.text();
  EXPECT_THAT(terminal.text(), HasSubstr("sensor 0             -       -"));
  EXPECT_THAT(terminal.text(), HasSubstr("3D core              999"));
}

TEST(TopTest, RefusesWhatMakesNoSense) {
  EXPECT_THAT(zvgctl("top").err, HasSubstr("there is none; with --csv FILE it only logs"));
  EXPECT_EQ(zvgctl("top").exit, 2);
  EXPECT_EQ(zvgctl("top --append --force --csv x").exit, 2);
  EXPECT_EQ(zvgctl("top --append").exit, 2);
  EXPECT_EQ(zvgctl("top --interval 0 --csv x").exit, 2);
  EXPECT_THAT(zvgctl("top --csv x --serial /dev/ttyX").err, HasSubstr("--generation"));
  const Result unwritable = zvgtest::run(
      zvgctl_words("--sim busy top --count 1 --csv /nonexistent/x"), on_virtual_time());
  EXPECT_EQ(unwritable.exit, 1);
  EXPECT_THAT(unwritable.err, HasSubstr("cannot create /nonexistent/x"));
}

// The CSV without the times.
std::string readings(const std::string& csv) {
  std::string all;
  std::istringstream lines(csv);
  for (std::string line; std::getline(lines, line);) all += line.substr(line.find(',')) + "\n";
  return all;
}

TEST(TopLog, AFailedRequestIsNoReading) {
  const auto log = [](const std::string& faults) {
    const Folder folder;
    const std::string board = folder.put("board.toml", "generation = \"rq302\"\n" + faults);
    const Result result = zvgtest::run(
        zvgctl_words("--sim " + board + " top --count 2 --csv " + folder.path("top.csv")),
        on_virtual_time());
    return std::pair(result, readings(folder.get("top.csv")));
  };
  const auto [clean, right] = log("");
  ASSERT_EQ(clean.exit, 0) << clean.err;
  // One failure is asked again: clocks, sensors and the fan's registers.
  for (int request = 1; request <= 45; ++request) {
    const auto [result, read] = log("[[faults.driver]]\nrequest = " + std::to_string(request) +
                                    "\nnumber = 0x01\nerrno = \"EIO\"\n");
    EXPECT_EQ(result.exit, 0) << request << result.err;
    EXPECT_EQ(read, right) << request;
  }
  // What does not come back is missing, and said.
  const auto [result, read] =
      log("[[faults.driver]]\nrequest = 5\nnumber = 0x01\nerrno = \"EIO\"\ncount = 1000\n");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("a part of the samples is missing: cannot read the clocks: "
                                    "driver request 0x01 at 0x28"));
  EXPECT_NE(read, right);
}

}  // namespace
