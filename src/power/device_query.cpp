// A text report of what the driver knows about the device, item by item.
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <iterator>

#include "util_zvg.h"

namespace zvg::power {

namespace {

constexpr char token_delimiters[] = " ,\t\r\n";

// A scan that was begun and is at its end. The load item goes on with the caller's strtok scan,
// which must be defined for a caller who never began one: strtok then reads through a null pointer.
[[gnu::constructor]] void begin_token_scan() {
  static char nothing[] = "";
  strtok(nothing, token_delimiters);
}

// The report as it grows in the caller's buffer.
class Report {
 public:
  explicit Report(char* text) : begin_(text), end_(text) {}

  [[gnu::format(printf, 2, 3)]] void add(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    end_ += vsprintf(end_, format, arguments);
    va_end(arguments);
  }

  bool empty() const { return end_ == begin_; }

 private:
  char* const begin_;
  char* end_;
};

// What an item asks, and how it is written.
struct Item {
  const char* word;
  bool (*selects)(const char* keyword, const char* word);
  void (*report)(Report& report, const Item& item);
  unsigned key;
  const char* format;
};

// Ways to select an item ----------------------------------------------------------------------

// Any beginning of the word. One character more is compared, so that a longer keyword differs.
bool beginning(const char* keyword, const char* word) {
  return strncmp(keyword, word, std::min(strlen(keyword), strlen(word) + 1)) == 0;
}

bool whole(const char* keyword, const char* word) {
  return strcmp(keyword, word) == 0;
}

bool continued(const char* keyword, const char* word) {
  return strncmp(keyword, word, strlen(word)) == 0;
}

// Ways to report it ---------------------------------------------------------------------------

// A failed query leaves the input, which is then reported as it stands.
uint32_t ask(unsigned key, uint32_t input = 0) {
  zvgQueryInt(key, &input);
  return input;
}

struct Text {
  char bytes[128 + 1] = {};  // an answer, and an end for one that fills it

  explicit Text(unsigned key) { zvgQueryOperate(static_cast<int>(key), bytes); }
};

void number(Report& report, const Item& item) {
  report.add(item.format, ask(item.key));
}

void text(Report& report, const Item& item) {
  report.add(item.format, Text(item.key).bytes);
}

void gop_version(Report& report, const Item& item) {
  const Text version(item.key);
  if (version.bytes[0] == '\0') {
    report.add("Query GOP Version Error\n");
  } else {
    report.add(item.format, version.bytes);
  }
}

void channels(Report& report, const Item& item) {
  static constexpr struct {
    uint32_t mask;
    const char* list;
  } lists[] = {{2, "2\n"}, {3, "1 2\n"}, {12, "3 4\n"}, {15, "1 2 3 4\n"}};
  const uint32_t mask = ask(item.key);
  const auto* const found = std::find_if(std::begin(lists), std::end(lists),
                                         [mask](const auto& entry) { return entry.mask == mask; });
  report.add(item.format, found != std::end(lists) ? found->list : "1\n");
}

void video_memory(Report& report, const Item& item) {
  zvg_info info = {};
  if (zvgInfoRead(&info) != 0) {
    report.add("Query Varm_info error\n");
    return;
  }
  // Both operands wrap at 32 bits. Nothing used of nothing is no number and no rate.
  const double rate = static_cast<double>(info.used * 10000) / (info.used + info.free);
  if (rate > 0) {
    report.add(item.format, rate / 100);
  } else {
    report.add("hardware get error!\n");
  }
}

// Four times the memory's frequency.
void bandwidth(Report& report, const Item& item) {
  report.add(item.format, ask(item.key) * 4);
}

// The word after the keyword, where the caller splits its command line, names one engine.
void load(Report& report, const Item& item) {
  constexpr int engines = 21;
  if (const char* const engine = strtok(nullptr, token_delimiters); engine != nullptr) {
    const auto n = static_cast<int>(strtol(engine, nullptr, 10));
    const auto value = static_cast<int>(ask(item.key, static_cast<uint32_t>(n)));
    if (value < 0) report.add("Query load[%d] is null\n", n);
    report.add(item.format, n, value);
    return;
  }
  for (int n = 0; n < engines; ++n) {
    const auto value = static_cast<int>(ask(item.key, static_cast<uint32_t>(n)));
    if (value >= 0) report.add(item.format, n, value);
  }
}

// In the order of the report. Three lines have a full-width colon.
constexpr Item items[] = {
    {"ID", beginning, number, ZVG_QUERY_DEVICE_ID, "Query DEVICE ID: 0x%x\n"},
    {"AXI", beginning, number, ZVG_QUERY_AXI_CLOCK, "Query AXI Frequency: %d\n"},
    {"VPU", beginning, number, ZVG_QUERY_VPU_CLOCK, "Query VPU Frequency: %d\n"},
    {"3D", beginning, number, ZVG_QUERY_3D_CLOCK, "Query 3D Frequency: %d\n"},
    {"2D", beginning, number, ZVG_QUERY_2D_CLOCK, "Query 2D Frequency: %d\n"},
    {"DDR", beginning, number, ZVG_QUERY_DDR_CLOCK, "Query DDR Frequency: %d\n"},
    {"3DCORE", whole, number, ZVG_QUERY_3D_CORES, "Query 3D Core: %d\n"},
    {"2DCORE", whole, number, ZVG_QUERY_2D_CORES, "Query 2D Core: %d\n"},
    {"GOP", beginning, gop_version, ZVG_QUERY_GOP_VERSION, "Query GOP: %s\n"},
    {"CARD", beginning, number, ZVG_QUERY_CARDS, "Query Card Num: %d\n"},
    {"CHANNEL", beginning, channels, ZVG_QUERY_CHANNEL_MASK, "Query Channel: %s"},
    {"VRAM", beginning, video_memory, 0, "Query vram used rate is\uFF1A%4.2f%%\n"},
    {"BANDWIDTH", beginning, bandwidth, ZVG_QUERY_DDR_CLOCK, "Query bandwidth\uFF1A%dMbps\n"},
    {"LOAD", continued, load, ZVG_QUERY_ENGINE_LOAD, "Query load[%d]\uFF1A%d%%\n"},
    {"FIRMWARE", beginning, text, ZVG_QUERY_FIRMWARE_VERSION, "Query firmware: %s\n"},
};

}  // namespace

}  // namespace zvg::power

int zvgQueryInfo(const char* keyword, char* buffer) {
  using namespace zvg::power;
  const bool everything = keyword == nullptr || *keyword == '\0';
  Report report(buffer);
  for (const Item& item : items) {
    if (everything || item.selects(keyword, item.word)) item.report(report, item);
  }
  return report.empty() ? -1 : 0;
}
