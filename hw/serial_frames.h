// The frames of the debug UART: 11 bytes to the board, 4 bytes back for a read.
//
// A frame is a command, the byte enables of the access, the bus address and a data word, both with
// the highest byte first. The board moves whole 32-bit words: bit n of the byte enables lets it
// have byte n of the word, counted from the lowest, and the two low bits of the address are not
// wired.
#ifndef ZVG_HW_SERIAL_FRAMES_H
#define ZVG_HW_SERIAL_FRAMES_H

#include <stdint.h>

#include "hw/bus.h"

namespace zvg::hw::serial {

enum Command : uint8_t {
  set_divisor = 0xFC,  // of the UART; the divisor stands in the data word
  read_word = 0xFD,
  write_word = 0xFE,
  lead_in = 0xFF,  // goes before a new divisor; the rest of the frame is zero
};

// Places in a frame.
constexpr unsigned command_at = 0;
constexpr unsigned enables_at = 1;
constexpr unsigned address_at = 2;
constexpr unsigned data_at = address_at + bus_address_bytes;
constexpr unsigned data_size = 4;
constexpr unsigned frame_size = data_at + data_size;

constexpr unsigned reply_size = 4;  // the word, with the highest byte first

constexpr uint8_t all_enables = 0xF;

// The rate is the clock by the divisor.
constexpr int uart_clock_hz = 27000000;
constexpr int default_baud = 9600;  // what the board's UART starts with
constexpr int baud_rates[] = {9600, 19200, 38400, 115200, 460800};

}  // namespace zvg::hw::serial

#endif  // ZVG_HW_SERIAL_FRAMES_H
