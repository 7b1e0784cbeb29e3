// Register access over the debug UART: one 11-byte frame a 32-bit access, a 4-byte reply a read.
#include <errno.h>
#include <poll.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/select.h>
#include <unistd.h>

#include "core/access_failures.h"
#include "core/connection.h"
#include "core/serial_line.h"

namespace zvg::core {

using namespace hw::serial;

namespace {

constexpr int reply_timeout_s = 2;

// Where a narrow access lies in its 32-bit word: the lane of its lowest byte.
unsigned first_lane(int width, uint64_t address) {
  if (width == 1) return address & 3;
  if (width == 2) return address & 2;
  return 0;
}

uint8_t byte_enables(int width, uint64_t address) {
  const unsigned lanes = width == 1 ? 0x1 : width == 2 ? 0x3 : all_enables;
  return static_cast<uint8_t>(lanes << first_lane(width, address));
}

void put_address(Frame& frame, uint64_t address) {
  frame[address_at] = static_cast<uint8_t>(address >> 32);
  put_big_endian(&frame[address_at + 1], static_cast<uint32_t>(address) & ~uint32_t{3});
}

// The bytes of the value in the lanes that the access enables.
uint32_t in_lanes(int width, uint64_t address, uint64_t value) {
  if (width == 1) value &= 0xFF;
  if (width == 2) value &= 0xFFFF;
  return static_cast<uint32_t>(value) << (8 * first_lane(width, address));
}

// Waits until the line has something to read. 1 it has, 0 not in time, -1 the wait failed.
int wait_readable(int fd) {
  if (fd >= FD_SETSIZE) {  // select() has no bit for such a descriptor
    pollfd input = {fd, POLLIN, 0};
    return poll(&input, 1, reply_timeout_s * 1000);
  }
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(fd, &readable);
  timeval timeout = {reply_timeout_s, 0};
  return select(fd + 1, &readable, nullptr, nullptr, &timeout);
}

// Waits for the board's reply to a read frame. 0; -1 the wait failed, -2 no whole reply in time,
// -3 the read failed. A reply normally comes in one piece; a slow UART may hand it over in
// several, each of which gets the same time.
int receive(uint32_t* word) {
  const int fd = g_connection.fd;
  uint8_t reply[reply_size] = {};
  for (size_t received = 0; received < sizeof reply;) {
    const int ready = wait_readable(fd);
    if (ready < 0) {
      fprintf(stderr, "select() failed: %s\n", strerror(errno));
      return -1;
    }
    const ssize_t size = ready == 0 ? 0 : read(fd, reply + received, sizeof reply - received);
    if (size < 0) {
      fprintf(stderr, "read() failed: %s\n", strerror(errno));
      return -3;
    }
    if (size == 0) {
      fprintf(stderr, "uart receive data timeout!\n");
      return -2;
    }
    received += static_cast<size_t>(size);
  }
  *word = uint32_t{reply[0]} << 24 | uint32_t{reply[1]} << 16 | uint32_t{reply[2]} << 8 | reply[3];
  return 0;
}

// The two ways in which an access gets lost here, noted with its bus address.
ssize_t send(const Frame& frame, uint64_t address) {
  const ssize_t result = send_frame(g_connection.fd, frame);
  if (result < 0) note_failed_access(FailedAccess::frame_lost, 0, address);
  return result;
}

int receive_from(uint64_t address, uint32_t* word) {
  const int result = receive(word);
  if (result != 0) note_failed_access(FailedAccess::no_reply, 0, address);
  return result;
}

template <typename Value>
int uart_read(uint64_t address, Value* value) {
  uint64_t wide = 0;
  const int result = zvgUartOperate(ZVG_OP_READ, sizeof(Value), address, &wide);
  *value = static_cast<Value>(wide);
  return result;
}

template <typename Value>
int uart_write(uint64_t address, Value value) {
  uint64_t wide = value;
  return zvgUartOperate(ZVG_OP_WRITE, sizeof(Value), address, &wide);
}

}  // namespace

}  // namespace zvg::core

int zvgUartOperate(int op, int width, uint64_t address, uint64_t* value) {
  using namespace zvg::core;
  using namespace zvg::hw::serial;
  const bool reading = op == ZVG_OP_READ;
  Frame frame = {reading ? read_word : write_word, byte_enables(width, address)};
  put_address(frame, address);
  if (!reading) put_big_endian(&frame[data_at], in_lanes(width, address, *value));
  ssize_t sent = send(frame, address);
  if (sent < 0) return static_cast<int>(sent);

  uint32_t word = 0;
  if (reading) {
    if (receive_from(address, &word) != 0) return -1;
    *value = word >> (8 * first_lane(width, address));
  }
  if (width != 8) return 0;

  // The board moves 32 bits at a time: a quad is a second frame for the upper word.
  put_address(frame, address + 4);
  if (!reading) put_big_endian(&frame[data_at], static_cast<uint32_t>(*value >> 32));
  sent = send(frame, address + 4);
  // A quad write ends with what write() returned, not with 0; callers know it.
  if (!reading || sent < 0) return static_cast<int>(sent);
  if (receive_from(address + 4, &word) != 0) {
    fprintf(stderr, "serial does not respond\n");
    return -1;
  }
  // The upper word replaces the lower one; a quad read over this link has always given just that.
  *value = word;
  return 0;
}

int zvgUartReadByte(uint64_t address, uint8_t* value) {
  return zvg::core::uart_read(address, value);
}
int zvgUartReadWord(uint64_t address, uint16_t* value) {
  return zvg::core::uart_read(address, value);
}
int zvgUartReadLong(uint64_t address, uint32_t* value) {
  return zvg::core::uart_read(address, value);
}
int zvgUartReadQuad(uint64_t address, uint64_t* value) {
  return zvg::core::uart_read(address, value);
}
int zvgUartWriteByte(uint64_t address, uint8_t value) {
  return zvg::core::uart_write(address, value);
}
int zvgUartWriteWord(uint64_t address, uint16_t value) {
  return zvg::core::uart_write(address, value);
}
int zvgUartWriteLong(uint64_t address, uint32_t value) {
  return zvg::core::uart_write(address, value);
}
int zvgUartWriteQuad(uint64_t address, uint64_t value) {
  return zvg::core::uart_write(address, value);
}
