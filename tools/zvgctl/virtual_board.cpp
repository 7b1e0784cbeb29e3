#include "zvgctl/virtual_board.h"

#include <dlfcn.h>
#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <toml++/toml.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "service/files/input_file.h"
#include "zvgctl/connection_options.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/prompt.h"

namespace zvgctl {

namespace fs = std::filesystem;

namespace {

constexpr char simulator[] = "zvgsim";
// "1" lets the board's clock jump over every sleep. For tests.
constexpr char virtual_time_variable[] = "ZVGSIM_VIRTUAL_TIME";

constexpr char boards_folder[] = "/../share/zvgsim/boards/";

std::string own_path() {
  char path[PATH_MAX];
  const ssize_t size = readlink("/proc/self/exe", path, sizeof path);
  return size > 0 ? std::string(path, static_cast<size_t>(size)) : std::string();
}

std::string own_folder() {
  const std::string path = own_path();
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

bool is_file(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// The loader leaves the virtual board out of programs with rights of their own, and anybody may set
// a variable: only the board itself shows that it is here.
bool board_is_loaded() {
  using Question = int();
  auto* const is_loaded = reinterpret_cast<Question*>(dlsym(RTLD_DEFAULT, "zvgsim_is_loaded"));
  return is_loaded != nullptr && is_loaded() != 0;
}

}  // namespace

bool on_virtual_board() {
  if (getenv(virtual_board_variable) == nullptr) return false;
  if (board_is_loaded()) return true;
  fail(
      "the virtual board is not in this process, though %s is set: the loader leaves it out of "
      "programs with a set-user-ID or set-group-ID bit; without that variable zvgctl would reach a "
      "real board",
      virtual_board_variable);
}

std::string virtual_board_name() {
  const char* const name = getenv(virtual_board_variable);
  return name == nullptr ? std::string() : std::string(name);
}

std::string virtual_board_file() {
  constexpr char simulators_default[] = "rq302";
  const std::string name = virtual_board_name();
  if (name.find('/') != std::string::npos || name.ends_with(".toml")) return name;
  return own_folder() + boards_folder + (name == default_board ? simulators_default : name) +
         ".toml";
}

std::string virtual_board_identity() {
  // Also where somebody else began the virtual board, and this is one of its programs.
  if (!on_virtual_board() && !board_is_loaded()) return {};
  const char* const board_file = getenv("ZVGSIM_BOARD");
  try {
    const fs::path file = board_file == nullptr ? "" : board_file;
    const toml::table board = toml::parse_file(file.string());
    const auto image = board["flash"]["image"].value_or(std::string());
    if (!image.empty()) return fs::weakly_canonical(file.parent_path() / image).string();
  } catch (const std::exception&) {
    // The virtual board has read its file; what cannot be read here has no image either.
  }
  return format("virtual board of process %d", getpid());
}

std::vector<std::string> ready_boards() {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const auto& file : fs::directory_iterator(own_folder() + boards_folder, ignored)) {
    if (file.path().extension() == ".toml") names.push_back(file.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool is_board(const std::string& word) {
  if (word.empty() || word.starts_with('-')) return false;
  if (word.ends_with(".toml")) return true;
  return word.find('/') == std::string::npos &&
         is_file(own_folder() + boards_folder + word + ".toml");
}

void run_on_virtual_board(const std::string& board, const std::vector<std::string>& arguments) {
  const bool named = board.find('/') == std::string::npos && !board.ends_with(".toml");
  const std::vector<std::string> boards = ready_boards();
  if (named && board != default_board && !boards.empty() &&
      std::find(boards.begin(), boards.end(), board) == boards.end()) {
    usage_error("--sim: there is no board \"%s\": 'zvgsim boards' lists them", board.c_str());
  }
  constexpr size_t most_bytes = size_t{1} << 20;
  if (!named) expect_input(board, most_bytes, "a board file");
  std::vector<std::string> words = {simulator, "run"};
  if (board != default_board) {
    words.push_back("--board");
    words.push_back(board);
  }
  const char* const virtual_time = getenv(virtual_time_variable);
  if (virtual_time != nullptr && strcmp(virtual_time, "1") == 0) words.push_back("--virtual-time");
  words.push_back("--");
  words.push_back(own_path());
  if (was_confirmed()) words.push_back("--yes");
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  setenv(virtual_board_variable, board.c_str(), 1);
  give_stdout_back();
  const std::string beside = own_folder() + "/" + simulator;
  execv(beside.c_str(), argv.data());
  if (errno != ENOENT) fail("cannot run %s: %s", beside.c_str(), strerror(errno));
  execvp(simulator, argv.data());
  fail(
      "cannot run the virtual board: its program %s is neither in %s, beside zvgctl, nor in PATH "
      "(%s)",
      simulator, own_folder().c_str(), strerror(errno));
}

}  // namespace zvgctl
