// The host's side of the debug UART: line attributes, baud rate and framing.
#ifndef ZVG_CORE_SERIAL_LINE_H
#define ZVG_CORE_SERIAL_LINE_H

#include <stdint.h>
#include <sys/types.h>
#include <termios.h>

#include "hw/serial_frames.h"

namespace zvg::core {

// Every frame to the board has this size, commands and padding alike.
using Frame = uint8_t[hw::serial::frame_size];

bool baud_is_supported(int baud);

inline void put_big_endian(uint8_t* bytes, uint32_t word) {
  bytes[0] = static_cast<uint8_t>(word >> 24);
  bytes[1] = static_cast<uint8_t>(word >> 16);
  bytes[2] = static_cast<uint8_t>(word >> 8);
  bytes[3] = static_cast<uint8_t>(word);
}

// Reads the attributes of a line. Returns 0; the failed call's result for what is no serial line.
int read_attributes(int fd, termios* line);

// Sets the line, whose attributes are the given ones, to raw 8N1 at a rate, remembers that rate,
// and sends the sync burst (also when the attributes could not be applied). Returns 0, -22 for
// another rate, or the failed call's result.
int set_up_line(int fd, termios line, int baud);

// The same from the attributes that the line has.
int set_up_line(int fd, int baud);

// Writes a frame, waiting where the line does not take all of it at once. Returns its size; the
// failed write's result, with the reason on standard error, when the line took nothing for 2 s.
ssize_t send_frame(int fd, const Frame& frame);

// Writes four frames of zero bytes: whatever the board's receiver was in the middle of ends here.
void send_sync_burst(int fd);

// Tells the board to change its rate and gives it time to do so. At the remembered rate there is
// nothing to tell, only the time. The remembered rate stays.
void switch_board_baud(int fd, int baud);

}  // namespace zvg::core

#endif  // ZVG_CORE_SERIAL_LINE_H
