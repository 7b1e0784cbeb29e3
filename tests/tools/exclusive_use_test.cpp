// Two processes that want the same board.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "tools/serial_board.h"
#include "tools/zvgctl_process.h"

namespace {

using testing::HasSubstr;
using zvgtest::Folder;
using zvgtest::Process;
using zvgtest::Result;
using zvgtest::SerialBoard;
using zvgtest::Setting;

constexpr uid_t nobody = 65534;

class SerialLine : public testing::TestWithParam<uid_t> {
 protected:
  SerialLine() { chmod(board_.path().c_str(), 0666); }
  void SetUp() override {
    if (GetParam() != 0 && geteuid() != 0) GTEST_SKIP() << "changes users";
  }
  std::vector<std::string> words(const std::string& command) const {
    return zvgtest::zvgctl_words(command + " --serial " + board_.path());
  }
  SerialBoard board_;
};

TEST_P(SerialLine, TheSecondProcessIsRefusedAndTheFirstGoesOn) {
  board_.put(0x1000000, 7);
  Process first(words("reg watch 0 --interval 0.05"), {.user = GetParam()});
  ASSERT_TRUE(first.wait_for_output("0x000000: 0x00000007\n"));
  for (const uid_t user : {uid_t{0}, GetParam()}) {
    const Result second = zvgtest::run(words("reg read 0"), {.user = user});
    EXPECT_EQ(second.exit, 1);
    EXPECT_EQ(second.out, "");
    EXPECT_EQ(second.err, "zvgctl: the serial line " + board_.path() + " is in use by process " +
                              std::to_string(first.pid()) + " (zvgctl)\n");
  }
  board_.put(0x1000000, 9);
  EXPECT_TRUE(first.wait_for_output("-> 0x00000009")) << "the first one was not disturbed";
  first.send(SIGINT);
  EXPECT_EQ(first.finish().exit, 0);
  EXPECT_EQ(zvgtest::run(words("reg read 0"), {.user = GetParam()}).exit, 0);
}

TEST_P(SerialLine, AKilledHolderBlocksNobody) {
  Process first(words("reg watch 0 --interval 0.05"), {.user = GetParam()});
  ASSERT_TRUE(first.wait_for_output("0x000000: "));
  const int line = open(board_.path().c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK);
  int claimed = -1;
  EXPECT_EQ(ioctl(line, TIOCGEXCL, &claimed), 0);
  EXPECT_EQ(claimed, 0) << "on a pseudo-terminal it would outlive its holder";
  close(line);
  Process waiting(words("reg read 0 --wait 30"), {.user = GetParam()});
  first.send(SIGKILL);
  first.finish();
  const Result result = waiting.finish();
  // The board was left at the rate of the one that was killed, and this line does not care.
  EXPECT_EQ(result.exit, 0) << result.err;
}

INSTANTIATE_TEST_SUITE_P(AsRootAndAsAnother, SerialLine, testing::Values(0, nobody));

TEST(ExclusiveUse, AFlashIsWrittenByOneAtATime) {
  Folder folder;
  folder.put("flash.img", std::string(0x200000, '\x11'));
  const std::string board = folder.put("board.toml", "[flash]\nimage = \"flash.img\"\n");
  const std::string content = folder.put("new.bin", std::string(0x200000, '\x22'));
  const std::string write = "--sim " + board + " flash write " + content + " --yes --no-backup";
  Process first(zvgtest::zvgctl_words(write));
  while (!std::filesystem::exists(folder.path("new.bin.unfinished"))) {
    ASSERT_EQ(kill(first.pid(), 0), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  for (const std::string& command : {write, "--sim " + board + " flash protect"}) {
    const Result second = zvgtest::zvgctl(command);
    EXPECT_EQ(second.exit, 1);
    EXPECT_EQ(second.err, "zvgctl: the board is in use by process " + std::to_string(first.pid()) +
                              " (zvgctl)\n");
  }
  // Reading disturbs nobody, and another board is another one.
  folder.put("other.img", std::string(0x200000, '\x11'));
  const std::string other = folder.put("other.toml", "[flash]\nimage = \"other.img\"\n");
  EXPECT_EQ(zvgtest::zvgctl("--sim " + other + " flash protect").exit, 0);
  EXPECT_EQ(zvgtest::zvgctl_sim("dp train 0").exit, 0);
  first.send(SIGKILL);
  first.finish();
  EXPECT_EQ(zvgtest::zvgctl("--sim " + board + " flash protect").exit, 0);
}

// Each has its own, though all of them show the same PCI function.
TEST(ExclusiveUse, ProgramsOfTheSimulatorDoNotKeepEachOtherOut) {
  Folder folder;
  const std::string board =
      folder.put("hung.toml", "[[dp]]\nport = 0\n[[faults.dp]]\nport = 0\ntimer_stopped = true\n");
  const std::string log = folder.path("accesses.log");
  Process first({ZVGSIM_PROGRAM, "run", "--virtual-time", "--board", board, "--", ZVGCTL_PROGRAM,
                 "dp", "train", "0", "--log", log});
  std::error_code missing;
  while (std::filesystem::file_size(log, missing) == 0 || missing) {
    ASSERT_EQ(kill(first.pid(), 0), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  const Result second = zvgtest::run(
      {ZVGSIM_PROGRAM, "run", "--virtual-time", "--", ZVGCTL_PROGRAM, "dp", "train", "0"});
  EXPECT_EQ(second.exit, 0) << second.err;
  first.send(SIGKILL);
  first.finish();
}

// --sim

TEST(ExclusiveUse, ASimulatedBoardThatIsNotThereIsNotReplacedByARealOne) {
  const Result result =
      zvgtest::zvgctl("reg read 0", {.environment = {{"ZVGCTL_VIRTUAL_BOARD", "rq302"}}});
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.err, HasSubstr("zvgctl: the virtual board is not in this process, though "
                                    "ZVGCTL_VIRTUAL_BOARD is set: "));
}

// Another user's group: the loader then preloads nothing.
TEST(ExclusiveUse, AProgramWithRightsOfItsOwnGetsNoRealBoardForASimulatedOne) {
  if (geteuid() != 0) GTEST_SKIP() << "changes users";
  Folder folder;
  chmod(folder.path(".").c_str(), 0755);
  const std::filesystem::path bin = std::filesystem::path(ZVGCTL_PROGRAM).parent_path();
  const std::string program = folder.path("zvgctl");
  std::filesystem::copy_file(ZVGCTL_PROGRAM, program);
  ASSERT_EQ(chown(program.c_str(), 0, 12345), 0);
  ASSERT_EQ(chmod(program.c_str(), 02755), 0);
  const char* const path = getenv("PATH");
  const Result result =
      zvgtest::run({program, "--sim", "reg", "read", "0"},
                   {.environment = {{"PATH", bin.string() + ":" + (path == nullptr ? "" : path)}},
                    .user = nobody});
  EXPECT_EQ(result.exit, 1) << result.out;
  EXPECT_THAT(result.err, HasSubstr("the virtual board is not in this process"));
}

}  // namespace
