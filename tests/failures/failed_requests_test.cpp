// No request of the driver that fails is told as success: every command is run with one request
// failing, at many places, and must then either do and say exactly what it does without the failure
// or end with status 1.
//   ZVG_FAILURES=all   every request up to the 200th and a stride beyond, other errors, other
//   boards
#include <errno.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "failures/command_lines.h"
#include "failures/failing_run.h"
#include "zvgctl/application.h"

namespace zvgtest {

namespace {

class FailedRequests : public testing::TestWithParam<CommandLine> {
 protected:
  void sweep(const std::string& board, int error) {
    const CommandLine& line = GetParam();
    const Outcome sound = run_line(line, board);
    if (board == line.chip) {
      ASSERT_EQ(sound.result.exit, line.exit) << sound.result.out << sound.result.err;
    }
    for (const long k : places(line, sound.requests)) {
      const Outcome failed = run_line(line, board, {k, error});
      const std::string wrong = verdict(line, sound, failed);
      EXPECT_EQ(wrong, "") << "zvgctl " << line.words << ", request " << k << " of "
                           << sound.requests << " failed on " << board << "\n"
                           << failed.result.err;
    }
  }
};

TEST_P(FailedRequests, EndTheCommandOrChangeNothing) {
  sweep(GetParam().chip, EIO);
}

class FailuresOfAllKinds : public FailedRequests {};

TEST_P(FailuresOfAllKinds, EndTheCommandOrChangeNothing) {
  for (const char* const board : {"rq300", "rq301", "faults", "busy"}) sweep(board, EIO);
  for (const int error : {ENODEV, EINTR}) sweep(GetParam().chip, error);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FailuresOfAllKinds);
INSTANTIATE_TEST_SUITE_P(Commands, FailedRequests, testing::ValuesIn(command_lines()), test_name);

INSTANTIATE_TEST_SUITE_P(Commands, FailuresOfAllKinds,
                         testing::ValuesIn(all_failures() ? command_lines()
                                                          : std::vector<CommandLine>()),
                         test_name);

TEST(CommandLines, ThereIsOneForEveryCommand) {
  for (const std::string& command : zvgctl::command_names()) {
    const bool has_one = std::any_of(
        command_lines().begin(), command_lines().end(),
        [&](const CommandLine& line) { return (line.words + " ").starts_with(command + " "); });
    EXPECT_TRUE(has_one) << "zvgctl " << command << " is in no line of command_lines.cpp";
  }
}

TEST(CommandLines, AreTheSameTwice) {
  for (const CommandLine& line : command_lines()) {
    if (line.long_run) continue;
    const Outcome once = run_line(line, line.chip);
    EXPECT_EQ(difference(once, run_line(line, line.chip)), "") << line.words;
  }
}

}  // namespace

}  // namespace zvgtest
