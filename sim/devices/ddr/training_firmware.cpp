#include "devices/ddr/training_firmware.h"

#include <algorithm>
#include <cmath>

#include "board/noise.h"
#include "hw/blocks/ddr_phy.h"

namespace zvgsim {

namespace {

using namespace zvg::hw::ddr_phy;

// Messages of two-dimensional training.
enum Identifier : uint32_t {
  eye_row = 0x14001F,
  voltage_span = 0x150002,
  eye_centre = 0x160004,
  write_scan = 0x1E0004,
  lanes_in_use = 0x1F0002,
  read_scan = 0x210004,
};

constexpr int columns = 31;
constexpr int middle = columns / 2;
constexpr int lanes_a_block = 8;
constexpr uint32_t no_edge = 0x80;

// The rows of one edge of a lane's eye. up: 1 for the upper one, -1 for the lower.
TrainingMessage edge(const EyeShape& eye, double centre_x, double centre_y, double size, int up,
                     uint64_t seed, uint64_t key) {
  TrainingMessage message = {eye_row, {}};
  for (int column = 0; column < columns; ++column) {
    // A superellipse: eyes are blunter than ellipses at the sides.
    const double x = std::abs(column - middle - centre_x) / (eye.width * size / 2.0);
    if (x >= 1) {
      message.arguments.push_back(no_edge);
      continue;
    }
    const double opening = std::pow(1 - std::pow(x, 2.4), 0.8);
    const double rough = noise({seed, key, static_cast<uint64_t>(column)}) * 2 - 1;
    const double y = centre_y + up * opening * eye.height * size / 2.0 + rough;
    message.arguments.push_back(static_cast<uint32_t>(std::clamp(std::lround(y), 0L, 127L)));
  }
  return message;
}

void append_eye(std::vector<TrainingMessage>* messages, const TrainingSettings& training,
                unsigned channel, const EyeShape& eye, uint32_t scan) {
  const unsigned lanes = training.channels[channel].lanes;
  messages->push_back({scan, {2, 0, 1, (1u << (lanes + lanes_a_block - 1) / lanes_a_block) - 1}});
  messages->push_back({voltage_span, {0, 127}});
  for (unsigned lane = 0; lane < lanes; ++lane) {
    const uint64_t key = (uint64_t{channel} << 32 | scan) ^ uint64_t { lane } << 8;
    const auto chance = [&](uint64_t which) { return noise({training.seed, key, which}) * 2 - 1; };
    const double x = chance(100) * 1.2;
    const double y = eye.centre + chance(101) * 2.5;
    const double size = 1 + 0.08 * chance(102);
    messages->push_back(edge(eye, x, y, size, 1, training.seed, key + 1));
    messages->push_back(edge(eye, x, y, size, -1, training.seed, key + 2));
    messages->push_back(
        {eye_centre,
         {lane / lanes_a_block, lane % lanes_a_block, static_cast<uint32_t>(std::lround(32 + x)),
          static_cast<uint32_t>(std::lround(y))}});
  }
}

}  // namespace

std::vector<TrainingMessage> training_messages(const TrainingSettings& training, unsigned channel) {
  const TrainingChannelSettings& config = training.channels[channel];
  std::vector<TrainingMessage> messages;
  messages.push_back({lanes_in_use, {0xFF, 0xFF}});
  append_eye(&messages, training, channel, config.read_eye, read_scan);
  append_eye(&messages, training, channel, config.write_eye, write_scan);
  return messages;
}

TrainingMailbox::TrainingMailbox(const TrainingSettings& training, unsigned channel,
                                 VirtualClock& clock)
    : clock_(clock),
      gap_(microseconds(training.gap_us)),
      endless_(training.endless),
      messages_(training.channels[channel].messages ? *training.channels[channel].messages
                                                    : training_messages(training, channel)) {}

bool TrainingMailbox::word_waits() const {
  return message_ < messages_.size() && word_ < messages_[message_].arguments.size() + 2 &&
         clock_.now() >= ready_at_;
}

uint32_t TrainingMailbox::word(bool high) const {
  const TrainingMessage& message = messages_[message_];
  if (word_ == 0) return high ? 0 : message_marker;
  const uint32_t whole = word_ == 1 ? message.id : message.arguments[word_ - 2];
  if (word_ == 1) return high ? whole >> 16 : whole & 0xFFFF;
  return high ? 0 : whole;
}

std::optional<uint32_t> TrainingMailbox::read(uint32_t offset) {
  switch (offset) {
    case mailbox_status:
      return word_waits() ? 0 : status_empty;
    case word_low:
    case word_high:
      return word_waits() ? word(offset == word_high) : 0;
    default:
      return std::nullopt;
  }
}

void TrainingMailbox::write(uint32_t offset, uint32_t value) {
  if (offset != acknowledge || message_ >= messages_.size()) return;
  if (value == word_taken) {
    if (word_waits()) ++word_;
    return;
  }
  // The host is done with a burst; it also says so when there was none.
  if (word_ < messages_[message_].arguments.size() + 2) return;
  word_ = 0;
  ready_at_ = clock_.now() + gap_;
  if (++message_ == messages_.size() && endless_) message_ = 0;
}

}  // namespace zvgsim
