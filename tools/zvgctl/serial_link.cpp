#include "zvgctl/serial_link.h"

#include <sys/select.h>
#include <termios.h>
#include <util_zvg.h>

#include <algorithm>

#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

// A 64-bit write returns the size of its second frame.
constexpr int quad_write_success = 11;

// VGA miscellaneous output, read side: no read of it changes anything.
constexpr uint64_t misc_output_read = 0x103CC;

// Start, eight data and stop bits, on the line a character.
constexpr long bits_per_character = 10;

// A stray character shows within a few characters' time behind the answer.
constexpr long silence_characters = 3;
constexpr long shortest_wait_us = 200;

struct Flag {
  explicit Flag(bool& flag) : flag(flag) { flag = true; }
  ~Flag() { flag = false; }
  bool& flag;
};

int uart_read(uint64_t address, unsigned width, uint64_t* value) {
  int result = -1;
  if (width == 1) {
    uint8_t byte = 0;
    result = zvgUartReadByte(address, &byte);
    *value = byte;
  } else if (width == 2) {
    uint16_t word = 0;
    result = zvgUartReadWord(address, &word);
    *value = word;
  } else {
    uint32_t word = 0;
    result = zvgUartReadLong(address, &word);
    *value = word;
  }
  return result;
}

int uart_write(uint64_t address, unsigned width, uint64_t value) {
  switch (width) {
    case 1:
      return zvgUartWriteByte(address, static_cast<uint8_t>(value));
    case 2:
      return zvgUartWriteWord(address, static_cast<uint16_t>(value));
    case 4:
      return zvgUartWriteLong(address, static_cast<uint32_t>(value));
    default:
      return zvgUartWriteQuad(address, value) == quad_write_success ? 0 : -1;
  }
}

// 64 bits travel as two words, so a word's alignment is enough for them.
bool is_aligned(uint64_t address, unsigned width) {
  return address % std::min(width, 4u) == 0;
}

}  // namespace

SerialLink::SerialLink(int fd, std::string device, int baud)
    : fd_(fd), device_(std::move(device)), baud_(baud) {}

std::string SerialLink::name() const {
  return format("%s at %d baud", device_.c_str(), baud_);
}

uint64_t SerialLink::read(uint64_t address, unsigned width) {
  const Flag checking(checking_);
  if (is_aligned(address, width)) return read_aligned(address, width);
  uint64_t value = 0;
  for (unsigned i = 0; i < width; ++i) value |= read_aligned(address + i, 1) << (8 * i);
  return value;
}

void SerialLink::write(uint64_t address, unsigned width, uint64_t value) {
  const Flag checking(checking_);
  if (is_aligned(address, width)) return write_aligned(address, width, value);
  for (unsigned i = 0; i < width; ++i) write_aligned(address + i, 1, value >> (8 * i) & 0xFF);
}

void SerialLink::probe() {
  const Flag checking(checking_);
  uint64_t value = 0;
  tcflush(fd_, TCIFLUSH);
  if (uart_read(bus_mmio_base + misc_output_read, 1, &value) != 0) {
    fail(
        "no board answers on %s: is it powered, are both directions of the line connected, and "
        "does it still listen at 9600 baud (power it off and on if not)?",
        name().c_str());
  }
  expect_silence(bus_mmio_base + misc_output_read);
}

uint64_t SerialLink::read_aligned(uint64_t address, unsigned width) {
  if (width == 8) {
    // The library's 64-bit read keeps the upper word only; two words make the whole.
    const uint64_t low = read_aligned(address, 4);
    return low | read_aligned(address + 4, 4) << 32;
  }
  // A late answer to an earlier question must not be taken for this one's.
  tcflush(fd_, TCIFLUSH);
  uint64_t value = 0;
  if (uart_read(address, width, &value) != 0) {
    fail(
        "no whole answer from the board on %s to a read of bus address 0x%010llx: check the line "
        "and the board's power",
        name().c_str(), static_cast<unsigned long long>(address));
  }
  expect_silence(address);
  return value;
}

void SerialLink::write_aligned(uint64_t address, unsigned width, uint64_t value) {
  tcflush(fd_, TCIFLUSH);
  if (uart_write(address, width, value) != 0) {
    fail("the write of bus address 0x%010llx did not get onto the line %s",
         static_cast<unsigned long long>(address), name().c_str());
  }
}

// The board sends four bytes for a read and nothing else. If a fifth one follows, some byte of
// the answer was noise and no one can tell which.
void SerialLink::expect_silence(uint64_t address) {
  if (fd_ >= FD_SETSIZE) return;
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(fd_, &readable);
  timeval wait = {
      0, std::max(shortest_wait_us, silence_characters * bits_per_character * 1'000'000 / baud_)};
  if (select(fd_ + 1, &readable, nullptr, nullptr, &wait) > 0) {
    fail(
        "noise on the line %s: more came back than the answer to a read of bus address 0x%010llx, "
        "so the answer cannot be trusted",
        name().c_str(), static_cast<unsigned long long>(address));
  }
}

}  // namespace zvgctl
