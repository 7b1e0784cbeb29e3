// What a write to the flash needs to be finished after it was cut off.
#ifndef ZVG_SERVICE_FLASH_FLASH_JOURNAL_H
#define ZVG_SERVICE_FLASH_FLASH_JOURNAL_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "service/work.h"

namespace zvg {

// An erase takes whole sectors, neighbours of what is written included: until the write is done, a
// file has what the sectors held before and what they are going to hold.
class FlashJournal {
 public:
  // path: the file; it is there only while a write is unfinished.
  explicit FlashJournal(std::string path) : path_(std::move(path)) {}

  // Throws an Error when the file cannot be written.
  void begin(uint32_t address, std::span<const uint8_t> before, std::span<const uint8_t> after);
  void end();

  // What the sectors held before the unfinished write. Nothing when there is none, or when the
  // flash does not look like in the middle of it: another board, or another place.
  std::optional<std::vector<uint8_t>> before(uint32_t address, std::span<const uint8_t> now,
                                             const Work& work) const;

 private:
  const std::string path_;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_FLASH_FLASH_JOURNAL_H
