#include "monitor/rq302_table.h"

#include <limits.h>
#include <stdio.h>

#include <iterator>

#include "util_zvg.h"

namespace zvg::monitor::rq302 {

namespace {

// Where a type-1 record has the low words of its slot addresses, and the high bytes of both.
constexpr unsigned write_slot_word = 26;
constexpr unsigned read_slot_word = 27;
constexpr unsigned slot_high_word = 28;

constexpr Column time_column[] = {{"time", Source::time}};
constexpr Column active[] = {{"active_cnt"}};

// The first name has a blank of its own.
constexpr Column counts[] = {
    {" write_active_cnt", Source::field, 0},
    {"read_active_cnt", Source::field, 1},
    {"w_operation", Source::field, 2},
    {"r_operation", Source::field, 3},
};

constexpr Column read_counts[] = {
    {"read_active_cnt", Source::field, 0},
    {"r_operation", Source::field, 1},
};

constexpr Column state[] = {
    {"data_update", Source::one},
    {"timeout", Source::timeout},
};

constexpr Column writes[] = {
    {"metric_w_latency", Source::field, 0},
    {"metric_w_transnum", Source::field, 1},
    {"metric_w_sum", Source::field, 2},
    {"metric_w_ot", Source::field, 3},
    {"metric_w_full", Source::field, 4},
    {"metric_w_byte", Source::field, 5},
    {"metric_w_con", Source::field, 6},
    {"metric_w_dis", Source::field, 7},
    {"metric_w_bw_max", Source::field, 8},
    {"metric_w_latency_max", Source::field, 9, 16, 0xFFFF},
    {"metric_w_latency_min", Source::field, 9, 0, 0xFFFF},
    {"metric_w_ot_max", Source::field, 10, 16, 0xFF},
    {"metric_w_ot_min", Source::field, 10, 0, 0xFFFF},
};

constexpr Column write_high[] = {{"metric_w_high"}};

// In type-1 rows this value follows a bare tab; the header has the blank there, too.
constexpr Column write_high_after_tab[] = {
    {"metric_w_high", Source::field, 0, 0, 0xFFFFFFFF, "\t"}};

constexpr Column write_slot[] = {{"slot_awaddr", Source::write_slot}};

constexpr Column reads[] = {
    {"metric_r_latency", Source::field, 0},
    {"metric_r_transnum", Source::field, 1},
    {"metric_r_high", Source::field, 2},
    {"metric_r_ot", Source::field, 3},
    {"metric_r_con", Source::field, 4},
    {"metric_r_dis", Source::field, 5},
    {"metric_r_bw_max", Source::field, 6},
    {"metric_r_latency_max", Source::field, 7, 16, 0xFFFF},
    {"metric_r_latency_min", Source::field, 7, 0, 0xFFFF},
    {"metric_r_ot_max", Source::field, 8, 16, 0xFF},
    {"metric_r_ot_min", Source::field, 8, 0, 0xFFFF},
};

constexpr Column read_slot[] = {{"slot_araddr", Source::read_slot}};

template <size_t count>
constexpr Columns from(const Column (&columns)[count], uint8_t first_word) {
  return {columns, count, first_word};
}

// Columns that show no field of the record say 0 here.
constexpr Columns type1_columns[] = {
    from(time_column, 0), from(active, 0), from(counts, 1),
    from(state, 0),       from(writes, 5), from(write_high_after_tab, 16),
    from(write_slot, 0),  from(reads, 17), from(read_slot, 0),
};

constexpr Columns type2_columns[] = {
    from(time_column, 0),
    from(read_counts, 0),
    from(state, 0),
    from(reads, 2),
};

constexpr Columns type3_columns[] = {
    from(time_column, 0), from(counts, 0),      from(state, 0),
    from(writes, 4),      from(write_high, 15), from(reads, 16),
};

uint64_t slot_address(uint32_t high, uint32_t low) {
  return uint64_t{high & 0xFF} << 32 | low;
}

void print_address(FILE* file, uint64_t address) {
  fprintf(file, "0x%lx", address);
}

void print_value(FILE* file, const Column& column, const uint32_t* words, const uint32_t* record,
                 const Stamp& stamp) {
  const uint32_t slot_high =
      column.source == Source::write_slot || column.source == Source::read_slot
          ? record[slot_high_word]
          : 0;
  switch (column.source) {
    case Source::time:
      fprintf(file, "%d", stamp.time);
      break;
    case Source::one:
      fputc('1', file);
      break;
    case Source::timeout:
      fputc(stamp.timeout ? '1' : '0', file);
      break;
    case Source::field:
      fprintf(file, "%d", static_cast<int>(words[column.word] >> column.shift & column.mask));
      break;
    case Source::write_slot:
      print_address(file, slot_address(slot_high, record[write_slot_word]));
      break;
    case Source::read_slot:
      print_address(file, slot_address(slot_high >> 8, record[read_slot_word]));
      break;
  }
}

// Opens the port's file, does something with every column of its type, and ends the line.
template <typename Each>
void write_line(const char* path, const char* mode, const Layout& layout, Each each) {
  FILE* const file = fopen(path, mode);
  if (file == nullptr) return;
  for (unsigned group = 0; group < layout.count; ++group) {
    const Columns& columns = layout.groups[group];
    for (unsigned i = 0; i < columns.count; ++i) {
      const bool is_first = group == 0 && i == 0;
      each(file, columns.first[i], columns.first_word, is_first);
    }
  }
  fputc('\n', file);
  fclose(file);
}

}  // namespace

const Layout type1_layout = {type1_columns, std::size(type1_columns)};
const Layout type2_layout = {type2_columns, std::size(type2_columns)};
const Layout type3_layout = {type3_columns, std::size(type3_columns)};

void write_row(const Layout& layout, const char* folder, const char* port, const uint32_t* record,
               const Stamp& stamp) {
  char path[PATH_MAX];
  snprintf(path, sizeof path, "%s/%s.dat", folder, port);
  if (stamp.time == 0) {
    write_line(path, "w+", layout, [](FILE* file, const Column& column, unsigned, bool is_first) {
      if (!is_first) fputs("\t ", file);
      fputs(column.name, file);
    });
  }
  if (!stamp.data_update) return;
  write_line(path, "a+", layout,
             [&](FILE* file, const Column& column, unsigned first_word, bool is_first) {
               if (!is_first) fputs(column.separator, file);
               print_value(file, column, record + first_word, record, stamp);
             });
}

}  // namespace zvg::monitor::rq302

using namespace zvg::monitor::rq302;

void zvgMonitorAxi1_to_file_RQ302(const char* port, const uint32_t* record, int time,
                                  int data_update, int timeout, const char* folder) {
  write_row(type1_layout, folder, port, record, {time, data_update != 0, timeout != 0});
}

void zvgMonitorAxi2_to_file_RQ302(const char* port, const uint32_t* record, int time,
                                  int data_update, int timeout, const char* folder) {
  write_row(type2_layout, folder, port, record, {time, data_update != 0, timeout != 0});
}

void zvgMonitorAxi3_to_file_RQ302(const char* port, const uint32_t* record, int time,
                                  int data_update, int timeout, const char* folder) {
  write_row(type3_layout, folder, port, record, {time, data_update != 0, timeout != 0});
}
