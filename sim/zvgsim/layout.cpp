#include "zvgsim/layout.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace zvgsim {

namespace fs = std::filesystem;

namespace {

fs::path boards_folder() {
  return fs::path(program_folder()).parent_path() / "share/zvgsim/boards";
}

}  // namespace

std::string program_folder() {
  return fs::read_symlink("/proc/self/exe").parent_path().string();
}

std::string preload_library() {
  const fs::path prefix = fs::path(program_folder()).parent_path();
  return (prefix / "lib/zvgsim/libzvgsim_preload.so").string();
}

std::vector<ReadyBoard> ready_boards() {
  std::vector<ReadyBoard> boards;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(boards_folder(), error)) {
    if (entry.path().extension() != ".toml") continue;
    boards.push_back({entry.path().stem().string(), entry.path().string()});
  }
  std::sort(boards.begin(), boards.end(),
            [](const ReadyBoard& a, const ReadyBoard& b) { return a.name < b.name; });
  return boards;
}

std::string find_board(const std::string& word) {
  std::error_code error;
  if (word.find('/') != std::string::npos || word.ends_with(".toml") ||
      fs::is_regular_file(word, error)) {
    return fs::absolute(word).string();
  }
  const std::vector<ReadyBoard> boards = ready_boards();
  std::string names;
  for (const ReadyBoard& board : boards) {
    if (board.name == word) return board.file;
    names += (names.empty() ? "" : ", ") + board.name;
  }
  throw std::runtime_error("no board '" + word + "'; the ready boards in " +
                           boards_folder().string() + " are: " + (names.empty() ? "none" : names) +
                           ". A board file's name ends in .toml.");
}

}  // namespace zvgsim
