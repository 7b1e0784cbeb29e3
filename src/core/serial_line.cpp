#include "core/serial_line.h"

#include <errno.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <iterator>

#include "core/connection.h"

namespace zvg::core {

namespace {

// What termios calls the board's rates, in their order.
constexpr speed_t speeds[] = {B9600, B19200, B38400, B115200, B460800};
static_assert(std::size(speeds) == std::size(hw::serial::baud_rates));

constexpr useconds_t baud_settle_us = 200000;
constexpr int sync_frames = 4;
constexpr int64_t stall_limit_ms = 2000;

// The speed of a rate; null when the board's UART does not have it.
const speed_t* find_speed(int baud) {
  for (size_t i = 0; i < std::size(speeds); ++i) {
    if (hw::serial::baud_rates[i] == baud) return &speeds[i];
  }
  return nullptr;
}

int64_t now_ms() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

// Writes a frame to its end. Between the bytes of one frame the board takes nothing for the begin
// of another, so that half a frame would cost the next one, too: only a line that takes nothing for
// the whole limit, or fails, is left with it. Returns the frame's size or write()'s failure.
ssize_t write_frame(int fd, const Frame& frame) {
  size_t sent = 0;
  int64_t stalled_since = -1;
  for (;;) {
    const ssize_t taken = write(fd, frame + sent, sizeof frame - sent);
    const bool later = taken < 0 && (errno == EAGAIN || (errno == EINTR && sent > 0));
    if (taken < 0 && !later) return taken;
    if (taken > 0) sent += static_cast<size_t>(taken);
    if (sent == sizeof frame) return static_cast<ssize_t>(sent);

    const int64_t now = now_ms();
    if (taken > 0 || stalled_since < 0) stalled_since = now;
    const auto left = static_cast<int>(stalled_since + stall_limit_ms - now);
    pollfd room = {fd, POLLOUT, 0};
    if (left <= 0 || poll(&room, 1, left) == 0) {
      errno = EAGAIN;
      return -1;
    }
  }
}

// Raw 8N1 without flow control, every byte as it came. A read waits for the four bytes of a reply,
// a tenth of a second from byte to byte.
void make_raw(termios& line) {
  line.c_iflag &= ~static_cast<tcflag_t>(IXON | IXANY | IXOFF);
  line.c_iflag &= ~static_cast<tcflag_t>(ICRNL | INLCR | IGNCR | ISTRIP | PARMRK);
  line.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  line.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS | PARENB | CSTOPB | CSIZE);
  line.c_cflag |= CS8 | CREAD | CLOCAL;
  line.c_lflag &= ~static_cast<tcflag_t>(ISIG | ICANON | ECHO | ECHOE);
  line.c_cc[VMIN] = hw::serial::reply_size;
  line.c_cc[VTIME] = 1;
}

}  // namespace

bool baud_is_supported(int baud) {
  return find_speed(baud) != nullptr;
}

int read_attributes(int fd, termios* line) {
  const int result = tcgetattr(fd, line);
  if (result != 0) fprintf(stderr, "tcgetattr() failed: %s\n", strerror(errno));
  return result;
}

int set_up_line(int fd, termios line, int baud) {
  const speed_t* const speed = find_speed(baud);
  if (speed == nullptr) {
    fprintf(stderr, "baudrate %d is not supported\n", baud);
    return -EINVAL;
  }
  cfsetispeed(&line, *speed);
  cfsetospeed(&line, *speed);
  make_raw(line);
  tcflush(fd, TCIOFLUSH);
  const int result = tcsetattr(fd, TCSANOW, &line);
  if (result != 0) {
    fprintf(stderr, "tcsetattr() failed: %s\n", strerror(errno));
  } else {
    g_connection.baud = baud;
  }
  send_sync_burst(fd);
  return result;
}

int set_up_line(int fd, int baud) {
  termios line;
  if (const int result = read_attributes(fd, &line); result != 0) return result;
  return set_up_line(fd, line, baud);
}

ssize_t send_frame(int fd, const Frame& frame) {
  const ssize_t result = write_frame(fd, frame);
  if (result < 0) fprintf(stderr, "write() failed: %s\n", strerror(errno));
  return result;
}

void send_sync_burst(int fd) {
  static constexpr Frame zeros = {};
  for (int i = 0; i < sync_frames; ++i) {
    if (send_frame(fd, zeros) < 0) return;
  }
}

void switch_board_baud(int fd, int baud) {
  if (g_connection.baud != baud) {
    const Frame lead_in = {hw::serial::lead_in};
    // Whether the lead-in got through shows with the frame after it.
    write_frame(fd, lead_in);
    const auto divisor = static_cast<uint32_t>(hw::serial::uart_clock_hz / baud);
    Frame frame = {hw::serial::set_divisor};
    put_big_endian(&frame[hw::serial::data_at], divisor);
    if (send_frame(fd, frame) < 0) return;
  }
  usleep(baud_settle_us);
}

}  // namespace zvg::core
