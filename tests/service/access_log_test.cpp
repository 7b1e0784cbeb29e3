// Every access with its time, door and result.
#include "service/registers/access_log.h"

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <util_zvg.h>

#include <fstream>
#include <sstream>

#include "service/board/board.h"
#include "support/board_fixture.h"
#include "support/scratch.h"

namespace {

using testing::Contains;
using testing::ContainsRegex;
using testing::HasSubstr;
using zvg::Board;
using zvg::Door;
using zvg::Error;

class Refusing : public zvg::seam::Transport {
 public:
  int ioctl(int fd, unsigned long request, void* argument) override {
    if (!refuse) return Transport::ioctl(fd, request, argument);
    errno = EIO;
    return -1;
  }
  int select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
             timeval* timeout) override {
    return refuse ? 0 : Transport::select(count, readable, writable, exceptional, timeout);
  }
  bool refuse = false;
};

class AccessLogTest : public zvgtest::BoardFixture {
 protected:
  static zvg::Route through(Door door) {
    zvg::Route route;
    route.door = door;
    route.device = zvgsim::serial_node;
    route.baud = 115200;
    if (door != Door::driver) route.generation = zvg::Generation::rq302;
    return route;
  }
  // The lines without their times, which look like times.
  std::vector<std::string> lines() {
    std::vector<std::string> lines;
    std::istringstream text(scratch_.read("log"));
    for (std::string line; std::getline(text, line);) {
      EXPECT_THAT(line, ContainsRegex("^20[0-9-]+T[0-9:]+\\.[0-9]{6}Z "));
      lines.push_back(line.substr(line.find(' ') + 1));
    }
    return lines;
  }
  const zvgtest::Scratch scratch_;
  Refusing refusing_;
};

TEST_F(AccessLogTest, OfTheDriver) {
  zvg::AccessLog log(scratch_.path("log"), refusing_);
  Board board(through(Door::driver), {.transport = &log});
  board.write_register(0x308010, 4, 0x12345678);
  board.read_register(0x308010, 2);
  refusing_.refuse = true;
  EXPECT_THROW(board.read_register(0x308010, 4), Error);
  log.finish();
  const auto written = lines();
  EXPECT_EQ(written.front(), "open /dev/zvgrw ok");
  EXPECT_THAT(written, Contains("driver write register 0x308010 32 0x12345678 ok"));
  EXPECT_THAT(written, Contains("driver read register 0x308010 16 0x5678 ok"));
  EXPECT_EQ(written.back(), "driver read register 0x308010 32 - Input/output error");
}

TEST_F(AccessLogTest, OfTheSerialLine) {
  zvg::AccessLog log(scratch_.path("log"), refusing_);
  Board board(through(Door::serial), {.transport = &log});
  board.write_register(0x308010, 4, 0x12345678);
  board.read_register(0x308010, 4);
  refusing_.refuse = true;
  EXPECT_THROW(board.read_register(0x308014, 4), Error);
  log.finish();
  const auto written = lines();
  EXPECT_THAT(written, Contains("serial write 0x0001308010 enables 0xf 0x12345678 ok"));
  EXPECT_THAT(written, Contains("serial read 0x0001308010 enables 0xf 0x12345678 ok"));
  EXPECT_EQ(written.back(), "serial read 0x0001308014 enables 0xf - no whole answer");
}

TEST_F(AccessLogTest, ReplacesNothing) {
  scratch_.file("log", "precious");
  EXPECT_THROW(zvg::AccessLog(scratch_.path("log"), refusing_), Error);
  EXPECT_EQ(scratch_.read("log"), "precious");
}

}  // namespace
