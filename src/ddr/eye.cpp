#include "ddr/eye.h"

#include <stdio.h>
#include <unistd.h>

#include "util_zvg.h"

namespace zvg::ddr {

namespace {

using formats::training::eye_columns;
using formats::training::eye_rows;
using formats::training::Scan;

constexpr useconds_t row_pause_us = 100'000;
constexpr unsigned grid_pause_s = 1;

// How often the scans met each row in each column, modulo 256.
struct Grid {
  uint8_t count[eye_columns][eye_rows];
  uint8_t highest;  // the highest row that was met
};

// Never cleared: eyes of several channels, ranks and calls lie on top of one another.
struct {
  Grid read;
  Grid write;
  Scan scan;
} g_eyes;

void print(const char* title, const Grid& grid) {
  puts(title);
  for (int row = grid.highest; row >= 0; --row) {
    for (int column = 0; column < eye_columns; ++column) {
      printf(column == 0 ? "%3d" : " %3d", grid.count[column][row]);
    }
    putchar('\n');
    usleep(row_pause_us);
  }
}

}  // namespace

void begin_scan(Scan scan) {
  g_eyes.scan = scan;
}

void report_eyes() {
  const unsigned write_max = g_eyes.write.highest;
  const unsigned read_max = g_eyes.read.highest;
  printf("set_2d_eye: read_write_f:%d write_max:%d read_max:%d \n", static_cast<int>(g_eyes.scan),
         write_max, read_max);
  if (write_max + read_max > 1) print_2d_eye();
}

}  // namespace zvg::ddr

using namespace zvg::ddr;

void set_2d_eye(const uint32_t* values) {
  Grid& grid = g_eyes.scan == zvg::formats::training::Scan::read ? g_eyes.read : g_eyes.write;
  for (int column = 0; column < zvg::formats::training::eye_columns; ++column) {
    const auto row = zvg::formats::training::voltage_step(values[column]);
    if (!row) continue;
    ++grid.count[column][*row];
    if (*row > grid.highest) grid.highest = *row;
  }
}

void print_2d_eye(void) {
  print("read", g_eyes.read);
  sleep(grid_pause_s);
  puts("\n\n\n\n");
  print("write", g_eyes.write);
}
