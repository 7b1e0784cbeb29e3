#include "formats/board_info/serial_number.h"

#include <string.h>

namespace zvg::formats::board_info {

namespace {

// Where the record's parts are; the rest of its first half is not used.
enum Offset : size_t {
  magic_at = 0,
  type_at = 2,
  length_at = 6,
  checksum_at = 8,
  characters_at = 64,
};
static_assert(characters_at + most_serial_characters == serial_record_size);

}  // namespace

bool SerialNumber::checksum_right() const {
  if (length > most_serial_characters) return false;
  const auto* const bytes = reinterpret_cast<const uint8_t*>(characters);
  return checksum == negated_sum(bytes, length / 2u);
}

SerialNumber parse_serial_number(const uint8_t* bytes) {
  SerialNumber serial = {u16(bytes + magic_at),
                         u16(bytes + type_at),
                         u16(bytes + length_at),
                         u16(bytes + checksum_at),
                         {}};
  memcpy(serial.characters, bytes + characters_at, sizeof serial.characters);
  return serial;
}

}  // namespace zvg::formats::board_info
