// Where the programs and their data are, relative to each other.
#ifndef ZVGSIM_ZVGSIM_LAYOUT_H
#define ZVGSIM_ZVGSIM_LAYOUT_H

#include <string>
#include <vector>

namespace zvgsim {

constexpr char default_board[] = "rq302";

// The folder of this program's file.
std::string program_folder();

// The library that brings a board into another program.
std::string preload_library();

struct ReadyBoard {
  std::string name;
  std::string file;
};
// The boards that came with the program, by name.
std::vector<ReadyBoard> ready_boards();

// The file of a board that is named on the command line: a path, when it has a slash, ends in
// ".toml" or exists; otherwise a ready board's name. Throws std::runtime_error that names the ready
// boards when there is none.
std::string find_board(const std::string& word);

}  // namespace zvgsim

#endif  // ZVGSIM_ZVGSIM_LAYOUT_H
