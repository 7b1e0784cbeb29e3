// The board's serial number in the flash.
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "flash/checksum.h"
#include "util_zvg.h"

namespace {

constexpr uint32_t record_address = 0x1BFC00;
constexpr uint16_t serial_type = 0x4E53;
constexpr int shortest = 10, longest = 64;

constexpr int no_record = -2;
constexpr int does_not_fit = -3;

struct Record {
  uint16_t magic;
  uint16_t type;
  uint16_t unused;
  uint16_t length;
  uint16_t checksum;
  uint16_t reserved[27];
  char serial[longest];
};
static_assert(sizeof(Record) == 128 && offsetof(Record, serial) == 64);

int read_record(Record* record) {
  uint32_t words[sizeof *record / 4];
  const int result = zvgSpiReadBuffer(words, record_address, sizeof words);
  memcpy(record, words, sizeof *record);
  return result;
}

}  // namespace

int is_valid_char(char c) {
  return c >= 0x2D && c <= 0x7A ? 1 : 0;
}

int zvgSnRead(char* buffer, int length) {
  if (length < shortest || length > longest) return does_not_fit;
  Record record = {};
  const int result = read_record(&record);
  if (result < 0) return result;
  if (record.magic != zvg::flash::record_magic || record.type != serial_type) return no_record;
  if (record.length >= length) {
    memcpy(buffer, record.serial, static_cast<size_t>(length));
    return does_not_fit;
  }
  // The caller gets the serial also when its checksum turns out to be wrong.
  memcpy(buffer, record.serial, record.length);
  const uint16_t sum = zvg::flash::sum(record.serial, record.length / 2u);
  if (static_cast<uint16_t>(sum + record.checksum) != 0) return no_record;
  for (unsigned i = 0; i < record.length; ++i) {
    if (is_valid_char(record.serial[i]) == 0) return does_not_fit;
  }
  return 0;
}

int zvgSnProgram(void) {
  Record record;
  const int result = read_record(&record);
  return result < 0 ? result : no_record;
}
