// The guide's examples work as they stand.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "tools/zvgctl_process.h"

namespace {

using zvgtest::Folder;
using zvgtest::Result;

// The command of an example line: indented, perhaps behind a prompt, perhaps with a comment.
std::string command_of(std::string line) {
  if (!line.starts_with("    ")) return {};
  line = line.substr(line.find_first_not_of(' '));
  if (line.starts_with("$ ")) line.erase(0, 2);
  if (!line.starts_with("zvgctl ")) return {};
  line.erase(std::min(line.find(" #"), line.size()));
  return line;
}

TEST(GuideTest, ExamplesOnTheVirtualBoardWork) {
  const Folder folder;
  folder.put("my-board.toml", "generation = \"rq300\"\n");
  std::ifstream guide(ZVGCTL_GUIDE);
  ASSERT_TRUE(guide);
  int count = 0;
  for (std::string line; std::getline(guide, line);) {
    const std::string command = command_of(line);
    if (command.find(" --sim") == std::string::npos) continue;
    ++count;
    const std::string program = ZVGCTL_PROGRAM + command.substr(std::string("zvgctl").size());
    const Result result = zvgtest::run(
        {"/bin/sh", "-c", "cd " + folder.path(".") + " && " + program}, zvgtest::on_virtual_time());
    EXPECT_EQ(result.exit, 0) << command << "\n" << result.err;
    EXPECT_NE(result.out, "") << command;
  }
  EXPECT_GE(count, 10);
}

// What bash offers for the last of the words.
std::string completions(const std::string& words) {
  const std::string script = std::string("source ") + ZVGCTL_COMPLETION + "; COMP_WORDS=(" +
                             ZVGCTL_PROGRAM + " " + words +
                             "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _zvgctl; "
                             "echo \"${COMPREPLY[*]}\"";
  return zvgtest::run({"/bin/bash", "-c", script}).out;
}

TEST(CompletionTest, OffersCommandsAndOptions) {
  EXPECT_EQ(completions("hd"), "hdmi\n");
  EXPECT_EQ(completions("hdmi ''"), "status mode phy ddc\n");
  EXPECT_EQ(completions("--sim hdmi phy ''"), "read write reset start end\n");
  EXPECT_EQ(completions("vram dump --le"), "--length\n");
  EXPECT_EQ(completions("reg read 0 --ser"), "--serial\n");
  EXPECT_EQ(completions("reg read 0 --width ''"), "8 16 32 64\n");
  EXPECT_EQ(completions("amba read 0 --generation ''"), "rq300 rq301 rq302\n");
}

}  // namespace
