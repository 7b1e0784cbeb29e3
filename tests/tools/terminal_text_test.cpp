// What boards, monitors and files hold does not command the terminal, and colours are for
// terminals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "service/text.h"
#include "tools/edid_files.h"
#include "tools/zvgctl_process.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using zvgtest::Folder;
using zvgtest::Result;
using zvgtest::zvgctl;
using zvgtest::zvgctl_sim;

TEST(Printable, ShowsWhatTerminalsObey) {
  EXPECT_EQ(zvg::printable("plain\ttext\n"), "plain\ttext\n");
  EXPECT_EQ(zvg::printable("\x1b[2J\a\x7f"), "\\x1b[2J\\x07\\x7f");
  EXPECT_EQ(zvg::printable("a\rb\r\nc\r"), "a\\x0db\r\nc\\x0d");
  EXPECT_EQ(zvg::printable("\xC2\x9B"
                           "2J \xC3\xA9 \xE8\xAF\xBB"),
            "\\u009b2J \xC3\xA9 \xE8\xAF\xBB");
  EXPECT_EQ(zvg::printable("\x9B \xE8\xAF \xC3"), "\\x9b \\xe8\\xaf \\xc3");
  EXPECT_EQ(zvg::printable(std::string(1, '\0')), "\\x00");
}

TEST(Printable, TakesPieces) {
  std::string shown;
  EXPECT_EQ(zvg::append_printable("\xE8\xAF", false, &shown), 0u);
  EXPECT_EQ(zvg::append_printable("\r", false, &shown), 0u);
  EXPECT_EQ(shown, "");
  EXPECT_EQ(zvg::append_printable("\xE8\xAF\xBB!", false, &shown), 3u);
}

// A monitor that is called "\x1b[2J\x1b[31mEVIL".
std::string evil_monitor() {
  std::string bytes = zvgtest::monitor_bytes("office-24-dvi");
  const size_t name = bytes.find(std::string("\0\0\0\xFC\0", 5)) + 5;
  bytes.replace(name, 13, "\x1b[2J\x1b[31mEVIL");
  unsigned sum = 0;
  for (size_t i = 0; i < 127; ++i) sum += static_cast<unsigned char>(bytes[i]);
  bytes[127] = static_cast<char>(-sum);
  return bytes;
}

TEST(TerminalText, MonitorsNamesAreShownEscaped) {
  const Folder folder;
  const Result report = zvgctl("edid show " + folder.put("evil.bin", evil_monitor()));
  EXPECT_EQ(report.exit, 0) << report.err;
  EXPECT_THAT(report.out, HasSubstr("\\x1b[2J\\x1b[31mEVIL"));
  EXPECT_THAT(report.out, Not(HasSubstr("\x1b")));
}

TEST(TerminalText, EchoedTextIsShownEscaped) {
  const Folder folder;
  const std::string script =
      folder.put("script", "echo a\x1b[31mb\x1b]0;title\a\n300004 0 C FF 8\n");
  const Result result = zvgctl_sim("script run " + script);
  EXPECT_EQ(result.out, " a\\x1b[31mb\\x1b]0;title\\x07\n1 check\n");
  const Result plan = zvgctl("script run --dry-run " + folder.put("odd", "1 1 \x1b 0 8\n"));
  EXPECT_THAT(plan.out + plan.err, Not(HasSubstr("\x1b")));
}

TEST(TerminalText, RailsAndVersionsAreShownEscaped) {
  const Folder folder;
  const std::string board = folder.put("board.toml", R"(
[versions]
firmware = "1.0\u001b[2J"
[[power_monitors]]
name = "chip\u001b[2J"
chip = "ltc2990"
bus = 1
address = 0x4C
shunts = [{ name = "3V3\u009b2J,", milliohms = 5 }]
)");
  for (const std::string command :
       {"power read", "power read --csv", "power read --json", "info", "info --json",
        "query FIRMWARE", "top --once", "top --csv - --count 1"}) {
    const Result result = zvgtest::zvgctl(command + " --sim " + board, zvgtest::on_virtual_time());
    EXPECT_THAT(result.out + result.err, Not(HasSubstr("\x1b"))) << command;
    EXPECT_THAT(result.out, Not(HasSubstr("\xC2\x9B"))) << command;
  }
  EXPECT_THAT(zvgtest::zvgctl("power read --csv --sim " + board, zvgtest::on_virtual_time()).out,
              HasSubstr(",chip\\x1b[2J,\"3V3\\u009b2J,\","));
}

TEST(TerminalText, FileNamesInMessagesAreShownEscaped) {
  const Result result = zvgtest::run({ZVGCTL_PROGRAM, "edid", "show", "/no/\x1b[2Jfile"});
  EXPECT_EQ(result.err, "zvgctl: cannot read /no/\\x1b[2Jfile: No such file or directory\n");
}

// A command line of the shell on a terminal, with all that comes out.
std::string on_terminal(const std::string& line) {
  return zvgtest::run({"/usr/bin/script", "-qec", line, "/dev/null"}, zvgtest::on_virtual_time())
      .out;
}

TEST(LibraryColours, AreForTerminals) {
  const Folder folder;
  const std::string check =
      ZVGCTL_PROGRAM " --sim check " + folder.put("check.txt", "300004 RM0 FF 8 A5\n");
  EXPECT_THAT(zvgtest::run({"/bin/sh", "-c", check}, zvgtest::on_virtual_time()).out,
              Not(HasSubstr("\x1b")));
  EXPECT_THAT(on_terminal(check), HasSubstr("\x1b[31m0\x1b[0m, expected \x1b[34ma5\x1b[0m"));
  EXPECT_THAT(on_terminal("NO_COLOR=1 " + check),
              HasSubstr("[0x300004] :0, expected a5 (mask FF)"));
  const std::string raw = ZVGCTL_PROGRAM " --sim mode list --raw";
  EXPECT_THAT(on_terminal(raw), HasSubstr("\x1b[43m"));
  EXPECT_THAT(zvgctl_sim("mode list --raw").out, Not(HasSubstr("\x1b")));
}

}  // namespace
