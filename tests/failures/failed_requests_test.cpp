// No request of the driver that fails is told as success: every command is run with one request
// failing, at many places, and must then either do and say exactly what it does without the failure
// or end with status 1.
//   ZVG_FAILURES=all   every request up to the 200th and a stride beyond, other errors, other
//   boards
#include <errno.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "failures/command_lines.h"
#include "tools/process.h"
#include "tools/zvgctl_process.h"
#include "zvgctl/application.h"

namespace {

// Commands that wait for what a lost write should have begun end by it.
constexpr int deadline_s = 2;

namespace fs = std::filesystem;
using zvgtest::CommandLine;
using zvgtest::Failing;
using zvgtest::Folder;
using zvgtest::Result;
using zvgtest::Setting;

struct Fault {
  long request = 0;  // counted from 1; 0: none
  int error = 0;
};

// All that a run leaves behind.
struct Outcome {
  Result result;
  std::map<std::string, std::string> files;
  std::vector<std::string> deeds;  // what the board was told, in order: all but the reads
  long requests = 0;
};

bool all_of_them() {
  const char* const wanted = getenv("ZVG_FAILURES");
  return wanted != nullptr && std::string(wanted) == "all";
}

// What has to be preloaded for a virtual board.
const std::string& preloaded() {
  static const std::string library = [] {
    std::string text =
        zvgtest::run({ZVGSIM_PROGRAM, "run", "--", "/usr/bin/printenv", "LD_PRELOAD"}).out;
    text.erase(text.find_last_not_of('\n') + 1);
    return text;
  }();
  return library;
}

// Moments and scratch folders differ from run to run.
std::string without_chance(const std::string& text, const std::string& folder) {
  static const std::regex moment(
      "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}(\\.[0-9]+)?Z");
  std::string result = std::regex_replace(text, moment, "TIME");
  for (size_t at; (at = result.find(folder)) != std::string::npos;) result.erase(at, folder.size());
  return result;
}

std::vector<std::string> deeds_of(const std::string& trace) {
  std::vector<std::string> deeds;
  std::istringstream lines(trace);
  for (std::string line; std::getline(lines, line);) {
    const size_t access = line.starts_with("card ") ? line.find(": ") + 2 : 0;
    if (line[access] != 'r') deeds.push_back(line);
  }
  return deeds;
}

void run_words(const std::string& words, const std::string& board, const Folder& work,
               const Folder& notes, const Fault& fault, Outcome& outcome) {
  std::vector<std::string> line = {ZVGSIM_PROGRAM,   "run",     "--board",           board,
                                   "--virtual-time", "--trace", notes.path("trace"), "--",
                                   "/usr/bin/env",   "-C",      work.path("")};
  line.push_back(std::string("LD_PRELOAD=") + FAIL_REQUEST_LIBRARY + ":" + PROFILE_REDIRECT + ":" +
                 preloaded());
  const std::vector<std::string> command = zvgtest::zvgctl_words(words);
  line.insert(line.end(), command.begin(), command.end());
  line.push_back("--deadline");
  line.push_back(std::to_string(deadline_s));
  Setting setting;
  setting.patience = std::chrono::seconds(10 * deadline_s);
  setting.environment = {
      {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"},
      {"FAIL_REQUEST", std::to_string(fault.request)},
      {"FAIL_ERRNO", std::to_string(fault.error)},
      {"FAIL_COUNT", notes.path("count")},
      {"PROFILE_FOLDER", notes.path("")},
      {"XDG_STATE_HOME", notes.path("state")},
  };
  outcome.result = zvgtest::run(line, setting);
  outcome.result.out = without_chance(outcome.result.out, work.path(""));
}

// The path of a board file: that of a ready board, with what the line needs besides.
std::string board_for(const CommandLine& line, const std::string& board, const Folder& notes) {
  std::error_code ignored;
  fs::create_symlink(ZVG_MONITORS, notes.path("monitors"), ignored);
  std::ifstream ready(std::string(ZVG_BOARDS) + "/" + board + ".toml");
  const std::string text{std::istreambuf_iterator<char>(ready), {}};
  return notes.put("board.toml", text + line.board);
}

Outcome run_line(const CommandLine& line, const std::string& ready_board, const Fault& fault = {}) {
  const Folder work;
  const Folder notes;
  zvgtest::make_files(work.path(""));
  const std::string board = board_for(line, ready_board, notes);
  Outcome outcome;
  if (!line.before.empty()) run_words(line.before, board, work, notes, {}, outcome);
  run_words(line.words, board, work, notes, fault, outcome);
  for (const auto& entry : fs::recursive_directory_iterator(work.path(""))) {
    if (!entry.is_regular_file()) continue;
    const std::string name = fs::relative(entry.path(), work.path("")).string();
    outcome.files[name] = without_chance(work.get(name), work.path(""));
  }
  // Of a command that failed nobody asks; what waited for its deadline has a trace of millions.
  if (outcome.result.exit == 0) outcome.deeds = deeds_of(notes.get("trace"));
  outcome.requests = strtol(notes.get("count").c_str(), nullptr, 10);
  return outcome;
}

// Which requests fail, of so many: the first ones, where a command finds its way to the board, and
// some of all the others.
std::vector<long> places(long requests) {
#ifdef ZVG_SANITIZED
  const long first = 2;
  const long strided = 2;
#else
  const long first = all_of_them() ? 200 : 20;
  const long strided = 20;
#endif
  std::set<long> chosen;
  for (long k = 1; k <= std::min(first, requests); ++k) chosen.insert(k);
  for (long i = 1; i <= strided && requests > first; ++i) {
    chosen.insert(first + (requests - first) * i / strided);
  }
  return {chosen.begin(), chosen.end()};
}

std::string difference(const Outcome& sound, const Outcome& failed) {
  if (sound.result.out != failed.result.out) {
    return "other output:\n" + failed.result.out + "instead of:\n" + sound.result.out;
  }
  if (sound.files != failed.files) return "other files";
  if (sound.deeds != failed.deeds) return "other writes to the board";
  return "";
}

// What is wrong with how a command took a failure; empty when nothing is.
std::string verdict(const CommandLine& line, const Outcome& sound, const Outcome& failed) {
  const Result& result = failed.result;
  if (result.signal != 0) return "ended by signal " + std::to_string(result.signal);
  if (result.exit == 0) {
    if (line.failing == Failing::is_an_answer) return "";
    const std::string other = difference(sound, failed);
    return other.empty() ? "" : "status 0, but " + other;
  }
  if (result.exit != 1) return "status " + std::to_string(result.exit);
  return result.err.empty() ? "status 1 without a word" : "";
}

class FailedRequests : public testing::TestWithParam<CommandLine> {
 protected:
  void sweep(const std::string& board, int error) {
    const CommandLine& line = GetParam();
    const Outcome sound = run_line(line, board);
    if (board == "rq302") {
      ASSERT_EQ(sound.result.exit, line.exit) << sound.result.out << sound.result.err;
    }
    for (const long k : places(sound.requests)) {
      const Outcome failed = run_line(line, board, {k, error});
      const std::string wrong = verdict(line, sound, failed);
      EXPECT_EQ(wrong, "") << "zvgctl " << line.words << ", request " << k << " of "
                           << sound.requests << " failed on " << board << "\n"
                           << failed.result.err;
    }
  }
};

TEST_P(FailedRequests, EndTheCommandOrChangeNothing) {
  sweep("rq302", EIO);
}

TEST_P(FailedRequests, OfEveryKindOnEveryBoard) {
  if (!all_of_them()) GTEST_SKIP() << "with ZVG_FAILURES=all only";
  for (const char* const board : {"rq300", "rq301", "faults", "busy"}) sweep(board, EIO);
  for (const int error : {ENODEV, EINTR}) sweep("rq302", error);
}

std::string test_name(const testing::TestParamInfo<CommandLine>& info) {
  std::string name = std::to_string(info.index) + "_" + info.param.words;
  for (char& c : name) {
    if (isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Commands, FailedRequests, testing::ValuesIn(zvgtest::command_lines()),
                         test_name);

TEST(CommandLines, ThereIsOneForEveryCommand) {
  for (const std::string& command : zvgctl::command_names()) {
    SCOPED_TRACE(command);
    const bool has_one = std::any_of(
        zvgtest::command_lines().begin(), zvgtest::command_lines().end(),
        [&](const CommandLine& line) { return (line.words + " ").starts_with(command + " "); });
    EXPECT_TRUE(has_one) << "zvgctl " << command << " is in no line of command_lines.cpp";
  }
}

TEST(CommandLines, AreTheSameTwice) {
  for (const CommandLine& line : zvgtest::command_lines()) {
    if (line.words.starts_with("ddr dump")) continue;  // long, and one of them is enough
    const Outcome once = run_line(line, "rq302");
    EXPECT_EQ(difference(once, run_line(line, "rq302")), "") << line.words;
  }
}

}  // namespace
