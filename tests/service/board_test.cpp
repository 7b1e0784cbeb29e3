// A board that is open: an access that failed is told, whatever the library made of it.
#include "service/board/board.h"

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <util_zvg.h>

#include "support/board_fixture.h"

namespace {

using testing::HasSubstr;
using zvg::Board;
using zvg::Door;
using zvg::Error;
using zvg::ErrorKind;
using zvg::Generation;
using zvg::Route;

// Refuses a request, or loses a reply.
class Refusing : public zvg::seam::Transport {
 public:
  int ioctl(int fd, unsigned long request, void* argument) override {
    if (refuse_in > 0 && --refuse_in == 0) {
      errno = EIO;
      return -1;
    }
    return Transport::ioctl(fd, request, argument);
  }
  // The wait for a reply ends without one.
  int select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
             timeval* timeout) override {
    if (lose_in > 0 && --lose_in == 0) return 0;
    return Transport::select(count, readable, writable, exceptional, timeout);
  }

  int refuse_in = 0;  // 1: the next
  int lose_in = 0;
};

class BoardTest : public zvgtest::BoardFixture {
 protected:
  Route through(Door door) {
    Route route;
    route.door = door;
    if (door == Door::memory) {
      const auto& bases = machine().config().aperture;
      route.registers = {bases.mmio_base, zvgsim::mmio_size};
      route.video_memory = {bases.vram_base, zvgsim::vram_size};
    }
    if (door == Door::serial) {
      route.device = zvgsim::serial_node;
      route.baud = 115200;
    }
    if (door != Door::driver) route.generation = Generation::rq302;
    return route;
  }

  Refusing refusing_;
};

template <typename Call>
Error error_of(Call call) {
  try {
    call();
  } catch (const Error& error) {
    return error;
  }
  ADD_FAILURE() << "no error was told";
  return Error(ErrorKind::bad_argument, "");
}

TEST_F(BoardTest, ReadsAndWritesThroughEveryDoor) {
  for (const Door door : {Door::driver, Door::memory, Door::serial}) {
    SCOPED_TRACE(zvg::door_name(door));
    Board board(through(door));
    EXPECT_EQ(board.generation(), Generation::rq302);
    board.write_register(0x308010, 4, 0x89ABCDEF);
    EXPECT_EQ(board.read_register(0x308010, 4), 0x89ABCDEFu);
    EXPECT_EQ(board.read_register(0x308012, 1), 0xABu);
    board.write_vram(0x1000, 8, 0x1122334455667788);
    EXPECT_EQ(board.read_vram(0x1000, 8), 0x1122334455667788u);
  }
}

TEST_F(BoardTest, TellsWhatAFailedAccessWasAbout) {
  Board board(through(Door::driver), {.transport = &refusing_});
  refusing_.refuse_in = 1;
  const Error error = error_of([&] { board.read_register(0x308010, 4); });
  EXPECT_EQ(error.kind(), ErrorKind::access);
  EXPECT_STREQ(error.what(), "cannot read register at 0x308010: Input/output error");
  EXPECT_EQ(error.door, Door::driver);
  EXPECT_EQ(error.address, 0x308010u);
  EXPECT_EQ(error.request, 1u);
  EXPECT_EQ(error.system_error, EIO);
  EXPECT_FALSE(zvg::untold_failure());
}

TEST_F(BoardTest, TellsAFailureThatTheLibraryDropped) {
  Board board(through(Door::driver), {.transport = &refusing_});
  refusing_.refuse_in = 2;
  const Error error =
      error_of([&] { board.checked("read the clock", [] { return zvg_rq302_get_freq(0); }); });
  EXPECT_THAT(error.what(), HasSubstr("cannot read the clock: driver request 0x01 at 0x"));
  EXPECT_EQ(error.system_error, EIO);
  EXPECT_FALSE(zvg::untold_failure());
  EXPECT_GT(board.checked("read the clock", [] { return zvg_rq302_get_freq(0); }), 0);
}

TEST_F(BoardTest, RemembersAFailureThatNobodyLookedAt) {
  Board board(through(Door::driver), {.transport = &refusing_});
  EXPECT_FALSE(zvg::untold_failure());
  refusing_.refuse_in = 1;
  zvg_rq302_get_freq(0);
  const auto failure = zvg::untold_failure();
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->kind(), ErrorKind::access);
  EXPECT_FALSE(zvg::untold_failure()) << "told once";
}

TEST_F(BoardTest, AProbesFailuresAreItsAnswer) {
  Board board(through(Door::driver), {.transport = &refusing_});
  refusing_.refuse_in = 1;
  const uint64_t failures = board.probing([] {
    uint32_t value;
    zvgRegReadLong(0, &value);
    zvgRegReadLong(0, &value);
  });
  EXPECT_EQ(failures, 1u);
  EXPECT_FALSE(zvg::untold_failure());
}

TEST_F(BoardTest, TellsAnAccessOutsideOfTheAperture) {
  Route route = through(Door::memory);
  route.video_memory.length = 0;
  Board board(route);
  const Error error = error_of([&] { board.read_vram(0x10, 4); });
  EXPECT_EQ(error.kind(), ErrorKind::access);
  EXPECT_EQ(error.door, Door::memory);
  EXPECT_EQ(error.address, 0x10u);
  uint32_t value;
  EXPECT_THROW(board.checked("look", [&] { zvgVramReadLong(0x10, &value); }), Error);
}

TEST_F(BoardTest, ALostReplyEndsALongCallOverTheLine) {
  Board board(through(Door::serial), {.transport = &refusing_});
  refusing_.lose_in = 1;
  const Error error =
      error_of([&] { board.checked("read the clock", [] { return zvg_rq302_get_freq(5); }); });
  EXPECT_EQ(error.kind(), ErrorKind::access);
  EXPECT_EQ(error.door, Door::serial);
  EXPECT_TRUE(error.address);
  EXPECT_FALSE(zvg::untold_failure());
  // The board still answers.
  EXPECT_NO_THROW(board.read_register(0x288400, 4));
}

TEST_F(BoardTest, WithoutANodeThereIsNoBoard) {
  zvgsim::unmount_all();
  const Error error = error_of([&] { const Board board(through(Door::serial)); });
  EXPECT_EQ(error.kind(), ErrorKind::not_connected);
  EXPECT_EQ(error.system_error, ENOENT);
}

TEST_F(BoardTest, SaysNothingOfItsOwnAndHandsOnWhatTheLibrarySays) {
  std::string said;
  Board board(through(Door::memory),
              {.log = [&](zvg::seam::Stream, std::string_view text) { said += text; }});
  EXPECT_THROW(board.read_register(0x1000000, 4), Error);
  EXPECT_EQ(said, "Invalid argument: offset is out of range\n");
}

}  // namespace
