// What the guide to the virtual board prints works as printed.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tools/zvgctl_process.h"

namespace {

using zvgtest::Folder;
using zvgtest::Result;

struct Command {
  std::string text;
  std::vector<std::string> output;  // the lines that the guide shows below it
};
using Session = std::vector<Command>;

constexpr char prompt[] = "    $ ";
constexpr char indent[] = "    ";
constexpr char anything[] = "...";

// A session is a run of indented lines that begins with a command.
std::vector<Session> sessions_of(std::istream& guide) {
  std::vector<Session> sessions;
  bool inside = false;
  for (std::string line; std::getline(guide, line);) {
    if (line.starts_with(prompt)) {
      if (!inside) sessions.emplace_back();
      inside = true;
      sessions.back().push_back({line.substr(strlen(prompt)), {}});
    } else if (inside && line.starts_with(indent)) {
      sessions.back().back().output.push_back(line.substr(strlen(indent)));
    } else {
      inside = false;
    }
  }
  return sessions;
}

// The guide's ```toml example.
std::string example_board(std::istream& guide) {
  std::string text;
  bool inside = false;
  for (std::string line; std::getline(guide, line);) {
    if (line == "```toml") {
      inside = true;
    } else if (inside && line == "```") {
      break;
    } else if (inside) {
      text += line + "\n";
    }
  }
  return text;
}

// Making devices takes root and a kernel that has CUSE: scripts/vm-test does that.
bool needs_root(const Session& session) {
  return session[0].text.starts_with("sudo ");
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// A line for the shell. A reader who starts a server looks at what it says before going on.
std::string shell_line(const Command& command, const std::string& folder) {
  std::string line = replaced(command.text, "/tmp/", folder);
  if (line.ends_with(" &")) {
    line += "\nuntil [ -e " + folder + "board ]; do sleep 0.05; done";
  }
  return "printf '\\001'\n" + line + "\n";
}

// Shown lines stand for themselves; "..." for any number of others.
bool is_as_shown(const std::vector<std::string>& shown, const std::vector<std::string>& lines) {
  size_t at = 0;
  bool skipping = false;
  for (const std::string& line : shown) {
    if (line == anything) {
      skipping = true;
      continue;
    }
    while (skipping && at < lines.size() && lines[at] != line) ++at;
    if (at == lines.size() || lines[at] != line) return false;
    skipping = false;
    ++at;
  }
  return skipping ? at < lines.size() : at == lines.size();
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(SimulatorGuideTest, SessionsGoAsPrinted) {
  const Folder folder;
  folder.put("my-test", "#!/bin/sh\n");
  std::filesystem::permissions(folder.path("my-test"), std::filesystem::perms::owner_all);
  folder.put("board.toml", "[[hdmi]]\nport = 0\nedit = \"a.edid\"\n");
  const std::string programs = std::filesystem::path(ZVGSIM_PROGRAM).parent_path().string();

  std::ifstream guide(ZVGSIM_GUIDE);
  ASSERT_TRUE(guide);
  int count = 0;
  for (const Session& session : sessions_of(guide)) {
    if (needs_root(session)) continue;
    std::string script = "exec 2>&1\ncd " + folder.path(".") + "\nPATH=" + programs + ":$PATH\n";
    for (const Command& command : session) script += shell_line(command, folder.path(""));
    const Result result = zvgtest::run({"/bin/bash", "-c", script});
    std::istringstream stream(result.out);
    std::string said;
    std::getline(stream, said, '\001');
    EXPECT_EQ(said, "");
    for (const Command& command : session) {
      ++count;
      said.clear();
      std::getline(stream, said, '\001');
      EXPECT_TRUE(is_as_shown(command.output, lines_of(said))) << command.text << "\n" << said;
    }
  }
  EXPECT_GE(count, 12);
}

TEST(SimulatorGuideTest, ExampleBoardWorks) {
  const Folder folder;
  std::ifstream guide(ZVGSIM_GUIDE);
  const std::string board = example_board(guide);
  ASSERT_NE(board, "");
  folder.put("my-board.toml", board);
  std::filesystem::create_directory_symlink(ZVG_MONITORS, folder.path("monitors"));
  const Result result = zvgtest::run({ZVGSIM_PROGRAM, "check", folder.path("my-board.toml")});
  EXPECT_EQ(result.exit, 0) << result.err;
}

}  // namespace
