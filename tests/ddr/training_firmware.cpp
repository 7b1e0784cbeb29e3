#include "ddr/training_firmware.h"

namespace zvgtest {

namespace {

constexpr uint64_t status = 0x10;
constexpr uint64_t acknowledge = 0xC4;
constexpr uint64_t low_word = 0xC8;
constexpr uint64_t high_word = 0xD0;

}  // namespace

TrainingFirmware::TrainingFirmware(RegisterNode& node, uint32_t phy) : node_(node), phy_(phy) {
  node.on_read = [this](uint64_t offset, uint64_t* value) { return read(offset - phy_, value); };
}

void TrainingFirmware::send(Burst burst) {
  if (bursts_.empty()) acknowledged();  // by a listener that is gone
  bursts_.push_back(std::move(burst));
}

std::optional<uint8_t> TrainingFirmware::acknowledged() {
  const auto written = node_.bytes.find(phy_ + acknowledge);
  if (written == node_.bytes.end()) return std::nullopt;
  const uint8_t value = written->second;
  node_.bytes.erase(written);
  return value;
}

bool TrainingFirmware::read(uint64_t offset, uint64_t* value) {
  // The node keeps what was written; the firmware sees it when it is next asked for something.
  if (const auto written = acknowledged(); written && !bursts_.empty()) {
    if (*written == 0) {
      ++next_;
    } else {
      bursts_.pop_front();
      next_ = 0;
    }
  }
  const bool waiting = !bursts_.empty() && next_ < bursts_.front().size();
  switch (offset) {
    case status:
      *value = 0xFFFFFFFE | (waiting ? 0 : 1);
      return true;
    case low_word:
      *value = waiting ? bursts_.front()[next_].low : 0xBAD;
      return true;
    case high_word:
      *value = waiting ? bursts_.front()[next_].high : 0xBAD;
      return true;
    default:
      return false;
  }
}

}  // namespace zvgtest
