#include "monitor/rq301_summary.h"

#include <stdio.h>

#include <span>

#include "util_zvg.h"

namespace zvg::monitor {

namespace {

constexpr char summary_file[] = "axiMonitorData";

// A line: its label, and the field of a record word that it shows.
struct Line {
  const char* label;
  uint8_t word;
  uint8_t shift;
  uint32_t mask;
};

constexpr uint32_t every_bit = 0xFFFFFFFF;

constexpr Line active[] = {{"active的总cycle数: ", 0, 0, every_bit}};

constexpr Line read_active[] = {{"读active的总cycle数: ", 0, 0, every_bit}};

// One colon of all is full-width.
constexpr Line writes[] = {
    {"写active的总cycle数：", 0, 0, every_bit},
    {"写交易总延时: ", 1, 0, every_bit},
    {"写交易总trans次数: ", 2, 0, every_bit},
    {"写数据总字节数: ", 3, 0, every_bit},
    {"写outstanding累计数: ", 4, 8, every_bit},
    {"写交易次数: ", 4, 0, 0xFF},
    {"完整写数据（wstrb全F）的次数: ", 5, 8, 0xFFFF},
    {"不完整写数据（wstrb非全0）的次数: ", 5, 0, 0xFF},
    {"burst的交易数: ", 6, 16, 0xFFFF},
    {"single的交易数: ", 6, 0, 0xFFFF},
    {"最大带宽\\吞吐量,在写周期内: ", 7, 0, every_bit},
    {"最大写延时: ", 8, 24, 0xFF},
    {"最小写延时: ", 8, 16, 0xFF},
    {"最大写ot数: ", 8, 8, 0xFF},
    {"最小写ot数: ", 8, 0, 0xFF},
};

constexpr Line reads[] = {
    {"读交易总延时: ", 0, 0, every_bit},
    {"读交易总trans次数: ", 1, 0, every_bit},
    {"读数据(r)cycle数: ", 2, 0, every_bit},
    {"读ot累计数: ", 3, 8, 0xFFFF},
    {"读交易次数: ", 3, 0, 0xFF},
    {"burst的交易数: ", 4, 16, 0xFFFF},
    {"single的交易数: ", 4, 0, 0xFFFF},
};

constexpr Line read_bandwidth[] = {{"最大带宽\\吞吐量,在读周期内: ", 0, 0, every_bit}};

constexpr Line read_extremes[] = {
    {"最大读延时: ", 0, 24, 0xFF},
    {"最小读延时: ", 0, 16, 0xFF},
    {"最大读ot数: ", 0, 8, 0xFF},
    {"最小读ot数: ", 0, 0, 0xFF},
};

void print(FILE* file, std::span<const Line> lines, const uint32_t* words, uint32_t factor = 1) {
  for (const Line& line : lines) {
    const uint32_t value = (words[line.word] >> line.shift & line.mask) * factor;
    fprintf(file, "%s%d\n", line.label, static_cast<int>(value));
  }
}

void print_reads(FILE* file, const uint32_t* words) {
  // Only over the serial link is the maximum shown as it was counted.
  const uint32_t bandwidth_factor = get_s_type() < ZVG_MODE_SERIAL ? 2 : 1;
  print(file, reads, words);
  print(file, read_bandwidth, words + 5, bandwidth_factor);
  print(file, read_extremes, words + 6);
}

}  // namespace

int append_summary(Summary summary, const char* port, const uint32_t* record) {
  FILE* const file = fopen(summary_file, "a+");
  if (file == nullptr) return 0;
  fprintf(file, "\n\t%s:\n", port);
  switch (summary) {
    case Summary::both_directions:
      print(file, active, record);
      print(file, read_active, record + 1);
      print(file, writes, record + 2);
      print_reads(file, record + 11);
      break;
    case Summary::reads:
      print(file, read_active, record);
      print_reads(file, record + 1);
      break;
    case Summary::writes:
      print(file, writes, record);
      break;
  }
  return fclose(file);
}

}  // namespace zvg::monitor

using zvg::monitor::append_summary;
using zvg::monitor::Summary;

int monitorAxi1_to_file(const char* port, const uint32_t* record) {
  return append_summary(Summary::both_directions, port, record);
}

int monitorAxi2_to_file(const char* port, const uint32_t* record) {
  return append_summary(Summary::reads, port, record);
}

int monitorAxi3_to_file(const char* port, const uint32_t* record) {
  return append_summary(Summary::writes, port, record);
}
