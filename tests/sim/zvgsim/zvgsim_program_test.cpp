// zvgsim as its users have it: real processes, a real pseudo-terminal, a program that knows
// nothing.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "sim/zvgsim/program.h"

namespace zvgsim {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string zvgsim = ZVGSIM_PROGRAM;
const std::string visitor = VISITOR_PROGRAM;

std::string text_of(const fs::path& path) {
  std::ifstream stream(path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

class ZvgsimProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "zvgsim-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string board(const std::string& text) {
    const fs::path path = folder_ / "board.toml";
    std::ofstream(path) << text;
    return path.string();
  }

  fs::path folder_;
};

// run -------------------------------------------------------------------------------------------

TEST_F(ZvgsimProgram, WithoutItThereIsNoBoard) {
  if (fs::exists("/dev/zvgrw")) GTEST_SKIP() << "this host has a card";
  const Finished finished = run_program({visitor, "registers"});
  EXPECT_EQ(finished.status, 4);
  EXPECT_EQ(finished.out, "no driver: No such file or directory\n");
}

TEST_F(ZvgsimProgram, RunGivesAProgramABoard) {
  const Finished finished = run_program({zvgsim, "run", "--", visitor, "registers"});
  EXPECT_EQ(finished.err, "");
  EXPECT_EQ(finished.out, "register 0x12345678\n");
  EXPECT_EQ(finished.status, 0);
}

TEST_F(ZvgsimProgram, RunMapsTheApertures) {
  const Finished finished = run_program({zvgsim, "run", "--", visitor, "aperture"});
  EXPECT_EQ(finished.err, "");
  EXPECT_EQ(finished.out, "register 0xabcd\n");
}

#ifdef __x86_64__
TEST_F(ZvgsimProgram, MappedRegistersAreLiveForThreadsAndChildren) {
  const std::string trace = (folder_ / "trace").string();
  const Finished finished = run_program({zvgsim, "run", "--trace", trace, "--", visitor, "live"});
  EXPECT_EQ(finished.status, 0) << finished.err;
  EXPECT_EQ(finished.out,
            "a fault of its own, then 0x0\na fault of its own, then 0x0\n"
            "counted 600, children wrote 3\n");
  const std::string text = text_of(trace);
  EXPECT_THAT(text, HasSubstr("r4 mmio 0x300000 0x0\n"));
  EXPECT_THAT(text, HasSubstr("w4 mmio 0x300014 0x1\n"));
  EXPECT_THAT(text, HasSubstr("w4 mmio 0x300004 0x258\n"));
}
#endif

TEST_F(ZvgsimProgram, RunEndsWithTheProgramsStatus) {
  EXPECT_EQ(run_program({zvgsim, "run", "--", visitor, "exit", "0"}).status, 0);
  EXPECT_EQ(run_program({zvgsim, "run", "--", visitor, "exit", "37"}).status, 37);
}

TEST_F(ZvgsimProgram, RunTakesProgramsThatWereNotBuiltHere) {
  EXPECT_EQ(run_program({zvgsim, "run", "--", "/bin/true"}).status, 0);
  EXPECT_EQ(run_program({zvgsim, "run", "--", "false"}).status, 1) << "from PATH";
  const Finished shell =
      run_program({zvgsim, "run", "--", "/bin/sh", "-c", "echo a; (echo b) | cat; exit 5"});
  EXPECT_EQ(shell.out, "a\nb\n");
  EXPECT_EQ(shell.status, 5);
}

TEST_F(ZvgsimProgram, RunLeavesOtherFilesAlone) {
  EXPECT_EQ(run_program({zvgsim, "run", "--", visitor, "files"}).out, "comm visitor\n");
}

TEST_F(ZvgsimProgram, RunStandsThreadsAndForks) {
  const Finished finished = run_program({zvgsim, "run", "--", visitor, "threads"});
  EXPECT_EQ(finished.out, "threads and forks are fine\n");
  EXPECT_EQ(finished.status, 0);
}

TEST_F(ZvgsimProgram, VirtualTimeCostsNothing) {
  const Finished finished = run_program({zvgsim, "run", "--virtual-time", "--", visitor, "sleep"});
  EXPECT_EQ(finished.out, "slept virtually\n");
}

TEST_F(ZvgsimProgram, TraceHasEveryAccess) {
  const std::string trace = (folder_ / "trace").string();
  std::ofstream(trace) << "old\n";
  ASSERT_EQ(run_program({zvgsim, "run", "--trace", trace, "--", visitor, "registers"}).status, 0);
  EXPECT_EQ(text_of(trace), "w4 mmio 0x300000 0x12345678\nr4 mmio 0x300000 0x12345678\n");
  const Finished finished =
      run_program({zvgsim, "run", "--trace", "/nonexistent/x", "--", visitor});
  EXPECT_EQ(finished.status, 1);
  EXPECT_EQ(finished.err,
            "zvgsim: cannot write the trace to /nonexistent/x: No such file or directory\n");
}

TEST_F(ZvgsimProgram, ProcessesOfAProgramShareTheTrace) {
  const std::string trace = (folder_ / "trace").string();
  const std::string twice = visitor + " registers; " + visitor + " registers";
  ASSERT_EQ(run_program({zvgsim, "run", "--trace", trace, "--", "/bin/sh", "-c", twice}).status, 0);
  EXPECT_EQ(text_of(trace),
            "w4 mmio 0x300000 0x12345678\nr4 mmio 0x300000 0x12345678\n"
            "w4 mmio 0x300000 0x12345678\nr4 mmio 0x300000 0x12345678\n");
}

TEST_F(ZvgsimProgram, RunKeepsWhatWasPreloaded) {
  const Finished finished = run_program({zvgsim, "run", "--", "/bin/sh", "-c", "echo $LD_PRELOAD"},
                                        {"LD_PRELOAD=/nonexistent/x.so"});
  EXPECT_THAT(finished.out, ::testing::EndsWith("/libzvgsim_preload.so:/nonexistent/x.so\n"));
}

TEST_F(ZvgsimProgram, RunTellsAMissingProgram) {
  const Finished finished = run_program({zvgsim, "run", "--", "/nonexistent/program"});
  EXPECT_EQ(finished.status, 1);
  EXPECT_EQ(finished.err, "zvgsim: cannot run /nonexistent/program: No such file or directory\n");
}

TEST_F(ZvgsimProgram, BoardsAreFilesOrNames) {
  const std::string faulty = board("[[faults.driver]]\nrequest = 2\nerrno = \"EBUSY\"\n");
  Finished finished = run_program({zvgsim, "run", "--board", faulty, "--", visitor, "registers"});
  EXPECT_EQ(finished.status, 3);
  EXPECT_EQ(finished.err, "ioctl: Device or resource busy\n");
  for (const char* name : {"busy", "rq300", "rq301", "rq302", "faults"}) {
    finished = run_program({zvgsim, "run", "--board", name, "--", visitor, "registers"});
    EXPECT_EQ(finished.out, "register 0x12345678\n") << name;
  }
}

TEST_F(ZvgsimProgram, WrongBoardsAreToldBeforeTheProgramRuns) {
  const std::string wrong = board("cards = 99\n");
  Finished finished = run_program({zvgsim, "run", "--board", wrong, "--", visitor, "registers"});
  EXPECT_EQ(finished.status, 1);
  EXPECT_EQ(finished.out, "");
  EXPECT_EQ(finished.err,
            "zvgsim: " + wrong + ":1: cards: expected a number from 1 to 16, found 99\n");
  finished = run_program({zvgsim, "run", "--board", "wombat", "--", visitor});
  EXPECT_EQ(finished.status, 1);
  EXPECT_THAT(finished.err, StartsWith("zvgsim: no board 'wombat'; the ready boards in "));
  EXPECT_THAT(finished.err, HasSubstr(" are: busy, faults, rq300, rq301, rq302."));
}

TEST_F(ZvgsimProgram, PreloadedAloneItStillTellsAWrongBoard) {
  const Finished finished =
      run_program({visitor, "registers"},
                  {"LD_PRELOAD=" ZVGSIM_PRELOAD, "ASAN_OPTIONS=verify_asan_link_order=0",
                   "ZVGSIM_BOARD=/nonexistent.toml"});
  EXPECT_EQ(finished.status, 1);
  EXPECT_EQ(finished.err, "zvgsim: /nonexistent.toml: No such file or directory\n");
}

TEST_F(ZvgsimProgram, PreloadedAloneItIsABareBoard) {
  const Finished finished =
      run_program({visitor, "registers"},
                  {"LD_PRELOAD=" ZVGSIM_PRELOAD, "ASAN_OPTIONS=verify_asan_link_order=0"});
  EXPECT_EQ(finished.out, "register 0x12345678\n");
}

// serve -----------------------------------------------------------------------------------------

// The host's end of the line.
class Host {
 public:
  explicit Host(const std::string& path)
      : fd_(open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK)) {}
  ~Host() { close(fd_); }
  bool is_open() const { return fd_ >= 0; }
  void set_baud(speed_t speed) {
    termios attributes;
    ASSERT_EQ(tcgetattr(fd_, &attributes), 0);
    cfsetispeed(&attributes, speed);
    cfsetospeed(&attributes, speed);
    ASSERT_EQ(tcsetattr(fd_, TCSANOW, &attributes), 0);
  }
  void send(const std::vector<uint8_t>& bytes) {
    ASSERT_EQ(write(fd_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  // Up to count bytes, as long as each comes within the time limit.
  std::vector<uint8_t> receive(size_t count, int milliseconds) {
    std::vector<uint8_t> bytes;
    while (bytes.size() < count) {
      fd_set set;
      FD_ZERO(&set);
      FD_SET(fd_, &set);
      timeval timeout = {milliseconds / 1000, milliseconds % 1000 * 1000};
      if (select(fd_ + 1, &set, nullptr, nullptr, &timeout) != 1) break;
      uint8_t byte;
      if (read(fd_, &byte, 1) != 1) break;
      bytes.push_back(byte);
    }
    return bytes;
  }

 private:
  const int fd_;
};

const std::vector<uint8_t> write_300000 = {0xFE, 0x0F, 0, 0x01, 0x30, 0, 0, 0x0D, 0x0A, 0x11, 0x13};
const std::vector<uint8_t> read_300000 = {0xFD, 0x0F, 0, 0x01, 0x30, 0, 0, 0, 0, 0, 0};
constexpr int patience = 5000;  // ms, for what does come
constexpr int silence = 150;    // ms, for what must not come

TEST_F(ZvgsimProgram, ServeAnswersOnAPseudoTerminal) {
  Running server({zvgsim, "serve", "--uart"});
  Host host(server.line());
  ASSERT_TRUE(host.is_open());
  host.send(write_300000);  // with the bytes that a terminal would treat specially
  host.send(read_300000);
  EXPECT_THAT(host.receive(4, patience), ElementsAre(0x0D, 0x0A, 0x11, 0x13));
  EXPECT_EQ(server.stop(SIGTERM), 0);
}

TEST_F(ZvgsimProgram, ServeFollowsTheRate) {
  Running server({zvgsim, "serve", "--uart"});
  Host host(server.line());
  ASSERT_TRUE(host.is_open());
  host.send(write_300000);
  host.set_baud(B115200);
  // The rate counts when the server reads: give it the time that a line would take.
  usleep(100'000);
  host.send(read_300000);
  EXPECT_TRUE(host.receive(1, silence).empty()) << "the board still runs at 9600";
  host.set_baud(B9600);
  host.send({0xFC, 0, 0, 0, 0, 0, 0, 0, 0, 0, 234});
  usleep(100'000);
  host.set_baud(B115200);
  host.send(read_300000);
  EXPECT_EQ(host.receive(4, patience).size(), 4u);
  EXPECT_EQ(server.stop(SIGINT), 0);
}

TEST_F(ZvgsimProgram, ServeOutlivesItsHosts) {
  Running server({zvgsim, "serve", "--uart"});
  const std::string path = server.line();
  for (int i = 0; i < 3; ++i) {
    Host host(path);
    ASSERT_TRUE(host.is_open());
    host.send(read_300000);
    EXPECT_EQ(host.receive(4, patience).size(), 4u) << i;
  }
  EXPECT_EQ(server.stop(SIGHUP), 0);
}

TEST_F(ZvgsimProgram, ServePlaysTheBoardsFaults) {
  const std::string path = board(
      "[[faults.uart]]\nreply = 1\naction = \"drop\"\n"
      "[[faults.uart]]\nreply = 2\naction = \"cut\"\nbytes = 1\n");
  Running server({zvgsim, "serve", "--uart", "--board", path});
  Host host(server.line());
  ASSERT_TRUE(host.is_open());
  host.send(read_300000);
  EXPECT_TRUE(host.receive(1, silence).empty());
  host.send(read_300000);
  EXPECT_EQ(host.receive(2, silence).size(), 1u);
  host.send(read_300000);
  EXPECT_EQ(host.receive(4, patience).size(), 4u);
}

TEST_F(ZvgsimProgram, ServeEndsWhenItsTimeIsOver) {
  const fs::path link = folder_ / "tty";
  Running server({zvgsim, "serve", "--uart", "--seconds", "0.2", "--link", link.string()});
  const std::string path = server.line();
  EXPECT_EQ(fs::read_symlink(link), path);
  EXPECT_EQ(server.wait(), 0);
  EXPECT_FALSE(fs::is_symlink(link)) << "the link stayed";
}

TEST_F(ZvgsimProgram, ServeRemovesItsLinkWhenItIsSignalled) {
  const fs::path link = folder_ / "tty";
  Running server({zvgsim, "serve", "--uart", "--link", link.string()});
  server.line();
  Host host(link.string());
  EXPECT_TRUE(host.is_open());
  EXPECT_EQ(server.stop(SIGTERM), 0);
  EXPECT_FALSE(fs::is_symlink(link));
}

TEST_F(ZvgsimProgram, ServeTakesNoFileAway) {
  const fs::path link = folder_ / "tty";
  std::ofstream(link) << "mine";
  const Finished finished = run_program({zvgsim, "serve", "--uart", "--link", link.string()});
  EXPECT_EQ(finished.status, 1);
  EXPECT_EQ(finished.err, "zvgsim: cannot make the link " + link.string() + ": File exists\n");
  EXPECT_EQ(text_of(link), "mine");
  fs::remove(link);
  fs::create_symlink("/nonexistent", link);  // left over from a killed server
  Running server({zvgsim, "serve", "--uart", "--seconds", "0.1", "--link", link.string()});
  server.line();
  EXPECT_EQ(server.wait(), 0);
}

// cuse ------------------------------------------------------------------------------------------

// What goes on behind the node is tested on a real kernel: see scripts/vm-test.
TEST_F(ZvgsimProgram, CuseSaysWhatToDoWithoutTheKernelsDevice) {
  if (fs::exists("/dev/cuse")) GTEST_SKIP() << "this host has it";
  const Finished finished = run_program({zvgsim, "cuse", "--name", "zvgrw-test"});
  EXPECT_EQ(finished.status, 1);
  EXPECT_EQ(finished.out, "");
  EXPECT_THAT(finished.err, StartsWith("zvgsim: cannot open /dev/cuse: "));
  EXPECT_THAT(finished.err, HasSubstr("modprobe cuse"));
  EXPECT_THAT(finished.err, HasSubstr("zvgsim run"));
}

TEST_F(ZvgsimProgram, CuseLeavesWhatIsThereAlone) {
  const Finished finished = run_program({zvgsim, "cuse", "--name", "null"});
  EXPECT_EQ(finished.status, 1);
  EXPECT_THAT(finished.err, HasSubstr("/dev/null is there already"));
}

// The image may be another server's.
TEST_F(ZvgsimProgram, CuseThatIsRefusedWritesNoFlashImage) {
  const std::string flash = board("[flash]\nimage = \"flash.bin\"\n");
  EXPECT_EQ(run_program({zvgsim, "cuse", "--name", "null", "--board", flash}).status, 1);
  EXPECT_FALSE(fs::exists(folder_ / "flash.bin"));
}

TEST_F(ZvgsimProgram, CuseTellsOfTheBoardFirst) {
  const Finished finished = run_program({zvgsim, "cuse", "--board", board("cards = 0\n")});
  EXPECT_EQ(finished.status, 1);
  EXPECT_THAT(finished.err, HasSubstr("board.toml:1: "));
}

TEST_F(ZvgsimProgram, CuseTakesNamesAndModesThatMeanSomething) {
  for (const char* name : {"", "a/b", "..", ".x", "a b", "a,b"}) {
    const Finished finished = run_program({zvgsim, "cuse", "--name", name});
    EXPECT_EQ(finished.status, 2) << name;
    EXPECT_THAT(finished.err, HasSubstr("--name")) << name;
  }
  for (const char* mode : {"66", "0888", "1777", "rw", "00666"}) {
    const Finished finished = run_program({zvgsim, "cuse", "--mode", mode});
    EXPECT_EQ(finished.status, 2) << mode;
    EXPECT_THAT(finished.err, HasSubstr("--mode")) << mode;
  }
}

// boards and check ------------------------------------------------------------------------------

TEST_F(ZvgsimProgram, BoardsAreListed) {
  const Finished finished = run_program({zvgsim, "boards"});
  EXPECT_EQ(finished.status, 0);
  for (const char* name : {"\nrq300 ", "\nrq301 ", "\nrq302 ", "\nfaults ", "busy "}) {
    EXPECT_THAT(finished.out, HasSubstr(name));
  }
  EXPECT_THAT(finished.out, HasSubstr(" (default)\n"));
}

TEST_F(ZvgsimProgram, BoardsAreListedAsJson) {
  const Finished finished = run_program({zvgsim, "boards", "--json"});
  const auto boards = nlohmann::json::parse(finished.out);
  ASSERT_EQ(boards.size(), 5u);
  EXPECT_EQ(boards[0]["name"], "busy");
  EXPECT_EQ(boards[1]["name"], "faults");
  EXPECT_EQ(boards[3]["name"], "rq301");
  EXPECT_EQ(boards[3]["generation"], "RQ301");
  EXPECT_EQ(boards[3]["cards"], 2);
  EXPECT_EQ(boards[3]["default"], false);
  EXPECT_EQ(boards[4]["default"], true);
  EXPECT_EQ(boards[4]["monitors"], (nlohmann::json{0, 1, 2, 3}));
  EXPECT_TRUE(fs::exists(boards[4]["file"].get<std::string>()));
  EXPECT_FALSE(boards[4]["description"].get<std::string>().empty());
}

TEST_F(ZvgsimProgram, CheckTellsWhatABoardIs) {
  const std::string path = board("generation = \"rq300\"\ncards = 2\n");
  Finished finished = run_program({zvgsim, "check", path});
  EXPECT_EQ(finished.status, 0);
  EXPECT_EQ(finished.out, path + ": valid: RQ300, 2 cards, monitors on HDMI ports: none\n");
  board("cards = 0\ngeneraton = \"rq300\"\n");
  finished = run_program({zvgsim, "check", path});
  EXPECT_EQ(finished.status, 1);
  EXPECT_EQ(finished.err, "zvgsim: " + path +
                              ":1: cards: expected a number from 1 to 16, found 0\n" + path +
                              ":2: generaton: unknown key; did you mean 'generation'?\n");
}

// The command line ------------------------------------------------------------------------------

TEST_F(ZvgsimProgram, WrongUsageIsStatus2) {
  const std::vector<std::vector<std::string>> wrong = {
      {},
      {"wombat"},
      {"run"},
      {"run", "--wombat", "--", "/bin/true"},
      {"serve"},
      {"serve", "--uart", "--seconds", "soon"},
      {"serve", "--uart", "--seconds", "-1"},
      {"check"},
      {"boards", "--xml"},
  };
  for (std::vector<std::string> words : wrong) {
    words.insert(words.begin(), zvgsim);
    const Finished finished = run_program(words);
    EXPECT_EQ(finished.status, 2) << ::testing::PrintToString(words);
    EXPECT_NE(finished.err, "") << ::testing::PrintToString(words);
    EXPECT_EQ(finished.out, "") << ::testing::PrintToString(words);
  }
}

TEST_F(ZvgsimProgram, HelpAndVersion) {
  Finished finished = run_program({zvgsim, "--version"});
  EXPECT_EQ(finished.status, 0);
  EXPECT_THAT(finished.out, StartsWith("zvgsim "));
  finished = run_program({zvgsim, "--help"});
  EXPECT_EQ(finished.status, 0);
  for (const char* word :
       {"run", "serve", "cuse", "boards", "check", "Examples:", "Exit status:"}) {
    EXPECT_THAT(finished.out, HasSubstr(word));
  }
  finished = run_program({zvgsim, "run", "--help"});
  EXPECT_EQ(finished.status, 0);
  for (const char* word : {"--board", "--virtual-time", "--trace", "/dev/zvgrw", "/dev/ttyZVG0"}) {
    EXPECT_THAT(finished.out, HasSubstr(word));
  }
}

TEST_F(ZvgsimProgram, ArgumentsOfTheProgramAreItsOwn) {
  const Finished finished =
      run_program({zvgsim, "run", "--", "/bin/echo", "--help", "--board", "-x", "a b"});
  EXPECT_EQ(finished.out, "--help --board -x a b\n");
}

}  // namespace
}  // namespace zvgsim
