#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "machine/machine.h"
#include "preload/environment.h"
#include "zvgsim/commands.h"
#include "zvgsim/layout.h"

namespace zvgsim {

namespace fs = std::filesystem;

namespace {

constexpr char preload_variable[] = "LD_PRELOAD";

// Puts the library in front of whatever is preloaded already.
void preload(const std::string& library) {
  if (library.find_first_of(": ") != std::string::npos) {
    throw std::runtime_error("the preload library's path must not hold a space or a colon: " +
                             library);
  }
  if (access(library.c_str(), R_OK) != 0) {
    throw std::runtime_error("no preload library " + library + ": " + strerror(errno));
  }
  const char* const before = getenv(preload_variable);
  const bool other = before != nullptr && *before != '\0';
  setenv(preload_variable, other ? (library + ":" + before).c_str() : library.c_str(), 1);
}

#ifdef ZVGSIM_SANITIZED
// An instrumented program insists that its runtime is the first library; the board has to be in
// front of it.
void allow_library_in_front_of_sanitizer() {
  constexpr char variable[] = "ASAN_OPTIONS";
  constexpr char option[] = "verify_asan_link_order=0";
  const char* const before = getenv(variable);
  const bool other = before != nullptr && *before != '\0';
  setenv(variable, other ? (std::string(before) + ":" + option).c_str() : option, 1);
}
#endif

// A new, empty file: the programs append to it.
void begin_trace(const std::string& path) {
  FILE* const file = fopen(path.c_str(), "w");
  if (file == nullptr) {
    throw std::runtime_error("cannot write the trace to " + path + ": " + strerror(errno));
  }
  fclose(file);
}

}  // namespace

int run(const RunOptions& options) {
  const std::string board = find_board(options.board);
  load_board_file(board);  // a faulty board is told here, not by the program
  setenv(board_variable, board.c_str(), 1);
  if (options.virtual_time) {
    setenv(virtual_time_variable, "1", 1);
  } else {
    unsetenv(virtual_time_variable);
  }
  if (options.trace.empty()) {
    unsetenv(trace_variable);
  } else {
    const std::string trace = fs::absolute(options.trace).string();
    begin_trace(trace);
    setenv(trace_variable, trace.c_str(), 1);
  }
  preload(preload_library());
#ifdef ZVGSIM_SANITIZED
  allow_library_in_front_of_sanitizer();
#endif

  std::vector<char*> arguments;
  for (const std::string& word : options.program) {
    arguments.push_back(const_cast<char*>(word.c_str()));
  }
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  throw std::runtime_error("cannot run " + options.program[0] + ": " + strerror(errno));
}

}  // namespace zvgsim
