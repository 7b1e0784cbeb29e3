// The board's serial number in the flash.
#include "formats/board_info/serial_number.h"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "util_zvg.h"

namespace {

using zvg::formats::board_info::SerialNumber;

constexpr int shortest_buffer = 10;
constexpr int longest_buffer = zvg::formats::board_info::most_serial_characters;

constexpr int no_record = -2;
constexpr int does_not_fit = -3;

int read_record(SerialNumber* record) {
  using namespace zvg::formats::board_info;
  uint32_t words[serial_record_size / 4] = {};
  const int result = zvgSpiReadBuffer(words, serial_record_address, sizeof words);
  *record = parse_serial_number(reinterpret_cast<const uint8_t*>(words));
  return result;
}

}  // namespace

int is_valid_char(char c) {
  return zvg::formats::board_info::is_serial_character(c) ? 1 : 0;
}

int zvgSnRead(char* buffer, int length) {
  if (length < shortest_buffer || length > longest_buffer) return does_not_fit;
  SerialNumber record;
  const int result = read_record(&record);
  if (result < 0) return result;
  if (!record.is_one()) return no_record;
  if (record.length >= length) {
    memcpy(buffer, record.characters, static_cast<size_t>(length));
    return does_not_fit;
  }
  // The caller gets the serial also when its checksum turns out to be wrong.
  memcpy(buffer, record.characters, record.length);
  if (!record.checksum_right()) return no_record;
  for (unsigned i = 0; i < record.length; ++i) {
    if (is_valid_char(record.characters[i]) == 0) return does_not_fit;
  }
  return 0;
}

int zvgSnProgram(void) {
  SerialNumber record;
  const int result = read_record(&record);
  return result < 0 ? result : no_record;
}
