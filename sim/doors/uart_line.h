// The board's debug UART: frames in, replies out.
#ifndef ZVGSIM_DOORS_UART_LINE_H
#define ZVGSIM_DOORS_UART_LINE_H

#include <array>
#include <cstdint>
#include <deque>
#include <vector>

#include "hw/serial_frames.h"
#include "machine/machine.h"

namespace zvgsim {

// Decodes the host's bytes into frames of 11 and acts on the first card's bus:
//   0xFD  read   byte enables, 40-bit address (big-endian), 4 bytes without meaning
//   0xFE  write  byte enables, address, data (big-endian)
//   0xFF  lead-in, nothing happens
//   0xFC  baud   the last four bytes are the divisor of the UART's 27 MHz clock (big-endian)
// Between frames every other byte is skipped, so that a burst of zeros ends whatever frame was left
// unfinished and the next command byte begins a new one. Takes the machine's lock.
class UartLine {
 public:
  explicit UartLine(Machine& machine);

  static constexpr unsigned frame_size = hw::serial::frame_size;
  static constexpr unsigned uart_clock = hw::serial::uart_clock_hz;
  static constexpr unsigned bits_per_byte = 10;  // 8N1
  static constexpr double tolerance = 0.03;      // of the rate, at either end

  struct Reply {
    uint64_t ready_at;  // when its last byte is at the host, on the machine's clock
    std::vector<uint8_t> bytes;
    double baud;  // that it was sent at
  };

  // A byte from the host; its last bit arrived at time. One that was sent at a rate which is more
  // than 3 per cent off the board's is a framing error: the receiver drops it and what it had of a
  // frame.
  void receive(uint8_t byte, double baud, uint64_t time);

  // Replies in the order of their requests.
  std::deque<Reply>& replies() { return replies_; }

  double baud() const { return baud_; }
  bool understands(double baud) const;
  uint64_t framing_errors() const { return framing_errors_; }

 private:
  void act(uint64_t time);
  void reply(uint32_t word, uint64_t time);

  Machine& machine_;
  double baud_;
  std::array<uint8_t, frame_size> frame_{};
  unsigned filled_ = 0;
  uint64_t framing_errors_ = 0;
  std::deque<Reply> replies_;
};

// How long a number of bytes is on the wire, in ns.
uint64_t wire_time(size_t bytes, double baud);

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_UART_LINE_H
