#include "core/serial_line.h"

#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <termios.h>
#include <unistd.h>

#include "core/connection.h"

namespace zvg::core {

namespace {

struct BaudRate {
  int baud;
  speed_t speed;
};

constexpr BaudRate baud_rates[] = {
    {9600, B9600}, {19200, B19200}, {38400, B38400}, {115200, B115200}, {460800, B460800},
};

constexpr int uart_clock_hz = 27000000;
constexpr useconds_t baud_settle_us = 200000;
constexpr int sync_frames = 4;

constexpr uint8_t command_lead_in = 0xFF;
constexpr uint8_t command_set_divisor = 0xFC;

const BaudRate* find_baud(int baud) {
  for (const BaudRate& rate : baud_rates) {
    if (rate.baud == baud) return &rate;
  }
  return nullptr;
}

void report_failed_write() {
  fprintf(stderr, "write() failed: %s\n", strerror(errno));
}

// Raw 8N1 without flow control. A read waits for the four bytes of a reply, a tenth of a second
// from byte to byte.
void make_raw(termios& line) {
  line.c_iflag &= ~static_cast<tcflag_t>(IXON | IXANY | IXOFF);
  line.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  line.c_cflag &= ~static_cast<tcflag_t>(CRTSCTS | PARENB | CSTOPB | CSIZE);
  line.c_cflag |= CS8 | CREAD | CLOCAL;
  line.c_lflag &= ~static_cast<tcflag_t>(ISIG | ICANON | ECHO | ECHOE);
  line.c_cc[VMIN] = 4;
  line.c_cc[VTIME] = 1;
}

}  // namespace

bool baud_is_supported(int baud) {
  return find_baud(baud) != nullptr;
}

int set_up_line(int fd, int baud) {
  termios line;
  int result = tcgetattr(fd, &line);
  if (result != 0) {
    fprintf(stderr, "tcgetattr() failed: %s\n", strerror(errno));
    return result;
  }
  const BaudRate* const rate = find_baud(baud);
  if (rate == nullptr) {
    fprintf(stderr, "baudrate %d is not supported\n", baud);
    return -EINVAL;
  }
  cfsetispeed(&line, rate->speed);
  cfsetospeed(&line, rate->speed);
  make_raw(line);
  tcflush(fd, TCIOFLUSH);
  result = tcsetattr(fd, TCSANOW, &line);
  if (result != 0) {
    fprintf(stderr, "tcsetattr() failed: %s\n", strerror(errno));
  } else {
    g_connection.baud = baud;
  }
  send_sync_burst(fd);
  return result;
}

void send_sync_burst(int fd) {
  static constexpr uint8_t zeros[serial_frame_size] = {};
  for (int i = 0; i < sync_frames; ++i) {
    if (write(fd, zeros, sizeof zeros) < 0) {
      report_failed_write();
      return;
    }
  }
}

void switch_board_baud(int fd, int baud) {
  if (g_connection.baud != baud) {
    const uint8_t lead_in[serial_frame_size] = {command_lead_in};
    // Whether the lead-in got through shows with the frame after it.
    [[maybe_unused]] const ssize_t ignored = write(fd, lead_in, sizeof lead_in);
    const auto divisor = static_cast<uint32_t>(uart_clock_hz / baud);
    const uint8_t frame[serial_frame_size] = {command_set_divisor,
                                              0,
                                              0,
                                              0,
                                              0,
                                              0,
                                              0,
                                              static_cast<uint8_t>(divisor >> 24),
                                              static_cast<uint8_t>(divisor >> 16),
                                              static_cast<uint8_t>(divisor >> 8),
                                              static_cast<uint8_t>(divisor)};
    if (write(fd, frame, sizeof frame) < 0) {
      report_failed_write();
      return;
    }
  }
  usleep(baud_settle_us);
}

}  // namespace zvg::core
