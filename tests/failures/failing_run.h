// A command line of zvgctl on a virtual board where something fails, and all that it leaves behind.
#ifndef TESTS_FAILURES_FAILING_RUN_H
#define TESTS_FAILURES_FAILING_RUN_H

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "failures/command_lines.h"
#include "tools/process.h"

namespace zvgtest {

// A request of the driver that does not reach the board.
struct Fault {
  long request = 0;  // counted from 1; 0: none
  int error = 0;     // its errno
};

struct Outcome {
  Result result;
  std::map<std::string, std::string> files;
  std::vector<std::string> deeds;  // what the board was told, in order: all but the reads
  long reads = 0;                  // of registers and memory
  long requests = 0;               // of the driver
};

// board: a ready board's name; additions: to its board file; options: to the command line.
Outcome run_line(const CommandLine& line, const std::string& board, const Fault& fault = {},
                 const std::string& additions = {}, const std::string& options = {});

// What differs between two runs that should be the same; empty when nothing does.
// deeds: whether the writes to the board count.
std::string difference(const Outcome& sound, const Outcome& failed, bool deeds = true);

// What is wrong with how a command took a failure; empty when nothing is.
std::string verdict(const CommandLine& line, const Outcome& sound, const Outcome& failed);

// Whether ZVG_FAILURES=all asks for what takes hours.
bool all_failures();

// Which of so many accesses fail: the first ones, where a command finds its way to the board, and
// some of all the others.
std::vector<long> places(const CommandLine& line, long accesses);

std::string test_name(const testing::TestParamInfo<CommandLine>& info);

}  // namespace zvgtest

#endif  // TESTS_FAILURES_FAILING_RUN_H
