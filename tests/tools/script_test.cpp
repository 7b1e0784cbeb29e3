// zvgctl script, check, read, ddr, reg snapshot and diff, and --record, on the virtual board.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "tools/zvgctl_process.h"

namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using zvgtest::Folder;
using zvgtest::Result;
using zvgtest::zvgctl;

// A register that becomes 1 after three reads, and one that stays.
constexpr char board[] = R"(
generation = "rq302"
[[registers]]
offset = 0x300000
value = 0x1
after_reads = 3
[[registers]]
offset = 0x300004
value = 0xA5
)";

class ScriptTool : public testing::Test {
 protected:
  Result run(const std::string& command) {
    std::vector<std::string> words = {ZVGSIM_PROGRAM,
                                      "run",
                                      "--virtual-time",
                                      "--board",
                                      folder_.put("test.toml", board),
                                      "--trace",
                                      folder_.path("trace"),
                                      "--"};
    for (const std::string& word : zvgtest::zvgctl_words(command)) words.push_back(word);
    return zvgtest::run(words);
  }
  Result script(const std::string& content, const std::string& options = {}) {
    return run("script run " + folder_.put("script.txt", content) + " " + options);
  }
  Result dry_run(const std::string& content, const std::string& options = {}) {
    return zvgctl("script run --dry-run " + folder_.put("script.txt", content) + " " + options);
  }
  std::string trace() { return folder_.get("trace"); }

  Folder folder_;
};

TEST_F(ScriptTool, SumsAGoodScriptUp) {
  const Result result = script(
      "# a comment\n300008 12 W 0 32\n300004 A5 C FF 8\n300000 1 R 1 32\n"
      "30000C 3 S F 16\nusleep 5\necho done\n");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out, " done\n2 writes, 1 check, 1 poll\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(ScriptTool, FailedCheckExitsWithOne) {
  const Result result = script("300004 5A C FF 8\n300008 1 W 0 32\n");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "1: read [300004] == 0xa5 != 5a (mask FF)\n1 write, 1 check (1 failed)\n");
  EXPECT_THAT(result.err, HasSubstr("did not run as it should"));
}

TEST_F(ScriptTool, PollThatTimesOutExitsWithOne) {
  const Result result = script("300004 5A R FF 8\n300008 1 W 0 32\n");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.out, HasSubstr("\n1 write, 1 poll (1 timed out)\n"));
  EXPECT_THAT(result.err, HasSubstr("1: check reg timeout, read [0x00300004]"));
}

TEST_F(ScriptTool, StopNamesItsLine) {
  const Result result = script("300008 1 W 0 32\n1000000 1 W 0 32\n300008 1 W 0 32\n");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "1 write; stopped at line 2\n");
  EXPECT_THAT(result.err, HasSubstr("script.txt:2: there is no register above 0xffffff"));
}

TEST_F(ScriptTool, UnknownOperationsAreFailures) {
  const Result result = script("300008 1 X 0 32\n");
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.out, "1 failure\n");
}

TEST_F(ScriptTool, SummaryAsJson) {
  const Result result = script("300004 5A C FF 8\n300008 1 W 0 32\necho text\n", "--json");
  EXPECT_EQ(result.exit, 1);
  const json document = json::parse(result.out);
  EXPECT_EQ(document["writes"], 1);
  EXPECT_EQ(document["checks"], 1);
  EXPECT_EQ(document["checks_failed"], 1);
  EXPECT_EQ(document["stopped_at_line"], nullptr);
  EXPECT_EQ(document["good"], false);
  EXPECT_THAT(result.err, HasSubstr(" text\n"));
}

// A line's result: its verdict, and the register's value if it was read.
std::string told(const json& line) {
  return line["verdict"].get<std::string>() +
         (line["read"].is_null() ? "" : " " + line["read"].get<std::string>());
}

TEST_F(ScriptTool, EveryLineHasItsResult) {
  const Result result = script(
      "# a comment\n\n300008 12 W 0 32\n300004 A5 C FF 8\n300004 5A C FF 8\n300000 1 R 1 32\n"
      "30000C 3 S F 16\nusleep 5\necho done\nhello\n300004 1 Q 0 8\n1000000 1 C 0 32\n300008 1 W 0 "
      "32\n",
      "--json");
  EXPECT_EQ(result.exit, 1);
  const json document = json::parse(result.out);
  EXPECT_EQ(document["schema"], "zvg/script-run/1");
  const json& lines = document["lines"];
  ASSERT_EQ(lines.size(), 13u);
  const char* const expected[] = {"skipped",   "skipped",          "pass",        "pass 0xa5",
                                  "fail 0xa5", "pass 0x00000001",  "pass 0x0000", "pass",
                                  "pass",      "malformed 0x0003", "malformed",   "error",
                                  "not_run"};
  for (size_t i = 0; i < 13; ++i) {
    EXPECT_EQ(lines[i]["line"], i + 1);
    EXPECT_EQ(told(lines[i]), expected[i]) << i + 1;
  }
  EXPECT_EQ(lines[4], json({{"line", 5},
                            {"operation", "check"},
                            {"block", nullptr},
                            {"address", "0x300004"},
                            {"width", 8},
                            {"written", nullptr},
                            {"read", "0xa5"},
                            {"expected", "0x5a"},
                            {"mask", "0xff"},
                            {"verdict", "fail"}}));
  EXPECT_EQ(lines[2]["written"], "0x00000012");
  EXPECT_EQ(lines[7]["operation"], "wait");
  EXPECT_EQ(document["stopped_at_line"], 12);
  EXPECT_EQ(document["failures"], 2);
}

TEST_F(ScriptTool, LinesOfADdrScriptHaveTheirResults) {
  const json document = json::parse(
      script("280010 AB W 0 32\n280010 AB R FF 32\n280010 AC R FF 32\n280010 1 W 0 32\n",
             "--ddr 1 --json")
          .out);
  EXPECT_EQ(told(document["lines"][0]), "pass");
  EXPECT_EQ(told(document["lines"][1]), "pass 0x000000ab");
  EXPECT_EQ(told(document["lines"][2]), "timed_out 0x000000ab");
  EXPECT_EQ(told(document["lines"][3]), "not_run");
}

TEST_F(ScriptTool, LinesOfACheckFileHaveTheirResults) {
  const std::string file = folder_.put("check.txt",
                                       "#block\n300004 RM0 FF 8 A5\n300004 RM0 FF 8 A6\n"
                                       "300008 WM0 0 32 1\n300008 RD0 FF 16 1\n300000 RX0 0 8 0\n");
  const json document = json::parse(run("check --json " + file).out);
  const json& lines = document["lines"];
  ASSERT_EQ(lines.size(), 6u);
  const char* const expected[] = {"skipped", "pass 0xa5", "fail 0xa5",
                                  "pass",    "error",     "malformed"};
  for (size_t i = 0; i < 6; ++i) EXPECT_EQ(told(lines[i]), expected[i]) << i + 1;
  EXPECT_EQ(lines[2]["block"], "RM0");
  EXPECT_EQ(lines[2]["expected"], "0xa6");
  EXPECT_EQ(lines[2]["mask"], "0xff");
}

TEST_F(ScriptTool, AccessThatFailsIsItsLinesError) {
  const std::string file = folder_.put("check.txt", "300004 RM0 FF 8 A5\n300004 RM0 FF 8 A5\n");
  folder_.put("failing.toml",
              std::string(board) + "[[faults.driver]]\nrequest = 3\nerrno = \"EIO\"\n");
  const Result result = zvgctl("check --json " + file + " --sim " + folder_.path("failing.toml"),
                               zvgtest::on_virtual_time());
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("Input/output error"));
  const json document = json::parse(result.out);
  EXPECT_EQ(told(document["lines"][0]), "pass 0xa5");
  EXPECT_EQ(told(document["lines"][1]), "error");
}

// From a pipe and on a virtual board, which runs the tool once more.
Result piped(const std::string& command, const std::string& input) {
  return zvgtest::zvgctl_sim(command, {.input = input});
}

TEST_F(ScriptTool, FilesComeFromPipes) {
  for (const std::string from : {"-", "/dev/stdin"}) {
    Result result = piped("script run --json " + from, "300004 0 C FF 8\n300008 5 W FF 32\n");
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(json::parse(result.out)["writes"], 1) << from;
    result = piped("script run --json --ddr 1 " + from, "280010 5 W FF 32\n");
    EXPECT_EQ(json::parse(result.out)["writes"], 1) << from;
    result = piped("check --json " + from, "300004 RM0 FF 8 1\n");
    EXPECT_EQ(result.exit, 1);
    EXPECT_EQ(json::parse(result.out)["checks_failed"], 1) << from;
    result = piped("script run --dry-run " + from, "300004 0 C FF 8\n");
    EXPECT_EQ(result.out, "    1  check that 0x300004 is 0x0 in bits 0xff (8 bits)\n");
  }
  const Result substituted = zvgtest::run(
      {"/bin/bash", "-c",
       ZVGCTL_PROGRAM " --sim script run <(echo 300008 5 W FF 32; echo 300008 5 C FF 32)"},
      zvgtest::on_virtual_time());
  EXPECT_EQ(substituted.exit, 0) << substituted.err;
  EXPECT_EQ(substituted.out, "1 write, 1 check\n");
}

TEST_F(ScriptTool, NothingToDoIsAFailure) {
  for (const std::string command : {"script run", "script run --ddr 1", "check", "read"}) {
    for (const std::string input : {"", "# only a comment\n\n"}) {
      const Result result = piped(command + " -", input);
      EXPECT_EQ(result.exit, 1) << command;
      EXPECT_THAT(result.err, HasSubstr("nothing to do: standard input")) << command;
    }
  }
  EXPECT_EQ(piped("script run --allow-empty -", "").exit, 0);
  EXPECT_EQ(piped("script run --dry-run -", "").exit, 1);
}

TEST_F(ScriptTool, LineThatIsNotWholeFailsTheRun) {
  EXPECT_EQ(piped("script run -", "300004 0 C FF 8\nhello world\n").exit, 1);
  EXPECT_EQ(piped("script run -", "300004 0 C FF 8\n300004 0 C FF\n").exit, 1);
  EXPECT_EQ(piped("check -", "300004 RM0 FF 8 0\n300004 RM0\n").exit, 1);
}

TEST_F(ScriptTool, DdrScriptReachesItsChannels) {
  const Result result = script("280010 AB W 0 32\n280010 AB R FF 32\n", "--ddr 0x3");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out, "zvgDdrRunScript\n1 write, 1 poll\n");
  EXPECT_THAT(trace(), HasSubstr("w4 mmio 0x280010 0xab\nw4 mmio 0x130010 0xab\n"));
}

TEST_F(ScriptTool, DdrPollThatGivesUpStopsTheScript) {
  const Result result = script("280010 AB R FF 32\n280010 1 W 0 32\n", "--ddr 1");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.out, HasSubstr("trainning failed\n1 poll (1 timed out); stopped at line 1\n"));
}

TEST_F(ScriptTool, DryRunSaysWhatEachLineWouldDo) {
  const Result result = dry_run(
      "# comment\n100 1 W FFFFFFFF 32\n104 2 C F0 8\n108 3 R FFFFFFFF 16\n10C 4 n 4 32\n"
      "110 5 S F 32\nssleep 2\nmsleep 3\nusleep 4\necho x\n");
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out,
            "    2  write 0x1 to 0x100 (32 bits)\n"
            "    3  check that 0x104 is 0x2 in bits 0xf0 (8 bits)\n"
            "    4  poll 0x108 until it is 0x3 (16 bits)\n"
            "    5  poll 0x10c until it is not 0x4 in bits 0x4 (32 bits)\n"
            "    6  set 0x110 to 0x5 in bits 0xf (32 bits)\n"
            "    7  wait 2 seconds\n"
            "    8  wait 3 milliseconds\n"
            "    9  wait 4 microseconds\n"
            "   10  print\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(ScriptTool, DryRunReportsLinesThatMayNotMeanWhatWasMeant) {
  struct {
    const char* line;
    const char* remark;
  } const cases[] = {
      {"100 1 W", "only 3 of 5 fields"},
      {"hello world", "no number at its beginning"},
      {"100 1 Q 0 32", "'Q' is no operation"},
      {"100 1 W 0 24", "the width is not 8, 16 or 32"},
      {"100 1FF W 0 8", "the value has more than 8 bits"},
      {"1000000 1 W 0 32", "there is no register above 0xffffff"},
      {"100 1 W 0 32 extra", "\"extra\" at its end is not looked at"},
      {"ssleepy 3", "longer than six letters"},
      {"msleep -5", "no number above 0"},
      {"usleep", "no number above 0"},
  };
  for (const auto& c : cases) {
    const Result result = dry_run(std::string(c.line) + "\n");
    EXPECT_EQ(result.exit, 1) << c.line;
    EXPECT_THAT(result.out, HasSubstr(c.remark)) << c.line;
    EXPECT_THAT(result.err, HasSubstr("1 lines may not mean what was meant")) << c.line;
  }
  const Result good = dry_run("100 1 W 0 32 # a remark of the author's\n");
  EXPECT_EQ(good.exit, 0) << good.out;
  const Result ddr = dry_run("100 1 C 0 32\n", "--ddr 1");
  EXPECT_THAT(ddr.out, HasSubstr("a DDR script has only W and R"));
}

TEST_F(ScriptTool, DryRunAsJson) {
  const Result result = dry_run("100 1 W 0 32\n\n100 1 Q 0 32\n", "--json");
  EXPECT_EQ(result.exit, 1);
  const json document = json::parse(result.out);
  EXPECT_EQ(document["remarks"], 1);
  EXPECT_EQ(document["lines"][0], json({{"line", 1}, {"does", "write 0x1 to 0x100 (32 bits)"}}));
  EXPECT_EQ(document["lines"][1]["line"], 3);
  EXPECT_EQ(document["lines"][1]["remark"], "'Q' is no operation");
}

TEST_F(ScriptTool, LongLinesAreReported) {
  const Result result = dry_run("#" + std::string(5000, 'x') + "\n100 1 W 0 32\n");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.out, HasSubstr("it is the rest of a line of over 1,023 characters"));
  EXPECT_THAT(result.out, HasSubstr("    6  write 0x1 to 0x100"));
}

TEST_F(ScriptTool, BadFilesAreRefusedBeforeTheBoardIsTouched) {
  for (const std::string command : {"script run", "check", "read"}) {
    const Result missing = run(command + " /nonexistent/file");
    EXPECT_EQ(missing.exit, 1);
    EXPECT_THAT(missing.err, HasSubstr("cannot read /nonexistent/file: No such file"));
    const Result folder = run(command + " /tmp");
    EXPECT_EQ(folder.exit, 1);
    EXPECT_THAT(folder.err, HasSubstr("/tmp is a folder"));
    const std::string garbage = folder_.put("garbage", std::string("\x01\0\xFFgarbage\n", 11));
    const Result binary = run(command + " " + garbage);
    EXPECT_EQ(binary.exit, 1);
    EXPECT_THAT(binary.err, HasSubstr("is not a text file"));
    EXPECT_EQ(trace(), "") << command;
  }
}

TEST_F(ScriptTool, CheckFileIsSummedUp) {
  const std::string file = folder_.put("check.txt",
                                       "#block\n300004 RM0 FF 8 A5\n300004 RM0 FF 8 A6\n"
                                       "300008 WM0 0 32 1\n300008 RD0 FF 16 1\n300000 RX0 0 8 0\n");
  const Result result = run("check " + file);
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.out, HasSubstr("\n1 write, 3 checks (1 failed), 2 failures\n"));
  EXPECT_THAT(result.err, HasSubstr("check.txt:6: \"RX0\" names no block"));
  EXPECT_THAT(result.err, HasSubstr("check.txt:5: the block does not take 16 bits"));
  const Result good = run("check " + folder_.put("good.txt", "300004 RM0 FF 8 A5\n"));
  EXPECT_EQ(good.exit, 0);
  EXPECT_THAT(good.out, HasSubstr("\n1 check\n"));
}

TEST_F(ScriptTool, ReadFileIsLoggedAndSummedUp) {
  const std::string file = folder_.put("read.txt", "300004 RM0 0 8\n8C RV1 0 8\n");
  std::vector<std::string> words = {
      "/bin/sh", "-c", "cd " + folder_.path("") + " && exec " ZVGCTL_PROGRAM " --sim read " + file};
  const Result result = zvgtest::run(words, zvgtest::on_virtual_time());
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.out, HasSubstr("reg data is in out_file.txt!\n2 reads, 1 failure\n"));
  EXPECT_THAT(folder_.get("out_file.txt"), HasSubstr("8C RV1 0 8 0xffffffff\n"));
}

TEST_F(ScriptTool, ReadFileFollowsNoLinkThatOthersMayHavePut) {
  const std::string file = folder_.put("read.txt", "300004 RM0 0 8\n");
  folder_.put("victim", "precious\n");
  std::filesystem::create_directory(folder_.path("open"));
  chmod(folder_.path("open").c_str(), 0777);
  std::filesystem::create_symlink(folder_.path("victim"), folder_.path("open/out_file.txt"));
  const Result result = zvgtest::run(
      {"/bin/sh", "-c",
       "cd " + folder_.path("open") + " && exec " ZVGCTL_PROGRAM " --sim read " + file},
      zvgtest::on_virtual_time());
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("symbolic link in a folder that others can write"));
  EXPECT_EQ(folder_.get("victim"), "precious\n");
}

TEST_F(ScriptTool, ReadFileThatWritesIsRefused) {
  const Result result = run("read " + folder_.put("read.txt", "300004 RM0 0 8\n300004 WM0 0 8\n"));
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("read.txt:2: a read file cannot write"));
  EXPECT_EQ(trace(), "");
}

TEST_F(ScriptTool, DdrRegistersByChannel) {
  Result result = run("ddr write 0x280020 0x77 --mask 2");
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_THAT(trace(), HasSubstr("w4 mmio 0x130020 0x77"));
  EXPECT_THAT(trace(), Not(HasSubstr("w4 mmio 0x280020")));
  result = run("ddr read 0x2c0020");
  EXPECT_EQ(result.out, "channel 0: 0x00000008\nchannel 1: 0x00000008\n");
  result = run("ddr read 0x2c0020 --mask 1 --json");
  EXPECT_EQ(json::parse(result.out)["channels"][0]["value"], "0x00000008");
  result = run("ddr read 0x2c0020 --mask 0xc");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("no DDR channel of the mask: it has 0 to 1"));
}

TEST_F(ScriptTool, DdrDumpGoesIntoItsFile) {
  const std::string file = folder_.path("dump.txt");
  const Result result = run("ddr dump --mask 1 -o " + file);
  EXPECT_EQ(result.exit, 0) << result.err;
  const std::string dump = folder_.get("dump.txt");
  EXPECT_THAT(dump.substr(0, 200), StartsWith("DDR 0, BLOCK 5, PHY REGISTER DUMP\n"));
  EXPECT_THAT(dump, HasSubstr("\n0x002c0020     05000008        R        FFFFFFFF\n"));
  EXPECT_THAT(dump, HasSubstr("\n0x002c0020     0d000008        R        FFFFFFFF\n"));
  EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 9 * 65536 + 8192 + 11);
  const Result again = run("ddr dump --mask 1 -o " + file);
  EXPECT_EQ(again.exit, 1);
  EXPECT_THAT(again.err, HasSubstr("--force"));
  EXPECT_EQ(folder_.get("dump.txt").size(), dump.size());
}

// The register accesses of a trace, without what they were made for.
std::string accesses(const std::string& trace) {
  std::string text;
  std::istringstream stream(trace);
  for (std::string line; std::getline(stream, line);) {
    if (line.find(" mmio ") != std::string::npos) text += line + "\n";
  }
  return text;
}

TEST_F(ScriptTool, RecordedCommandReplaysWithTheSameAccesses) {
  const std::string record = folder_.path("record.txt");
  Result result = run("--record " + record + " hdmi phy write 1 0x15 0xabcd");
  ASSERT_EQ(result.exit, 0) << result.err;
  const std::string recorded = accesses(trace());
  EXPECT_THAT(recorded, HasSubstr("w1 mmio 0x123026 0x10\n"));
  result = run("script run " + record);
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(accesses(trace()), recorded);
}

TEST_F(ScriptTool, RecordingOverTheSerialLineIsTheSame) {
  const std::string by_driver = folder_.path("driver.txt");
  const std::string by_serial = folder_.path("serial.txt");
  ASSERT_EQ(run("--record " + by_driver + " reg mask 0x300004 0xf 0x3").exit, 0);
  ASSERT_EQ(run("--serial /dev/ttyZVG0:115200 --generation rq302 --record " + by_serial +
                " reg mask 0x300004 0xf 0x3")
                .exit,
            0);
  const std::string driver = folder_.get("driver.txt");
  EXPECT_THAT(driver, HasSubstr("\n300004 a5 C 0 8\n300004 a3 W ffffffff 8\n"));
  EXPECT_THAT(folder_.get("serial.txt"), HasSubstr("\n300004 a5 C 0 8\n300004 a3 W ffffffff 8\n"));
}

TEST_F(ScriptTool, RecordingSaysWhatAScriptCannot) {
  const std::string record = folder_.path("record.txt");
  ASSERT_EQ(run("--record " + record + " vram read 0x10").exit, 0);
  EXPECT_THAT(folder_.get("record.txt"), HasSubstr("\n# read video memory 0x10, 32 bits: 0x0\n"));
  const Result memory =
      run("--mem 0xE0000000:0x1000000 --record " + folder_.path("other.txt") + " reg read 0");
  EXPECT_EQ(memory.exit, 2);
  EXPECT_THAT(memory.err, HasSubstr("cannot be seen"));
  const Result exists = run("--record " + record + " reg read 0");
  EXPECT_EQ(exists.exit, 1);
  EXPECT_THAT(exists.err, HasSubstr("exists"));
}

TEST_F(ScriptTool, SnapshotIsAScriptThatChecksForItself) {
  const std::string file = folder_.path("snapshot.txt");
  Result result = run("reg snapshot --range 0x300004-0x30000b -o " + file);
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_EQ(folder_.get("snapshot.txt"),
            "300004 000000a5 C ffffffff 32\n300008 00000000 C ffffffff 32\n");
  result = run("script run " + file);
  EXPECT_EQ(result.exit, 0);
  EXPECT_EQ(result.out, "2 checks\n");
  result = run("reg snapshot --range 0x300004-0x300005 --width 8 -o " + file);
  EXPECT_EQ(result.exit, 1) << "an existing file is kept";
  result = run("reg snapshot --range 0x300004-0x300005 --width 8 --force -o " + file);
  EXPECT_EQ(folder_.get("snapshot.txt"), "300004 a5 C ff 8\n300005 00 C ff 8\n");
}

TEST_F(ScriptTool, SnapshotOfOneRegister) {
  const std::string file = folder_.path("snapshot.txt");
  EXPECT_EQ(run("reg snapshot --range 0x300004 -o " + file).exit, 0);
  EXPECT_EQ(folder_.get("snapshot.txt"), "300004 000000a5 C ffffffff 32\n");
  EXPECT_EQ(run("reg snapshot --force --width 8 --range 0xffffff -o " + file).exit, 0);
  EXPECT_EQ(folder_.get("snapshot.txt"), "ffffff 00 C ff 8\n");
  for (const std::string range : {"0x300000-0x300004", "0x300000-0x300001", "0xffffff"}) {
    const Result cut = run("reg snapshot --range " + range + " -o " + folder_.path("cut.txt"));
    EXPECT_EQ(cut.exit, 2) << range;
    EXPECT_FALSE(std::filesystem::exists(folder_.path("cut.txt"))) << range;
  }
  EXPECT_THAT(run("reg snapshot --range 0x300000-0x300004 -o -").err,
              HasSubstr("the register at its end goes on to 0x300007"));
}

TEST_F(ScriptTool, MaskedWriteTakesNoBitsOutsideOfItsMask) {
  const Result result = run("reg mask 0x300004 0x0f 0x13");
  EXPECT_EQ(result.exit, 2);
  EXPECT_THAT(result.err, HasSubstr("VALUE: 0x13 has bits outside of MASK 0xf"));
  EXPECT_EQ(accesses(trace()), "");
}

TEST_F(ScriptTool, DiffShowsWhatChanged) {
  const std::string before = folder_.put("a.txt", "100 1 C f 32\n104 2 C f 32\n108 3 C f 32\n");
  const std::string after = folder_.put("b.txt", "100 1 C f 32\n104 5 C f 32\n10c 3 C f 32\n");
  Result result = zvgctl("reg diff " + before + " " + after + " --json");
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("3 of 4 registers differ"));
  const json document = json::parse(result.out);
  EXPECT_EQ(document["registers"], 4);
  EXPECT_EQ(document["differences"].size(), 3u);
  EXPECT_EQ(document["differences"][0],
            json({{"address", "0x104"}, {"before", "0x00000002"}, {"after", "0x00000005"}}));
  EXPECT_EQ(document["differences"][1]["after"], nullptr);
  result = zvgctl("reg diff " + before + " " + before);
  EXPECT_EQ(result.out, "no difference in 3 registers\n");
  result = zvgctl("reg diff " + before + " " + folder_.put("bad.txt", "100 1 W 0 32\n"));
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("bad.txt:1: this is no line of a snapshot"));
}

}  // namespace
