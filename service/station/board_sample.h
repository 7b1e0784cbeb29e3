// Everything about a board that moves, measured once.
#ifndef ZVG_SERVICE_STATION_BOARD_SAMPLE_H
#define ZVG_SERVICE_STATION_BOARD_SAMPLE_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "service/board/board.h"
#include "service/power/clock_block.h"
#include "service/power/power_chips.h"
#include "service/power/sensors.h"

namespace zvg {

struct VideoMemory {
  uint32_t used;
  uint32_t free;
};

// What could not be measured is missing, and the first reason why is in trouble.
struct BoardSample {
  std::string time;
  std::optional<std::array<int, clock_count>> mhz;
  std::optional<DieReadings> die;
  std::optional<double> fan_percent;
  std::vector<std::pair<unsigned, int>> loads;  // engine, per cent; engines that are there
  std::optional<VideoMemory> memory;
  std::vector<Rail> rails;
  std::string trouble;
  bool access_failed = false;  // something that is there did not answer
};

// An engine's load in per cent; nothing for one that is not there. The driver knows.
std::optional<int> engine_load(unsigned engine);

// monitors: the power-monitor chips; may be none.
BoardSample sample_board(Board& board, const std::vector<PowerMonitor>& monitors);

Json to_json(const BoardSample& sample);

// A line of comma-separated values with its line feed, and the line of names above it. The columns
// are those that the sample has.
std::string csv_header(const BoardSample& sample);
std::string csv_line(const BoardSample& sample);

}  // namespace zvg

#endif  // ZVG_SERVICE_STATION_BOARD_SAMPLE_H
