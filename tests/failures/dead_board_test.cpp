// A board that is off the bus reads as ones everywhere, and every access to it succeeds.
#include <gtest/gtest.h>

#include <string>

#include "failures/command_lines.h"
#include "failures/failing_run.h"

namespace zvgtest {

namespace {

class DeadBoard : public testing::TestWithParam<CommandLine> {};

// What is read of it is no result.
TEST_P(DeadBoard, IsNoSuccess) {
  const CommandLine& line = GetParam();
  const Outcome outcome = run_line(line, line.chip, {}, "[faults]\nreads_ones = true\n");
  EXPECT_EQ(outcome.result.signal, 0);
  if (outcome.result.exit != 0) {
    EXPECT_NE(outcome.result.err + outcome.result.out, "");
    return;
  }
  const std::string family = line.words.substr(0, line.words.find(' '));
  const bool other_space = family == "pci" || family == "kmem" || family == "ioport";
  EXPECT_TRUE(other_space || outcome.reads == 0)
      << "status 0 after " << outcome.reads << " reads of a dead board:\n"
      << outcome.result.out;
}

INSTANTIATE_TEST_SUITE_P(Commands, DeadBoard, testing::ValuesIn(command_lines()), test_name);

}  // namespace

}  // namespace zvgtest
