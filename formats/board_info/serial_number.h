// The record of the board's serial number in the flash.
#ifndef ZVG_FORMATS_BOARD_INFO_SERIAL_NUMBER_H
#define ZVG_FORMATS_BOARD_INFO_SERIAL_NUMBER_H

#include <stddef.h>
#include <stdint.h>

#include "formats/board_info/record.h"

namespace zvg::formats::board_info {

constexpr uint32_t serial_record_address = 0x1BFC00;
constexpr size_t serial_record_size = 128;
constexpr uint16_t serial_type = 0x4E53;
constexpr uint16_t most_serial_characters = 64;

struct SerialNumber {
  uint16_t magic;
  uint16_t type;
  uint16_t length;    // characters, as the record has it: may be more than there are
  uint16_t checksum;  // with it the 16-bit words of the characters add up to 0
  char characters[most_serial_characters];  // no NUL ends them

  bool is_one() const { return magic == record_magic && type == serial_type; }
  // The last character of an odd number of them is not summed up. False when there are not as many
  // as the record says.
  bool checksum_right() const;
};

// bytes: serial_record_size of them.
SerialNumber parse_serial_number(const uint8_t* bytes);

// What a serial number is made of: '-' to 'z' in the order of ASCII.
constexpr bool is_serial_character(char c) {
  return c >= '-' && c <= 'z';
}

}  // namespace zvg::formats::board_info

#endif  // ZVG_FORMATS_BOARD_INFO_SERIAL_NUMBER_H
