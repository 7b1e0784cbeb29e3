// A command line of zvgctl for each of its commands, that a board can carry out.
#ifndef TESTS_FAILURES_COMMAND_LINES_H
#define TESTS_FAILURES_COMMAND_LINES_H

#include <ostream>
#include <string>
#include <vector>

namespace zvgtest {

// How a command takes an access that fails.
enum class Failing {
  ends_it,       // with status 1
  is_an_answer,  // it looks for what is there: no answer is one
  is_repeated,   // it measures once more: selectors and triggers are written twice
};

struct CommandLine {
  std::string words;
  Failing failing = Failing::ends_it;
  std::string before = {};  // another, which has to be done first
  std::string board = {};   // what the board has besides, as in a board file
  std::string chip = "rq302";
  bool terminal = false;  // draws on one
  bool long_run = false;  // a few failures have to do
  int exit = 0;           // when nothing fails
};

const std::vector<CommandLine>& command_lines();

// How GoogleTest names one.
inline void PrintTo(const CommandLine& line, std::ostream* stream) {
  *stream << "zvgctl " << line.words;
}

// Puts the files into a folder that the lines name.
void make_files(const std::string& folder);

}  // namespace zvgtest

#endif  // TESTS_FAILURES_COMMAND_LINES_H
