// The firmware that trains the memory of a DDR channel, as far as the host sees it: the mailbox
// that its messages come through.
#ifndef ZVGSIM_DEVICES_DDR_TRAINING_FIRMWARE_H
#define ZVGSIM_DEVICES_DDR_TRAINING_FIRMWARE_H

#include <cstdint>
#include <optional>
#include <vector>

#include "board/virtual_clock.h"
#include "devices/ddr/training_settings.h"

namespace zvgsim {

// The messages of a training that goes well: what is scanned, and an eye of two edges for each
// lane, first read, then write.
std::vector<TrainingMessage> training_messages(const TrainingSettings& training, unsigned channel);

// Every message is a burst of words: a marker, the identifier, the arguments. The first waits from
// power-up on; each further one comes some time after the host is done with the one before.
class TrainingMailbox {
 public:
  TrainingMailbox(const TrainingSettings& training, unsigned channel, VirtualClock& clock);

  // The mailbox's registers, by their offset in the PHY; nothing for any other.
  std::optional<uint32_t> read(uint32_t offset);
  void write(uint32_t offset, uint32_t value);

 private:
  bool word_waits() const;
  // The word that waits; high is its upper part.
  uint32_t word(bool high) const;

  VirtualClock& clock_;
  const uint64_t gap_;  // ns
  const bool endless_;
  const std::vector<TrainingMessage> messages_;
  size_t message_ = 0;
  size_t word_ = 0;
  uint64_t ready_at_ = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_DDR_TRAINING_FIRMWARE_H
