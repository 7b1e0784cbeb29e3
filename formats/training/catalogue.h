// Looking identifiers up in a catalogue of messages.
#ifndef ZVG_FORMATS_TRAINING_CATALOGUE_H
#define ZVG_FORMATS_TRAINING_CATALOGUE_H

#include <stdint.h>

#include <span>

namespace zvg::formats::training {

struct Lookup {
  uint32_t position;  // of the record; the catalogue's size when there is none
  uint32_t last_id;   // of the record that was compared last
};

// A binary search that narrows the records to two neighbours and looks at those. It finds records
// whose identifiers ascend, and may miss others. records: at least one, of a type with an `id`.
template <typename Record>
constexpr Lookup look_up(std::span<const Record> records, uint32_t id) {
  const auto count = static_cast<uint32_t>(records.size());
  uint32_t low = 0;
  uint32_t high = count;
  while (high - low > 1) {
    const uint32_t middle = (low + high) / 2;
    if (records[middle].id == id) return {middle, id};
    (records[middle].id < id ? low : high) = middle;
  }
  // The upper neighbour of the last record is none.
  if (high < count && records[high].id == id) return {high, id};
  const uint32_t last = records[low].id;
  return {last == id ? low : count, last};
}

}  // namespace zvg::formats::training

#endif  // ZVG_FORMATS_TRAINING_CATALOGUE_H
