// Board files: a board's description in TOML.
#ifndef ZVGSIM_BOARD_BOARD_FILE_H
#define ZVGSIM_BOARD_BOARD_FILE_H

#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "board/board_config.h"
#include "board/model.h"

namespace zvgsim {

// Everything that is wrong with a board file, one line each:
//   "FILE:LINE: KEY: expected ..., found ..."
//   "FILE:LINE: KEY: unknown key; did you mean 'KEY'?"
class BoardFileError : public std::runtime_error {
 public:
  explicit BoardFileError(std::vector<std::string> problems);
  const std::vector<std::string>& problems() const { return problems_; }

 private:
  std::vector<std::string> problems_;
};

// Reads what every board has, and what the models do; files that the board file names stand
// relative to it. Throws BoardFileError.
BoardConfig load_board_file(const std::string& path, std::span<const Model> models);

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_BOARD_FILE_H
