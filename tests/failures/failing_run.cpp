#include "failures/failing_run.h"

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "tools/zvgctl_process.h"

namespace zvgtest {

namespace {

// Commands that wait for what a lost write should have begun end by it.
int deadline_s(const CommandLine& line) {
#ifdef ZVG_SANITIZED
  return line.long_run ? 200 : 10;
#else
  return line.long_run ? 100 : 2;
#endif
}

namespace fs = std::filesystem;

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

void read_trace(const std::string& trace, Outcome& outcome) {
  std::istringstream lines(trace);
  for (std::string line; std::getline(lines, line);) {
    const size_t access = line.starts_with("card ") ? line.find(": ") + 2 : 0;
    if (line[access] == 'r') {
      ++outcome.reads;
    } else {
      outcome.deeds.push_back(line);
    }
  }
}

void run_words(const std::string& words, int deadline, bool terminal, const std::string& board,
               const Folder& work, const Folder& notes, const Fault& fault, Outcome& outcome) {
  std::vector<std::string> line = {ZVGSIM_PROGRAM,   "run",     "--board",           board,
                                   "--virtual-time", "--trace", notes.path("trace"), "--",
                                   "/usr/bin/env",   "-C",      work.path("")};
  line.push_back(std::string("LD_PRELOAD=") + FAIL_REQUEST_LIBRARY + ":" + PROFILE_REDIRECT + ":" +
                 preloaded());
  const std::string timed = words + " --deadline " + std::to_string(deadline);
  if (terminal) {
    const std::vector<std::string> on_terminal = {
        "/usr/bin/script", "-qec", std::string(ZVGCTL_PROGRAM) + " " + timed, "/dev/null"};
    line.insert(line.end(), on_terminal.begin(), on_terminal.end());
  } else {
    const std::vector<std::string> command = zvgtest::zvgctl_words(timed);
    line.insert(line.end(), command.begin(), command.end());
  }
  Setting setting;
  setting.patience = std::chrono::seconds(deadline + 20);
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
std::string board_for(const CommandLine& line, const std::string& board,
                      const std::string& additions, const Folder& notes) {
  std::error_code ignored;
  fs::create_symlink(ZVG_MONITORS, notes.path("monitors"), ignored);
  std::ifstream ready(std::string(ZVG_BOARDS) + "/" + board + ".toml");
  const std::string text{std::istreambuf_iterator<char>(ready), {}};
  return notes.put("board.toml", text + line.board + additions);
}

}  // namespace

bool all_failures() {
  const char* const wanted = getenv("ZVG_FAILURES");
  return wanted != nullptr && std::string(wanted) == "all";
}

Outcome run_line(const CommandLine& line, const std::string& ready_board, const Fault& fault,
                 const std::string& additions, const std::string& options) {
  const Folder work;
  const Folder notes;
  zvgtest::make_files(work.path(""));
  const std::string board = board_for(line, ready_board, additions, notes);
  const int deadline = deadline_s(line);
  Outcome outcome;
  if (!line.before.empty())
    run_words(line.before, deadline, false, board, work, notes, {}, outcome);
  run_words(line.words + " " + options, deadline, line.terminal, board, work, notes, fault,
            outcome);
  for (const auto& entry : fs::recursive_directory_iterator(work.path(""))) {
    if (!entry.is_regular_file()) continue;
    const std::string name = fs::relative(entry.path(), work.path("")).string();
    outcome.files[name] = without_chance(work.get(name), work.path(""));
  }
  // Of a command that failed nobody asks; what waited for its deadline has a trace of millions.
  if (outcome.result.exit == 0) read_trace(notes.get("trace"), outcome);
  outcome.requests = strtol(notes.get("count").c_str(), nullptr, 10);
  return outcome;
}

std::vector<long> places(const CommandLine& line, long accesses) {
#ifdef ZVG_SANITIZED
  if (line.long_run) return {1};
  const long first = 1;
  const long strided = 1;
#else
  if (line.long_run) return {1, accesses / 2, accesses};
  const long first = all_failures() ? 200 : 20;
  const long strided = 20;
#endif
  std::set<long> chosen;
  for (long k = 1; k <= std::min(first, accesses); ++k) chosen.insert(k);
  for (long i = 1; i <= strided && accesses > first; ++i) {
    chosen.insert(first + (accesses - first) * i / strided);
  }
  return {chosen.begin(), chosen.end()};
}

std::string difference(const Outcome& sound, const Outcome& failed, bool deeds) {
  if (sound.result.out != failed.result.out) {
    return "other output:\n" + failed.result.out + "instead of:\n" + sound.result.out;
  }
  if (sound.files != failed.files) return "other files";
  if (deeds && sound.deeds != failed.deeds) return "other writes to the board";
  return "";
}

std::string verdict(const CommandLine& line, const Outcome& sound, const Outcome& failed) {
  const Result& result = failed.result;
  if (result.signal != 0) return "ended by signal " + std::to_string(result.signal);
  if (result.exit == 0) {
    if (line.failing == Failing::is_an_answer) return "";
    const std::string other = difference(sound, failed, line.failing != Failing::is_repeated);
    return other.empty() ? "" : "status 0, but " + other;
  }
  if (result.exit != std::max(line.exit, 1)) return "status " + std::to_string(result.exit);
  return result.err.empty() && !line.terminal ? "status 1 without a word" : "";
}

std::string test_name(const testing::TestParamInfo<CommandLine>& info) {
  std::string name = std::to_string(info.index) + "_" + info.param.words;
  for (char& c : name) {
    if (isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
  }
  return name;
}

}  // namespace zvgtest
