// The tables that samples of the RQ302 AXI monitors are written into: a file a port, a row a
// sample.
#ifndef ZVG_MONITOR_RQ302_TABLE_H
#define ZVG_MONITOR_RQ302_TABLE_H

#include <stdint.h>

namespace zvg::monitor::rq302 {

// What a column shows.
enum class Source : uint8_t {
  time,
  one,  // rows are only written of ports that have new data
  timeout,
  field,       // bits of a record word
  write_slot,  // a 40-bit address, in hexadecimal
  read_slot,
};

struct Column {
  const char* name;
  Source source = Source::field;
  uint8_t word = 0;
  uint8_t shift = 0;
  uint32_t mask = 0xFFFFFFFF;
  const char* separator = "\t ";  // in front of the value, unless it is the first
};

// Neighbouring columns, whose words count from first_word of the record.
struct Columns {
  const Column* first;
  uint8_t count;
  uint8_t first_word;
};

// The columns of a monitor type.
struct Layout {
  const Columns* groups;
  uint8_t count;
};
extern const Layout type1_layout;
extern const Layout type2_layout;
extern const Layout type3_layout;

struct Stamp {
  int time;
  bool data_update;
  bool timeout;
};

// Begins the port's file with its header when the time is 0, then appends a row when there is new
// data. A file that does not open is left out.
void write_row(const Layout& layout, const char* folder, const char* port, const uint32_t* record,
               const Stamp& stamp);

}  // namespace zvg::monitor::rq302

#endif  // ZVG_MONITOR_RQ302_TABLE_H
