// What the firmware that trains the memory tells.
#ifndef ZVGSIM_DEVICES_DDR_TRAINING_SETTINGS_H
#define ZVGSIM_DEVICES_DDR_TRAINING_SETTINGS_H

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "board/board_config.h"

namespace zvgsim {

class FileTable;

struct TrainingMessage {
  uint32_t id;
  std::vector<uint32_t> arguments;
};

// An eye in the middle of 31 delay steps and 128 voltage steps.
struct EyeShape {
  double width;   // columns
  double height;  // rows
  double centre;  // row
};

constexpr unsigned max_training_channels = 4;

struct TrainingChannelSettings {
  std::optional<std::vector<TrainingMessage>> messages;  // instead of a training that goes well
  unsigned lanes = 32;
  EyeShape read_eye = {22, 44, 58};
  EyeShape write_eye = {25, 38, 46};
};

struct TrainingSettings {
  bool enabled = true;
  uint64_t seed = 1;
  unsigned gap_us = 200;  // from a message that the host has taken to the next
  bool endless = false;   // begins again when it is done
  std::array<TrainingChannelSettings, max_training_channels> channels;
};

void read_training(FileTable& root, BoardConfig& config);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_DDR_TRAINING_SETTINGS_H
