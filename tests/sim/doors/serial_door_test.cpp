// The serial device in process, through open(), termios, write(), select() and read().
#include "doors/serial_door.h"

#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <unistd.h>

#include "support/board_fixture.h"

namespace zvgsim {
namespace {

const uint8_t read_frame[] = {0xFD, 0x0F, 0, 0x01, 0x30, 0, 0, 0, 0, 0, 0};

class SerialDoorTest : public zvgtest::BoardFixture {
 protected:
  void SetUp() override {
    BoardFixture::SetUp();
    start({});
  }
  void TearDown() override {
    close(fd_);
    BoardFixture::TearDown();
  }
  void start(BoardConfig config) {
    if (fd_ >= 0) close(fd_);
    power_up(std::move(config));
    poke(0x300000, 0x11223344);
    fd_ = open("/dev/ttyZVG0", O_RDWR | O_NOCTTY | O_NONBLOCK);
    ASSERT_GE(fd_, 0);
  }
  void set_baud(speed_t speed, int actions = TCSANOW) {
    termios attributes;
    ASSERT_EQ(tcgetattr(fd_, &attributes), 0);
    cfsetispeed(&attributes, speed);
    cfsetospeed(&attributes, speed);
    ASSERT_EQ(tcsetattr(fd_, actions, &attributes), 0);
  }
  void ask() { ASSERT_EQ(write(fd_, read_frame, sizeof read_frame), 11); }
  // select() for input: its result, and how much board time it took.
  int wait(long sec, long usec = 0) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(fd_, &set);
    timeval timeout = {sec, usec};
    const uint64_t before = clock().now();
    const int result = select(fd_ + 1, &set, nullptr, nullptr, &timeout);
    waited_ = clock().now() - before;
    EXPECT_EQ(FD_ISSET(fd_, &set) != 0, result == 1);
    return result;
  }
  // What one read() returns, in hex; the error's name when it fails.
  std::string take(size_t size = 64) {
    uint8_t bytes[64];
    const ssize_t count = read(fd_, bytes, size);
    if (count < 0) return errno == EAGAIN ? "EAGAIN" : "error";
    std::string text;
    for (ssize_t i = 0; i < count; ++i) {
      char digits[3];
      snprintf(digits, sizeof digits, "%02x", bytes[i]);
      text += digits;
    }
    return text;
  }

  int fd_ = -1;
  uint64_t waited_ = 0;
};

TEST_F(SerialDoorTest, ReplyArrivesAfterItsTimeOnTheWire) {
  ask();
  EXPECT_EQ(take(), "EAGAIN") << "it cannot be there yet";
  EXPECT_EQ(wait(2), 1);
  // 11 bytes out, 4 back, at 9600 baud: 15.6 ms.
  EXPECT_NEAR(static_cast<double>(waited_), 15 * 10 / 9600.0 * 1e9, 200'000);
  EXPECT_EQ(take(), "11223344");
  EXPECT_EQ(take(), "EAGAIN");
}

TEST_F(SerialDoorTest, WaitWithoutReplyTakesItsTimeout) {
  EXPECT_EQ(wait(2), 0);
  EXPECT_EQ(waited_, seconds(2));
  EXPECT_EQ(wait(0, 250), 0);
  EXPECT_EQ(waited_, microseconds(250));
}

TEST_F(SerialDoorTest, ReadTakesNoMoreThanItAsksFor) {
  ask();
  ASSERT_EQ(wait(2), 1);
  EXPECT_EQ(take(3), "112233");
  EXPECT_EQ(wait(2), 1) << "the rest is there at once";
  EXPECT_EQ(waited_, 0u);
  EXPECT_EQ(take(), "44");
}

TEST_F(SerialDoorTest, RatesFollowTermios) {
  set_baud(B115200);
  ask();
  EXPECT_EQ(wait(2), 0) << "the board still runs at 9600";
  set_baud(B9600);
  const uint8_t to_115200[] = {0xFC, 0, 0, 0, 0, 0, 0, 0, 0, 0, 234};
  ASSERT_EQ(write(fd_, to_115200, 11), 11);
  ask();
  EXPECT_EQ(wait(2), 0) << "now the host is the slow one";
  set_baud(B115200);
  ask();
  EXPECT_EQ(wait(2), 1);
  EXPECT_LT(waited_, milliseconds(3));
  EXPECT_EQ(take(), "11223344");
}

TEST_F(SerialDoorTest, HostsRateChangeLosesWhatIsOnItsWay) {
  ask();
  set_baud(B19200);
  EXPECT_EQ(wait(2), 0);
}

TEST_F(SerialDoorTest, FlushDiscardsWhatHasArrivedOnly) {
  ask();
  ASSERT_EQ(wait(2), 1);
  EXPECT_EQ(tcflush(fd_, TCOFLUSH), 0);
  EXPECT_EQ(wait(0), 1) << "an output flush leaves input alone";
  EXPECT_EQ(tcflush(fd_, TCIFLUSH), 0);
  EXPECT_EQ(take(), "EAGAIN");
  ask();
  EXPECT_EQ(tcflush(fd_, TCIOFLUSH), 0);  // still on the wire
  EXPECT_EQ(wait(2), 1);
  EXPECT_EQ(take(), "11223344");
  EXPECT_EQ(tcflush(fd_, 99), -1);
  EXPECT_EQ(errno, EINVAL);
}

TEST_F(SerialDoorTest, FlushingChangeOfAttributesDiscardsInput) {
  ask();
  ASSERT_EQ(wait(2), 1);
  set_baud(B9600, TCSAFLUSH);
  EXPECT_EQ(take(), "EAGAIN");
}

TEST_F(SerialDoorTest, SettingsOutliveAClose) {
  set_baud(B38400);
  close(fd_);
  fd_ = open("/dev/ttyZVG0", O_RDWR | O_NONBLOCK);
  termios attributes;
  ASSERT_EQ(tcgetattr(fd_, &attributes), 0);
  EXPECT_EQ(cfgetospeed(&attributes), static_cast<speed_t>(B38400));
}

TEST_F(SerialDoorTest, ShortFrameIsNotAnswered) {
  ASSERT_EQ(write(fd_, read_frame, 10), 10);
  EXPECT_EQ(wait(2), 0);
  ASSERT_EQ(write(fd_, read_frame + 10, 1), 1);
  EXPECT_EQ(wait(2), 1);
}

TEST_F(SerialDoorTest, LateReplyComesAfterTheTimeout) {
  BoardConfig config;
  config.faults.uart = {{.reply = 1, .action = UartAction::delay, .delay_ms = 2500}};
  start(config);
  ask();
  EXPECT_EQ(wait(2), 0);
  EXPECT_EQ(take(), "EAGAIN");
  EXPECT_EQ(wait(2), 1);
  EXPECT_EQ(take(), "11223344");
}

TEST_F(SerialDoorTest, CutReplyIsShort) {
  BoardConfig config;
  config.faults.uart = {{.reply = 1, .action = UartAction::cut, .bytes = 2}};
  start(config);
  ask();
  EXPECT_EQ(wait(2), 1);
  EXPECT_EQ(take(), "1122");
}

TEST_F(SerialDoorTest, BlockingReadWaitsAndNeverHangs) {
  close(fd_);
  fd_ = open("/dev/ttyZVG0", O_RDWR);
  ask();
  EXPECT_EQ(take(), "11223344");
  EXPECT_EQ(take(), "EAGAIN") << "nothing will ever come";
}

TEST_F(SerialDoorTest, SelectMixesWithRealDescriptors) {
  int pipes[2];
  ASSERT_EQ(pipe(pipes), 0);
  ASSERT_EQ(::write(pipes[1], "x", 1), 1);
  fd_set set;
  FD_ZERO(&set);
  FD_SET(fd_, &set);
  FD_SET(pipes[0], &set);
  timeval timeout = {0, 0};
  const int count = std::max(fd_, pipes[0]) + 1;
  EXPECT_EQ(select(count, &set, nullptr, nullptr, &timeout), 1);
  EXPECT_TRUE(FD_ISSET(pipes[0], &set));
  EXPECT_FALSE(FD_ISSET(fd_, &set));
  ask();
  clock().sleep(seconds(1));
  FD_SET(fd_, &set);
  EXPECT_EQ(select(count, &set, nullptr, nullptr, &timeout), 1);
  EXPECT_TRUE(FD_ISSET(fd_, &set)) << "the device's input counts first";
  close(pipes[0]);
  close(pipes[1]);
}

TEST_F(SerialDoorTest, PollWaitsAsSelectDoes) {
  pollfd line = {fd_, POLLIN, 0};
  EXPECT_EQ(poll(&line, 1, 0), 0);
  uint64_t before = clock().now();
  EXPECT_EQ(poll(&line, 1, 2500), 0);
  EXPECT_EQ(line.revents, 0);
  EXPECT_EQ(clock().now() - before, milliseconds(2500));
  ask();
  before = clock().now();
  EXPECT_EQ(poll(&line, 1, -1), 1);
  EXPECT_EQ(line.revents, POLLIN);
  EXPECT_LT(clock().now() - before, milliseconds(20));
  EXPECT_EQ(take(), "11223344");
}

TEST_F(SerialDoorTest, PollFindsRoomToWriteAtOnce) {
  pollfd line = {fd_, POLLOUT, 0};
  const uint64_t before = clock().now();
  EXPECT_EQ(poll(&line, 1, 2000), 1);
  EXPECT_EQ(line.revents, POLLOUT);
  EXPECT_EQ(clock().now(), before);
}

TEST_F(SerialDoorTest, PollMixesWithRealDescriptors) {
  int pipes[2];
  ASSERT_EQ(pipe(pipes), 0);
  pollfd files[] = {{fd_, POLLIN, 0}, {pipes[0], POLLIN, 0}};
  EXPECT_EQ(poll(files, 2, 0), 0) << "neither has anything";
  ASSERT_EQ(::write(pipes[1], "x", 1), 1);
  EXPECT_EQ(poll(files, 2, 0), 1);
  EXPECT_EQ(files[0].fd, fd_);
  EXPECT_EQ(files[0].revents, 0);
  EXPECT_EQ(files[1].revents, POLLIN);
  ask();
  clock().sleep(seconds(1));
  EXPECT_EQ(poll(files, 2, 0), 1);
  EXPECT_EQ(files[0].revents, POLLIN) << "the device's input counts first";
  EXPECT_EQ(files[1].revents, 0);
  close(pipes[0]);
  close(pipes[1]);
}

TEST_F(SerialDoorTest, IsNoDriver) {
  int value = 0;
  EXPECT_EQ(ioctl(fd_, 0xC0206401, &value), -1);
  EXPECT_EQ(errno, ENOTTY);
}

}  // namespace
}  // namespace zvgsim
