// Replies of the serial line that are lost, cut, late or have bytes in front of them: a command
// gives the right answer all the same, or ends with status 1.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "failures/command_lines.h"
#include "failures/failing_run.h"

namespace zvgtest {

namespace {

class SpoiledReplies : public testing::TestWithParam<CommandLine> {};

TEST_P(SpoiledReplies, EndTheCommandOrChangeNothing) {
  const CommandLine& line = GetParam();
  const std::string serial = "--serial /dev/ttyZVG0 --generation " + line.chip;
  const Outcome sound = run_line(line, line.chip, {}, "", serial);
  if (sound.result.exit != 0) {  // it does not go over a serial line
    EXPECT_NE(sound.result.err, "");
    return;
  }
  std::vector<long> replies = places(line, sound.reads);
  if (!all_failures() && line.long_run) {
    replies = {1};
  } else if (!all_failures() && replies.size() > 4) {
    replies = {replies[0], replies[1], replies[replies.size() / 2], replies.back()};
  }
  for (const char* const action : {"drop", "cut", "delay", "noise"}) {
    for (const long reply : replies) {
      const std::string fault =
          "[[faults.uart]]\nreply = " + std::to_string(reply) + "\naction = \"" + action + "\"\n";
      const Outcome failed = run_line(line, line.chip, {}, fault, serial);
      EXPECT_EQ(verdict(line, sound, failed), "") << "zvgctl " << line.words << ", reply " << reply
                                                  << " of " << sound.reads << ", " << action << "\n"
                                                  << failed.result.err;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Commands, SpoiledReplies, testing::ValuesIn(command_lines()), test_name);

}  // namespace

}  // namespace zvgtest
