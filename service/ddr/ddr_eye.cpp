#include "service/ddr/ddr_eye.h"

#include <algorithm>

namespace zvg {

void Eye::add(std::span<const uint32_t, columns> values) {
  for (int column = 0; column < columns; ++column) {
    const auto row = zvg::formats::training::voltage_step(values[static_cast<size_t>(column)]);
    if (!row) continue;
    ++counts_[index(column, *row)];
    lowest_ = std::min<int>(lowest_, *row);
    highest_ = std::max<int>(highest_, *row);
  }
}

uint32_t Eye::highest_count() const {
  return *std::max_element(counts_.begin(), counts_.end());
}

bool Eye::is_between(int column, int row) const {
  if (row <= lowest_ || row >= highest_ || count(column, row) != 0) return false;
  bool below = false;
  bool above = false;
  for (int other = lowest_; other <= highest_; ++other) {
    if (count(column, other) == 0) continue;
    (other < row ? below : above) = true;
  }
  return below && above;
}

void Eye::fill(int column, int row, Opening* opening) const {
  std::vector<std::pair<int, int>> left = {{column, row}};
  while (!left.empty()) {
    const auto [x, y] = left.back();
    left.pop_back();
    if (x < 0 || x >= columns || !is_between(x, y) || opening->contains(x, y)) continue;
    opening->area.set(index(x, y));
    left.insert(left.end(), {{x - 1, y}, {x + 1, y}, {x, y - 1}, {x, y + 1}});
  }
}

Eye::Opening Eye::opening() const {
  Opening best;
  int first = 0;
  for (int row = lowest_; row <= highest_; ++row) {
    if (!is_between(middle, row)) continue;
    if (!is_between(middle, row - 1)) first = row;
    if (!best.open || row - first > best.last_row - best.first_row) {
      best.open = true;
      best.first_row = first;
      best.last_row = row;
    }
  }
  if (!best.open) return best;
  const int centre = best.centre_row();
  fill(middle, centre, &best);
  best.first_column = best.last_column = middle;
  while (best.first_column > 0 && best.contains(best.first_column - 1, centre)) --best.first_column;
  while (best.last_column < columns - 1 && best.contains(best.last_column + 1, centre)) {
    ++best.last_column;
  }
  return best;
}

}  // namespace zvg
