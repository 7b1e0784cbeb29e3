#include "zvgctl/pictures/ddr_eye_text.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

// Of the terminal's 256 colours, from little to much.
constexpr int heat_colours[] = {54, 91, 128, 165, 199, 203, 209, 215, 221, 228};
constexpr int open_colour = 236;  // between the edges
constexpr char heat_letters[] = ".:-=+*#%@";

// A line of text stands for two voltage steps, so that a map fits on a screen.
constexpr int rows_a_line = 2;
constexpr int margin_rows = 2;

// A shade from 0 to count - 1. Few hits must be told from none, so that shades go by the logarithm.
int shade(uint32_t hits, uint32_t most, int count) {
  if (most <= 1) return count - 1;
  const double part = std::log(hits) / std::log(most);
  return std::clamp(static_cast<int>(part * (count - 1) + 0.5), 0, count - 1);
}

// What one map shows of its eye.
class Map {
 public:
  Map(const Eye& eye, bool colour)
      : eye_(eye), colour_(colour), opening_(eye.opening()), most_(eye.highest_count()) {}

  std::string line(int top_row) const {
    std::string text;
    for (int column = 0; column < Eye::columns; ++column) {
      text += colour_ ? coloured(column, top_row) : plain(column, top_row);
    }
    return colour_ ? text + "\033[0m" : text;
  }

 private:
  int colour_of(int column, int row) const {
    if (row < 0 || row >= Eye::rows) return -1;
    const uint32_t hits = eye_.count(column, row);
    if (hits > 0) return heat_colours[shade(hits, most_, std::size(heat_colours))];
    return opening_.contains(column, row) ? open_colour : -1;
  }

  // The upper step is the upper half of the character, the lower step its background.
  std::string coloured(int column, int row) const {
    const int upper = colour_of(column, row);
    const int lower = colour_of(column, row - 1);
    if (upper < 0 && lower < 0) return "\033[0m ";
    if (upper < 0) return format("\033[0;38;5;%dm▄", lower);
    if (lower < 0) return format("\033[0;38;5;%dm▀", upper);
    return format("\033[38;5;%d;48;5;%dm▀", upper, lower);
  }

  std::string plain(int column, int row) const {
    uint32_t hits = 0;
    for (int i = 0; i < rows_a_line; ++i) {
      if (row - i >= 0) hits = std::max(hits, eye_.count(column, row - i));
    }
    if (hits == 0) return " ";
    return std::string(1, heat_letters[shade(hits, most_, std::size(heat_letters) - 1)]);
  }

  const Eye& eye_;
  const bool colour_;
  const Eye::Opening opening_;
  const uint32_t most_;
};

const char axis_marks[] = "-15            ▴ delay 0    +15";
const char plain_axis_marks[] = "-15            ^ delay 0    +15";

std::string padded(std::string text, size_t width) {
  text.resize(std::max(text.size(), width), ' ');
  return text;
}

}  // namespace

std::string describe(const Eye& eye) {
  if (eye.empty()) return "nothing was scanned";
  const Eye::Opening opening = eye.opening();
  if (!opening.open) return "closed at the middle delay step";
  return format("%d delay steps wide, %d voltage steps high, centre at voltage %d", opening.width(),
                opening.height(), opening.centre_row());
}

std::string heat_maps(const ChannelEyes& eyes, bool colour) {
  constexpr size_t map_width = Eye::columns;
  const Eye* const both[] = {&eyes.read, &eyes.write};
  int lowest = Eye::rows;
  int highest = -1;
  for (const Eye* eye : both) {
    if (eye->empty()) continue;
    lowest = std::min(lowest, eye->lowest());
    highest = std::max(highest, eye->highest());
  }
  const std::string shortfall = eyes.complete ? "" : " (" + eyes.shortfall + ")";
  std::string text = format("channel %u%s\n", eyes.channel, shortfall.c_str());
  for (const Eye* eye : both) {
    text += format("  %-5s  %s\n", eye == &eyes.read ? "read" : "write", describe(*eye).c_str());
  }
  if (highest < 0) return text;
  // Steps 2n + 1 and 2n share a line, in both maps.
  highest = std::min(highest + margin_rows, Eye::rows - 1) | 1;
  lowest = std::max(lowest - margin_rows, 0) & ~1;
  const Map read(eyes.read, colour);
  const Map write(eyes.write, colour);
  text += "\n     " + padded("read", map_width) + "   write\n";
  for (int row = highest; row > lowest; row -= rows_a_line) {
    text += format("%3d  ", row) + read.line(row) + "   " + write.line(row);
    if (!colour) text.erase(text.find_last_not_of(' ') + 1);
    text += "\n";
  }
  const std::string marks = colour ? axis_marks : plain_axis_marks;
  return text + "     " + marks + "   " + marks + "\n";
}

std::string eyes_csv(const std::vector<ChannelEyes>& channels) {
  std::string text = "channel,eye,voltage";
  for (int column = 0; column < Eye::columns; ++column) {
    text += format(",delay %+d", column - Eye::middle);
  }
  text += "\n";
  for (const ChannelEyes& eyes : channels) {
    for (const Eye* eye : {&eyes.read, &eyes.write}) {
      for (int row = eye->highest(); row >= 0 && row >= eye->lowest(); --row) {
        text += format("%u,%s,%d", eyes.channel, eye == &eyes.read ? "read" : "write", row);
        for (int column = 0; column < Eye::columns; ++column) {
          text += format(",%u", eye->count(column, row));
        }
        text += "\n";
      }
    }
  }
  return text;
}

namespace {

Json eye_json(const Eye& eye) {
  const Eye::Opening opening = eye.opening();
  Json rows = Json::array();
  for (int row = eye.highest(); row >= 0 && row >= eye.lowest(); --row) {
    Json counts = Json::array();
    for (int column = 0; column < Eye::columns; ++column) counts.push_back(eye.count(column, row));
    rows.push_back({{"voltage", row}, {"counts", counts}});
  }
  Json json = {{"open", opening.open}, {"width", opening.width()}, {"height", opening.height()}};
  if (opening.open) json["centre"] = opening.centre_row();
  json["rows"] = rows;
  return json;
}

}  // namespace

Json eyes_json(const std::vector<ChannelEyes>& channels) {
  Json list = Json::array();
  for (const ChannelEyes& eyes : channels) {
    list.push_back({{"channel", eyes.channel},
                    {"complete", eyes.complete},
                    {"shortfall", eyes.complete ? Json() : Json(eyes.shortfall)},
                    {"messages", eyes.messages},
                    {"read", eye_json(eyes.read)},
                    {"write", eye_json(eyes.write)}});
  }
  return list;
}

}  // namespace zvgctl
