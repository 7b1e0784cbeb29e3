// The subcommands. Each returns the program's exit status or throws what went wrong.
#ifndef ZVGSIM_ZVGSIM_COMMANDS_H
#define ZVGSIM_ZVGSIM_COMMANDS_H

#include <optional>
#include <string>
#include <vector>

namespace zvgsim {

enum ExitStatus { exit_done = 0, exit_failed = 1, exit_usage = 2 };

struct RunOptions {
  std::string board;
  bool virtual_time = false;
  std::string trace;                 // file; empty: none
  std::vector<std::string> program;  // and its arguments
};
// Becomes the program, with the board preloaded; returns only by throwing.
int run(const RunOptions& options);

struct ServeOptions {
  std::string board;
  std::optional<double> seconds;
  std::string link;  // empty: none
};
int serve(const ServeOptions& options);

struct CuseOptions {
  std::string board;
  std::string name = "zvgrw";
  std::optional<unsigned> mode;
  std::string trace;  // file; empty: none
};
int cuse(const CuseOptions& options);

int list_boards(bool json);
int check(const std::string& file);

}  // namespace zvgsim

#endif  // ZVGSIM_ZVGSIM_COMMANDS_H
