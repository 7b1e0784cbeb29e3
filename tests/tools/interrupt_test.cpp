// Commands that are ended from outside: by the deadline and by signals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <thread>

#include "tools/edid_files.h"
#include "tools/zvgctl_process.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using zvgtest::Folder;
using zvgtest::Process;
using zvgtest::Result;

constexpr char dead_timer[] = "[[dp]]\nport = 0\n[[faults.dp]]\nport = 0\ntimer_stopped = true\n";
constexpr char hung_mcu[] = "[faults.mcu]\nnever_done = true\n";
constexpr char full_mailbox[] = "[training]\nenabled = false\n";

// More than any command makes before it hangs.
void wait_for_many_accesses(const std::string& trace) {
  constexpr uintmax_t many = 200'000;
  std::error_code not_yet;
  for (int i = 0; i < 3000; ++i) {
    const uintmax_t size = std::filesystem::file_size(trace, not_yet);
    if (!not_yet && size > many) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ADD_FAILURE() << "the command does not hang";
}

struct Hang {
  const char* name;
  const char* board;
  const char* command;
};

void PrintTo(const Hang& hang, std::ostream* out) {
  *out << hang.name;
}

class Hangs : public testing::TestWithParam<Hang> {
 protected:
  std::vector<std::string> words(const std::string& more) {
    return zvgtest::zvgctl_words("--sim " + folder_.put("board.toml", GetParam().board) + " " +
                                 GetParam().command + " " + more);
  }
  std::vector<std::string> on_board(const std::string& trace, const std::string& board,
                                    const std::string& command) {
    std::vector<std::string> words = {ZVGSIM_PROGRAM,
                                      "run",
                                      "--virtual-time",
                                      "--board",
                                      folder_.put("board.toml", board),
                                      "--trace",
                                      trace,
                                      "--"};
    for (const std::string& word : zvgtest::zvgctl_words(command + " --deadline 0")) {
      words.push_back(word);
    }
    return words;
  }
  Folder folder_;
};

TEST_P(Hangs, EndsByTheDeadlineAndNamesTheLastRequest) {
  const Result result = zvgtest::run(words("--deadline 1"), zvgtest::on_virtual_time());
  EXPECT_EQ(result.exit, 1) << result.signal;
  EXPECT_THAT(result.err, HasSubstr("zvgctl: not done within the deadline of 1 s, gave up "));
  EXPECT_THAT(result.err, testing::ContainsRegex("gave up [a-z ]*0x[0-9a-f]+"));
  EXPECT_LT(result.seconds, 20);
}

TEST_P(Hangs, TellsItInTheDocument) {
  const Result result = zvgtest::run(words("--deadline 1 --json"), zvgtest::on_virtual_time());
  const json error = json::parse(result.out)["error"];
  EXPECT_EQ(error["kind"], "timeout");
  EXPECT_TRUE(error["address"].is_string()) << error;
}

TEST_P(Hangs, EndsBySignals) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const std::string trace = folder_.path("trace" + std::to_string(signal));
    Process process(on_board(trace, GetParam().board, GetParam().command));
    wait_for_many_accesses(trace);
    process.send(signal);
    const Result result = process.finish();
    EXPECT_EQ(result.signal, signal) << result.exit;
    EXPECT_THAT(result.err, HasSubstr("zvgctl: interrupted "));
    EXPECT_LT(result.seconds, 20);
  }
}

constexpr char through_memory[] =
    " --mem 0xE0000000:0x1000000,0xD0000000:0x10000000 --generation rq302";

INSTANTIATE_TEST_SUITE_P(
    All, Hangs,
    testing::Values(Hang{"DpTraining", dead_timer, "dp train 0"},
                    Hang{"DpTrainingThroughMemory", dead_timer,
                         "dp train 0 --mem 0xE0000000:0x1000000 --generation rq302"},
                    Hang{"DpTrainingOverTheLine", dead_timer,
                         "dp train 0 --serial /dev/ttyZVG0 --generation rq302"},
                    Hang{"Microcontroller", hung_mcu, "mcu edid 0:0"},
                    Hang{"MicrocontrollerThroughMemory", hung_mcu,
                         "mcu edid 0:0 --mem 0xE0000000:0x1000000 --generation rq302"}),
    [](const auto& row) { return std::string(row.param.name); });

class Interrupts : public testing::Test {
 protected:
  Result run(const std::string& board, const std::string& command) {
    return zvgtest::run(words(board, command), zvgtest::on_virtual_time());
  }
  std::vector<std::string> words(const std::string& board, const std::string& command) {
    return zvgtest::zvgctl_words("--sim " + folder_.put("board.toml", board) + " " + command);
  }
  Folder folder_;
};

// Loads of mapped memory, without a single call of the system.
TEST_F(Interrupts, AMailboxThatNeverEmptiesIsLeftThroughMappedMemoryToo) {
  const Result result =
      run(full_mailbox, "ddr eye -c 1 --deadline 1 -o " + folder_.path("eye.svg") + through_memory);
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(result.err,
            "zvgctl: channel 0 did not fall silent within 1 s; what it had sent is shown\n");
  EXPECT_THAT(result.out, HasSubstr("channel 0 (not listened to the end)"));
  EXPECT_EQ(folder_.files(), 2u) << "the board file and the picture";
}

TEST_F(Interrupts, OneCtrlCLeavesAQuietTraining) {
  for (const std::string door : {"", through_memory}) {
    Process process(words("[training]\ngap_us = 60000000\n",
                          "ddr eye -c 1 -o " + folder_.path("eye.svg") + " -f" + door));
    // Before the silence that the library takes for the end.
    for (int i = 0; i < 1000 && folder_.files() < 2; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    process.send(SIGINT);
    const Result result = process.finish();
    EXPECT_EQ(result.exit, 1) << result.signal << result.err;
    EXPECT_THAT(result.err, HasSubstr("; what it had sent is shown\n"));
    EXPECT_THAT(folder_.get("eye.svg"), testing::EndsWith("</svg>\n"));
    EXPECT_EQ(folder_.files(), 2u) << "no part of a file is left";
    std::filesystem::remove(folder_.path("eye.svg"));
  }
}

// Memory that is out is nothing that a command expects.
TEST_F(Interrupts, AnUnexpectedExceptionLeavesNothingBehind) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "has no limit of its memory";
#endif
  for (const char* kibibytes : {"120000", "200000", "300000"}) {
    SCOPED_TRACE(kibibytes);
    // Half a gigabyte of lines.
    const std::string command = std::string(ZVGCTL_PROGRAM) +
                                " --sim reg snapshot --range 0-0xffffff --width 8 -o " +
                                folder_.path("golden.txt");
    const Result result = zvgtest::run(
        {"/bin/bash", "-c", std::string("ulimit -v ") + kibibytes + "; exec " + command},
        zvgtest::on_virtual_time());
    EXPECT_EQ(result.exit, 1) << result.signal;
    EXPECT_THAT(result.err, HasSubstr("zvgctl: internal error: "));
    EXPECT_EQ(folder_.files(), 0u);
  }
}

std::string training(const std::string& messages) {
  return "[[training.channel]]\nchannel = 0\nmessages = [" + messages + "]\n";
}

std::string row() {
  std::string row = "[0x14001f";
  for (int i = 0; i < 31; ++i) row += ", " + std::to_string(i);
  return row + "]";
}

// What the firmware said decides, not only that it fell silent.
TEST_F(Interrupts, AnEyeIsCompleteOnlyWithBothScansAndWithoutAFailure) {
  const std::string read = "[0x210004,2,0,1,1]," + row(), write = "[0x1e0004,2,0,1,1]," + row();
  const struct {
    std::string messages, shortfall;
  } rows[] = {
      {read + "," + write, ""},
      {read, "silent before the write eye was scanned"},
      {write, "silent before the read eye was scanned"},
      {"[0x02010000]", "nothing was scanned"},
      {read + "," + write + ",[0x04020000]", "its firmware reported a failure"},
      {read + "," + write + ",[0x00440000]", "its firmware reported a failure"},
  };
  for (const auto& one : rows) {
    SCOPED_TRACE(one.shortfall);
    const Result result = run(training(one.messages), "ddr eye -c 1 --json");
    const json document = json::parse(result.out);
    const json channel = document["channels"][0];
    EXPECT_EQ(channel["complete"], one.shortfall.empty());
    EXPECT_EQ(result.exit, one.shortfall.empty() ? 0 : 1);
    if (one.shortfall.empty()) {
      EXPECT_TRUE(channel["shortfall"].is_null());
      EXPECT_FALSE(document.contains("error"));
    } else {
      EXPECT_EQ(channel["shortfall"], one.shortfall);
      EXPECT_THAT(result.err, HasSubstr("zvgctl: channel 0: " + one.shortfall));
    }
  }
  const json messages = json::parse(
      run(training("[0x04020000]"), "ddr eye -c 1 --json").out)["channels"][0]["messages"];
  ASSERT_EQ(messages.size(), 1u) << messages;
  EXPECT_THAT(messages[0].get<std::string>(), HasSubstr("assertion has failed, training stops"));
}

}  // namespace
