// The eyes that DDR training draws: how often each voltage step was met in each delay step.
#ifndef ZVG_SERVICE_DDR_DDR_EYE_H
#define ZVG_SERVICE_DDR_DDR_EYE_H

#include <array>
#include <bitset>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "formats/training/message.h"

namespace zvg {

class Eye {
 public:
  static constexpr int columns = zvg::formats::training::eye_columns;  // delay steps
  static constexpr int rows = zvg::formats::training::eye_rows;        // voltage steps
  static constexpr int middle = columns / 2;

  // One row of a scan: the voltage step that each delay step's edge was found at; from 128 on none.
  void add(std::span<const uint32_t, columns> values);

  uint32_t count(int column, int row) const { return counts_[index(column, row)]; }
  uint32_t highest_count() const;
  bool empty() const { return lowest_ > highest_; }
  // The first and the last voltage step that was met.
  int lowest() const { return lowest_; }
  int highest() const { return highest_; }

  // What lies between the edges of all lanes: the widest span of voltage steps that no edge meets
  // in the middle delay step, the delay steps around it that are open at its centre, and all that
  // is connected with it.
  struct Opening {
    bool open = false;
    int first_row = 0, last_row = 0;        // open rows in the middle column
    int first_column = 0, last_column = 0;  // open columns at the centre row
    int height() const { return open ? last_row - first_row + 1 : 0; }
    int width() const { return open ? last_column - first_column + 1 : 0; }
    int centre_row() const { return (first_row + last_row) / 2; }
    bool contains(int column, int row) const { return area[index(column, row)]; }

    std::bitset<size_t{columns} * rows> area;
  };
  Opening opening() const;

 private:
  // Whether the point lies between edges of its column, and is met by none.
  bool is_between(int column, int row) const;
  void fill(int column, int row, Opening* opening) const;

  static size_t index(int column, int row) {
    return static_cast<size_t>(column) * rows + static_cast<size_t>(row);
  }

  std::array<uint32_t, size_t{columns} * rows> counts_{};
  int lowest_ = rows;
  int highest_ = -1;
};

// What was heard from one channel.
struct ChannelEyes {
  unsigned channel = 0;
  // It fell silent behind both eyes, and the firmware reported no failure.
  bool complete = false;
  std::string shortfall;  // why not; empty when complete
  Eye read;
  Eye write;
  std::vector<std::string> messages;  // what the firmware said, but for the eyes' rows
};

}  // namespace zvg

#endif  // ZVG_SERVICE_DDR_DDR_EYE_H
