// The training firmware of one DDR channel, seen through its mailbox.
#ifndef TESTS_DDR_TRAINING_FIRMWARE_H
#define TESTS_DDR_TRAINING_FIRMWARE_H

#include <cstdint>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

#include "support/recorded_platform.h"

namespace zvgtest {

struct Word {
  uint32_t low;
  uint32_t high = 0;
};
using Burst = std::vector<Word>;

constexpr Word marker = {8};

inline Word opening(uint32_t id) {
  return {id & 0xFFFF, id >> 16};
}

// A whole message in a burst of its own.
inline Burst message(uint32_t id, const std::vector<uint32_t>& arguments = {}) {
  Burst burst = {marker, opening(id)};
  for (const uint32_t argument : arguments) burst.push_back({argument});
  return burst;
}

// Hands its bursts over, word by word, through the registers of a node. A burst begins once the
// host is done with the one before; an empty one is a poll that finds nothing.
class TrainingFirmware {
 public:
  TrainingFirmware(RegisterNode& node, uint32_t phy);

  void send(Burst burst);

 private:
  // The value that was last written to the acknowledge register, and forgets it.
  std::optional<uint8_t> acknowledged();
  bool read(uint64_t offset, uint64_t* value);

  RegisterNode& node_;
  const uint32_t phy_;
  std::deque<Burst> bursts_;
  size_t next_ = 0;
};

}  // namespace zvgtest

#endif  // TESTS_DDR_TRAINING_FIRMWARE_H
