// The messages that the training firmware of a DDR PHY sends.
#ifndef ZVG_FORMATS_TRAINING_MESSAGE_H
#define ZVG_FORMATS_TRAINING_MESSAGE_H

#include <stddef.h>
#include <stdint.h>

#include <optional>

namespace zvg::formats::training {

// A message's identifier ends with the number of its arguments.
constexpr uint32_t argument_count(uint32_t id) {
  return id & 0xFF;
}
constexpr unsigned most_arguments = 0xFF;

// What the two-dimensional scans of an eye look for.
enum class Scan : uint16_t { write = 0, read = 1 };

// Messages at the head of a scan. Two of each are in no catalogue of today's firmware.
constexpr uint32_t write_scan_ids[] = {0x1D0004, 0x1E0004, 0x270004, 0x280004};
constexpr uint32_t read_scan_ids[] = {0x200004, 0x210004, 0x240004, 0x250004};

// The scan that the rows behind this message belong to; none of any other message.
constexpr std::optional<Scan> scan_begun_by(uint32_t id) {
  for (const uint32_t one : write_scan_ids) {
    if (one == id) return Scan::write;
  }
  for (const uint32_t one : read_scan_ids) {
    if (one == id) return Scan::read;
  }
  return std::nullopt;
}

// A row of a scan. Its arguments: for each delay step the voltage step that an edge was found at.
constexpr uint32_t eye_row_id = 0x14001F;
constexpr int eye_columns = 31;  // delay steps
constexpr int eye_rows = 128;    // voltage steps

// The voltage step that an argument of a row stands for: its low byte. None when no edge was found.
constexpr std::optional<uint8_t> voltage_step(uint32_t argument) {
  const auto step = static_cast<uint8_t>(argument);
  if (step >= eye_rows) return std::nullopt;
  return step;
}

// Puts messages together from the words of one channel's mailbox.
class Message {
 public:
  uint32_t id() const { return id_; }
  // argument_count(id()) of them when it is complete.
  const uint32_t* arguments() const { return arguments_; }
  bool complete() const { return id_ != 0 && all_collected(); }

  // Takes the next word, in two halves of 16 bits; arguments have all 32 bits in the lower one.
  void take(uint32_t low, uint32_t high);

 private:
  bool all_collected() const { return collected_ >= expected_; }

  uint32_t id_ = 0;
  uint32_t expected_ = 0;
  uint32_t collected_ = 0;  // words beyond the last argument are counted, and dropped
  uint32_t arguments_[most_arguments] = {};
};

}  // namespace zvg::formats::training

#endif  // ZVG_FORMATS_TRAINING_MESSAGE_H
