// The help of every command, and what is said of words that are not understood.
#include "zvgctl/help.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <sstream>

#include "tools/zvgctl_process.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using zvgtest::Result;
using zvgtest::zvgctl;
using zvgtest::zvgctl_sim;

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// The commands below one, by its help.
std::vector<std::string> subcommands(const std::vector<std::string>& help) {
  std::vector<std::string> names;
  bool listed = false;
  for (const std::string& line : help) {
    if (line == "Subcommands:") {
      listed = true;
    } else if (listed && line.starts_with("  ") && line[2] != ' ') {
      names.push_back(line.substr(2, line.find_first_of(" ,", 2) - 2));  // without an alias
    } else if (listed && !line.starts_with("  ")) {
      break;
    }
  }
  return names;
}

// Calls each(command, help) for the application, its commands and theirs.
template <typename Each>
void walk(const std::string& command, Each each) {
  const Result result = zvgctl(command + " --help");
  ASSERT_EQ(result.exit, 0) << command;
  const std::vector<std::string> help = lines_of(result.out);
  each(command, help);
  constexpr long deepest = 4;
  ASSERT_LE(std::count(command.begin(), command.end(), ' '), deepest) << command;
  for (const std::string& name : subcommands(help)) walk(command + " " + name, each);
}

TEST(Help, FitsEightyColumns) {
  int commands = 0;
  walk("", [&](const std::string& command, const std::vector<std::string>& help) {
    ++commands;
    for (const std::string& line : help) EXPECT_LE(line.size(), 80u) << command << "\n" << line;
  });
  EXPECT_GT(commands, 90) << "the tree was not walked";
}

TEST(Help, ALetterMeansOneThing) {
  std::map<std::string, std::string> meaning;
  const std::regex option("^  (-[a-zA-Z]),(--[a-z-]+)");
  walk("", [&](const std::string& command, const std::vector<std::string>& help) {
    for (const std::string& line : help) {
      std::smatch found;
      if (!std::regex_search(line, found, option)) continue;
      const auto [entry, first] = meaning.emplace(found[1], found[2]);
      EXPECT_EQ(entry->second, found[2]) << command;
    }
  });
  EXPECT_EQ(meaning["-n"], "--count");
  EXPECT_EQ(meaning["-o"], "--output");
  EXPECT_EQ(meaning["-c"], "--channel");
}

TEST(Help, OldLettersStillWork) {
  EXPECT_EQ(zvgctl_sim("i2c read 0 0x54 0 -c 2").out, zvgctl_sim("i2c read 0 0x54 0 -n 2").out);
  EXPECT_EQ(zvgctl_sim("power watch -c 1").exit, 0);
  EXPECT_EQ(zvgctl_sim("sensor watch -c 1").exit, 0);
  EXPECT_EQ(zvgctl_sim("top --csv - -c 1").exit, 0);
  EXPECT_EQ(zvgctl_sim("vram dump - -o 4 --length 4").out.size(), 4u);
  EXPECT_EQ(zvgctl_sim("reg snapshot -r 0x100-0x103 -o -").exit, 0);
  EXPECT_EQ(zvgctl_sim("reg snapshot -o -").exit, 2);
}

TEST(Help, LinesThatAreTooLongGoOnInTheNext) {
  const std::string words(76, 'x');
  EXPECT_EQ(zvgctl::fitted(words + " one two\nthree\n"), words + " one\ntwo three\n");
  EXPECT_EQ(zvgctl::fitted(words + " one two\n  example\n"), words + " one\ntwo\n  example\n");
  const std::string option = "  --an-option                 ";
  EXPECT_EQ(zvgctl::fitted(option + std::string(45, 'y') + " more\n"),
            option + std::string(45, 'y') + " more\n");
  EXPECT_EQ(zvgctl::fitted(option + std::string(45, 'y') + " more words\n"),
            option + std::string(45, 'y') + " more\n" + std::string(30, ' ') + "words\n");
}

TEST(Misspelled, CommandsAndOptionsAreGuessed) {
  const std::pair<const char*, const char*> cases[] = {
      {"rge read 1",
       "\"rge\" is out of place: no such command or option here: did you mean \"reg\"?"},
      {"reg raed 1", "did you mean \"read\"?"},
      {"flash verfy x", "did you mean \"verify\"?"},
      {"reg read 1 --widht 8", "did you mean \"--width\"?"},
      {"reg read 1 --jsno", "did you mean \"--json\"?"},
      {"clock set 3d --mzh=900", "did you mean \"--mhz\"?"},
      {"reg", "A subcommand is required: read, write, mask, watch, snapshot, diff"},
  };
  for (const auto& [command, message] : cases) {
    const Result result = zvgctl(command);
    EXPECT_EQ(result.exit, 2) << command;
    EXPECT_THAT(result.err, HasSubstr(message)) << command;
  }
  EXPECT_THAT(zvgctl("wombat").err, Not(HasSubstr("did you mean")));
}

TEST(Misspelled, BoardsAreCalledBoards) {
  for (const std::string command :
       {"info --sim nosuch", "--sim nosuch info", "info --sim=nosuch"}) {
    const Result result = zvgctl(command);
    EXPECT_EQ(result.exit, 2) << command;
    EXPECT_THAT(result.err, HasSubstr("--sim: there is no board \"nosuch\"")) << command;
  }
  EXPECT_THAT(zvgctl("info --sim rq30").err, HasSubstr("did you mean \"rq300\"?"));
}

}  // namespace
