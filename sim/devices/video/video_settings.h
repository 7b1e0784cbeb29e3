// What is connected to the live video inputs.
#ifndef ZVGSIM_DEVICES_VIDEO_VIDEO_SETTINGS_H
#define ZVGSIM_DEVICES_VIDEO_VIDEO_SETTINGS_H

#include <array>
#include <cstdint>
#include <optional>

#include "board/board_config.h"

namespace zvgsim {

class FileTable;

constexpr unsigned video_inputs = 2;

// A video decoder on a capture port, and the picture that it is fed.
struct VideoInputSettings {
  unsigned bus = 0;
  uint8_t address = 0x24;
  uint32_t width = 720;
  uint32_t height = 480;
};

struct VideoSettings {
  std::array<std::optional<VideoInputSettings>, video_inputs> port;
};

void read_video(FileTable& root, BoardConfig& config);

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_VIDEO_VIDEO_SETTINGS_H
