// What goes on with a board is ended from outside, by the time, and by its being dead.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>
#include <util_zvg.h>

#include <utility>

#include "service/board/board.h"
#include "support/board_fixture.h"

namespace {

using std::chrono::seconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using zvg::Board;
using zvg::BoardOptions;
using zvg::DeadBoard;
using zvg::Door;
using zvg::Error;
using zvg::ErrorKind;
using zvg::Stop;

constexpr Door doors[] = {Door::driver, Door::memory, Door::serial};

Stop* g_stop = nullptr;

class BoardStop : public zvgtest::BoardFixture {
 protected:
  void SetUp() override {
    BoardFixture::SetUp();
    g_stop = &stop_;
  }
  zvg::Route through(Door door) {
    zvg::Route route;
    route.door = door;
    const auto& bases = machine().config().aperture;
    route.registers = {bases.mmio_base, zvgsim::mmio_size};
    route.video_memory = {bases.vram_base, zvgsim::vram_size};
    route.device = zvgsim::serial_node;
    route.baud = 115200;
    if (door != Door::driver) route.generation = zvg::Generation::rq302;
    return route;
  }
  // A signal asks for a stop a moment from now, while the library waits for ever.
  static void stop_soon() {
    signal(SIGALRM, [](int) { g_stop->request(Stop::Cause::cancelled); });
    const itimerval soon = {{0, 0}, {0, 20'000}};
    setitimer(ITIMER_REAL, &soon, nullptr);
  }
  // A wait for a bit that never comes.
  [[noreturn]] static void wait_for_ever() {
    for (uint32_t value = 0;;) zvgRegReadLong(0x318000, &value);
  }
  template <typename Call>
  static Error error_of(Call call) {
    try {
      call();
    } catch (const Error& error) {
      return error;
    }
    ADD_FAILURE() << "no error was told";
    return Error(ErrorKind::internal, "");
  }

  Stop stop_;
};

TEST_F(BoardStop, ASignalEndsAWaitThroughEveryDoor) {
  for (const Door door : doors) {
    SCOPED_TRACE(zvg::door_name(door));
    Stop stop;
    g_stop = &stop;
    Board board(through(door), {.stop = &stop});
    stop_soon();
    const Error error = error_of([] { wait_for_ever(); });
    EXPECT_EQ(error.kind(), ErrorKind::cancelled);
    EXPECT_THAT(error.what(), StartsWith("interrupted"));
    EXPECT_THAT(error.what(), HasSubstr("318000"));
    EXPECT_EQ(error.door, door);
    EXPECT_EQ(error.address, door == Door::serial ? 0x1318000u : 0x318000u);
  }
}

TEST_F(BoardStop, TheDeadlineEndsAWaitAndNamesTheRequest) {
  for (const Door door : {Door::driver, Door::serial}) {
    SCOPED_TRACE(zvg::door_name(door));
    Board board(through(door), {.deadline = seconds(1)});
    const Error error = error_of([] { wait_for_ever(); });
    EXPECT_EQ(error.kind(), ErrorKind::timeout);
    EXPECT_THAT(error.what(),
                StartsWith("not done within the deadline of 1 s, gave up reading " +
                           std::string(door == Door::driver
                                           ? "register 0x318000 through the driver: "
                                           : "bus address 0x0001318000 over the serial line: ")));
    EXPECT_EQ(error.door, door);
  }
}

// Refuses with EINTR, once.
class Interrupting : public zvg::seam::Transport {
 public:
  int ioctl(int fd, unsigned long request, void* argument) override {
    if (interrupt_in > 0 && --interrupt_in == 0) {
      errno = EINTR;
      return -1;
    }
    return Transport::ioctl(fd, request, argument);
  }
  int usleep(useconds_t microseconds) override {
    slept_us += microseconds;
    return 0;
  }
  int interrupt_in = 0;
  uint64_t slept_us = 0;
};

TEST_F(BoardStop, ASignalThatMeansNothingCostsNoRead) {
  Interrupting interrupting;
  Board board(through(Door::driver), {.transport = &interrupting});
  board.write_register(0x308010, 4, 7);
  interrupting.interrupt_in = 1;
  EXPECT_EQ(board.read_register(0x308010, 4), 7u);
  interrupting.interrupt_in = 1;
  EXPECT_THROW(board.write_register(0x308010, 4, 8), Error) << "a write is not repeated";
}

// On virtual time a sleep may be longer than what is left.
TEST_F(BoardStop, ASleepIsCutOnlyByTheTimeItself) {
  Interrupting interrupting;
  Board board(through(Door::driver), {.transport = &interrupting, .deadline = seconds(3)});
  zvg::seam::transport().usleep(10'000'000);
  EXPECT_EQ(interrupting.slept_us, 10'000'000u);
}

TEST_F(BoardStop, WhatTidiesUpHasItsAccesses) {
  struct TidyUp {
    explicit TidyUp(Board& tidied) : board(tidied) {}
    ~TidyUp() { board.write_register(0x308010, 4, 0x55); }
    Board& board;
  };
  Board board(through(Door::driver), {.stop = &stop_});
  const Error error = error_of([&] {
    const TidyUp tidy_up(board);
    stop_.request(Stop::Cause::cancelled);
    board.read_register(0x308010, 4);
  });
  EXPECT_EQ(error.kind(), ErrorKind::cancelled);
  EXPECT_EQ(peek(0x308010), 0x55u);
}

class DeadBoardTest : public BoardStop {
 protected:
  zvgsim::BoardConfig config() override {
    auto config = BoardFixture::config();
    config.faults.reads_ones = true;
    return config;
  }
};

TEST_F(DeadBoardTest, IsToldBeforeANumberIsReturned) {
  for (const Door door : doors) {
    SCOPED_TRACE(zvg::door_name(door));
    const Error error = error_of([&] {
      Board board(through(door));
      board.read_register(0x318000, 4);
    });
    EXPECT_EQ(error.kind(), ErrorKind::dead_board);
    EXPECT_THAT(error.what(), StartsWith("the board reads as ones everywhere (0x288400, 0x100000 "
                                         "and 0x110000): it is off the bus, "));
    EXPECT_EQ(error.door, door);
  }
}

TEST_F(DeadBoardTest, IsToldBeforeAWrite) {
  for (const Door door : doors) {
    SCOPED_TRACE(zvg::door_name(door));
    trace().start();
    const Error error = error_of([&] {
      Board board(through(door));
      board.write_register(0x308010, 4, 1);
    });
    EXPECT_EQ(error.kind(), ErrorKind::dead_board);
    EXPECT_THAT(trace().take(), testing::Each(StartsWith("r")));
  }
}

// The library returns what it made of ones otherwise.
TEST_F(DeadBoardTest, EndsTheLibrarysWaits) {
  for (const Door door : doors) {
    SCOPED_TRACE(zvg::door_name(door));
    EXPECT_EQ(error_of([&] {
                Board board(through(door));
                zvgDpLinkTraining(0);
              }).kind(),
              ErrorKind::dead_board);
  }
}

TEST_F(DeadBoardTest, IsShownToThoseWhoWantToSee) {
  for (const Door door : doors) {
    SCOPED_TRACE(zvg::door_name(door));
    Board board(through(door), {.dead_board = DeadBoard::shown});
    EXPECT_EQ(board.read_register(0x318000, 4), 0xFFFFFFFFu);
    board.write_register(0x318000, 4, 0);
    const auto dead = board.dead();
    ASSERT_TRUE(dead);
    EXPECT_EQ(dead->kind(), ErrorKind::dead_board);
  }
}

TEST_F(BoardStop, NothingMoreIsReadWhileValuesArePlausible) {
  Board board(through(Door::driver));
  poke(0x318000, 0xFFFFFFFF);
  poke(0x318004, 0x11223344);
  trace().start();
  board.read_register(0x318004, 4);
  board.read_register(0x318000, 4);
  board.write_register(0x318000, 4, 5);
  EXPECT_THAT(trace().take(), ElementsAre("r4 mmio 0x318004 0x11223344",
                                          "r4 mmio 0x318000 0xffffffff", "w4 mmio 0x318000 0x5"));
}

TEST_F(BoardStop, AWriteAsksOnceUnlessItIsAMeansOfReading) {
  for (const bool only_reads : {false, true}) {
    Board board(through(Door::driver), {.only_reads = only_reads});
    trace().start();
    board.write_register(0x318000, 4, 5);
    board.write_register(0x318000, 4, 6);
    const auto lines = trace().take();
    EXPECT_EQ(lines.size(), only_reads ? 2u : 3u);
    EXPECT_THAT(lines.front(),
                StartsWith(only_reads ? "w4 mmio 0x318000 0x5" : "r4 mmio 0x288400 "));
  }
}

TEST_F(BoardStop, ARegisterThatReadsAsOnesIsShown) {
  for (const Door door : doors) {
    SCOPED_TRACE(zvg::door_name(door));
    Board board(through(door));
    poke(0x318000, 0xFFFFFFFF);
    EXPECT_EQ(board.read_register(0x318000, 4), 0xFFFFFFFFu);
    EXPECT_EQ(board.read_register(0x318000, 1), 0xFFu);
    EXPECT_FALSE(board.dead());
  }
}

// The line after an answer that did not come.

class LateAnswer : public BoardStop {
 protected:
  zvgsim::BoardConfig config() override {
    auto config = BoardFixture::config();
    // The first answer is the one to the question whether somebody is there.
    config.faults.uart = {
        {.reply = 2, .action = zvgsim::UartAction::delay, .delay_ms = 2050, .count = 1}};
    return config;
  }
};

TEST_F(LateAnswer, IsNotTakenForTheNextOne) {
  Board board(through(Door::serial));
  poke(0x318000, 0x11111111);
  poke(0x318004, 0x22222222);
  uint32_t value = 0;
  EXPECT_EQ(board.probing([&] { zvgRegReadLong(0x318000, &value); }), 1u);
  EXPECT_EQ(board.read_register(0x318004, 4), 0x22222222u);
  EXPECT_EQ(board.read_register(0x318000, 4), 0x11111111u);
}

// Takes half a frame, and then nothing.
class HalfAFrame : public zvg::seam::Transport {
 public:
  ssize_t write(int fd, const void* bytes, size_t size) override {
    if (left == 0) {
      errno = EIO;
      return -1;
    }
    if (left > 0) return std::exchange(left, 0);
    return Transport::write(fd, bytes, size);
  }
  ssize_t left = -1;
};

TEST_F(BoardStop, ALineThatWasLostWithinAFrameIsNotUsedAgain) {
  HalfAFrame half;
  Board board(through(Door::serial), {.transport = &half});
  half.left = 5;
  EXPECT_THROW(board.write_register(0x318000, 4, 1), Error);
  half.left = -1;
  const Error error = error_of([&] { board.read_register(0x318000, 4); });
  EXPECT_THAT(error.what(), HasSubstr("was lost in the middle of a frame"));
}

}  // namespace
