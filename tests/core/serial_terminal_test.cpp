// The serial link over a pseudo-terminal: what the kernel does to frames and replies on the way.
#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <thread>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using zvgtest::capture;
using Frame = std::array<uint8_t, 11>;

// A terminal with the settings that one begins with. The test holds the board's end.
class Terminal : public testing::Test {
 protected:
  void SetUp() override {
    board_ = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(board_, 0);
    ASSERT_EQ(grantpt(board_), 0);
    ASSERT_EQ(unlockpt(board_), 0);
    path_ = ptsname(board_);
  }
  void TearDown() override {
    zvgClose();
    close(board_);
  }
  // Opens the line and takes what that sends off it: two bursts of four frames.
  void open_line() {
    line_ = zvgSerialOpen(path_.c_str(), 9600);
    ASSERT_GE(line_, 0);
    // The burst of the set-up may be gone before the line is up; the second is always whole.
    fcntl(board_, F_SETFL, O_NONBLOCK);
    uint8_t bytes[256];
    while (::read(board_, bytes, sizeof bytes) > 0) continue;
    fcntl(board_, F_SETFL, 0);
  }
  Frame receive() {
    Frame frame{};
    for (size_t received = 0; received < frame.size();) {
      const ssize_t size = ::read(board_, frame.data() + received, frame.size() - received);
      if (size <= 0) break;
      received += static_cast<size_t>(size);
    }
    return frame;
  }

  // Sleeps take no time: nothing here depends on them.
  zvgtest::RecordedPlatform platform_{{}};
  int board_ = -1;
  int line_ = -1;
  std::string path_;
};

TEST_F(Terminal, RepliesComeAsTheBoardSentThem) {
  open_line();
  // Carriage return, line feed, the byte that marks errors, and one with its upper bit.
  for (const uint32_t word :
       {0x0D0D0D0Du, 0x0A0A0A0Au, 0x0A0D0A0Du, 0xFFFFFFFFu, 0x80FF0D00u, 0x11130D11u}) {
    std::thread board([&] {
      receive();
      const uint32_t reply = __builtin_bswap32(word);
      EXPECT_EQ(::write(board_, &reply, sizeof reply), 4);
    });
    uint32_t value = 0;
    EXPECT_EQ(zvgUartReadLong(0x1000000, &value), 0);
    EXPECT_EQ(value, word);
    board.join();
  }
}

// Several times what the line holds, taken off it only when it has been full for a while.
TEST_F(Terminal, BulkWritesLoseNothing) {
  open_line();
  constexpr uint32_t frames = 6000;
  uint32_t intact = 0;
  std::thread board([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    for (uint32_t i = 0; i < frames; ++i) {
      const Frame frame = receive();
      const uint32_t value =
          uint32_t{frame[7]} << 24 | uint32_t{frame[8]} << 16 | uint32_t{frame[9]} << 8 | frame[10];
      if (frame[0] != 0xFE || value != i) break;
      ++intact;
    }
  });
  uint32_t sent = 0;
  const auto output = capture([&] {
    while (sent < frames && zvgUartWriteLong(0x1000000, sent) == 0) ++sent;
  });
  EXPECT_EQ(sent, frames);
  EXPECT_EQ(output.err, "");
  if (sent < frames) close(std::exchange(board_, -1));  // or the board would wait for the rest
  board.join();
  EXPECT_EQ(intact, frames);
}

// A process with so many files open that the line's descriptor is beyond what an fd_set holds.
class TerminalAmongManyFiles : public Terminal {
 protected:
  void SetUp() override {
    rlimit limit;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = 2000;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    Terminal::SetUp();
    while (others_.empty() || others_.back() < 1023) others_.push_back(dup(board_));
    open_line();
    ASSERT_GE(line_, 1024);
  }
  void TearDown() override {
    Terminal::TearDown();
    for (const int file : others_) close(file);
  }

 private:
  std::vector<int> others_;
};

TEST_F(TerminalAmongManyFiles, RegistersAreRead) {
  std::thread board([&] {
    receive();
    EXPECT_EQ(::write(board_, "\x12\x34\x56\x78", 4), 4);
  });
  uint32_t value = 0;
  const auto output = capture([&] { EXPECT_EQ(zvgUartReadLong(0x1000000, &value), 0); });
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(value, 0x12345678u);
  board.join();
}

TEST_F(TerminalAmongManyFiles, BoardThatDoesNotAnswerIsATimeout) {
  const auto before = std::chrono::steady_clock::now();
  uint32_t value = 5;
  const auto output = capture([&] { EXPECT_EQ(zvgUartReadLong(0x1000000, &value), -1); });
  EXPECT_EQ(output.err, "uart receive data timeout!\n");
  EXPECT_EQ(value, 0u);
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(1990));
}

}  // namespace
