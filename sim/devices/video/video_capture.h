// The two live video inputs, as their capture registers show them.
#ifndef ZVGSIM_DEVICES_VIDEO_VIDEO_CAPTURE_H
#define ZVGSIM_DEVICES_VIDEO_VIDEO_CAPTURE_H

#include <array>
#include <cstdint>

#include "board/board.h"
#include "devices/video/video_settings.h"
#include "hw/blocks/video_capture.h"

namespace zvgsim {

// Part of the VGA block: offsets count from its base. A capture port measures the picture that its
// decoder delivers while it captures; the other registers of ports and windows keep what is
// written.
class VideoCapture {
 public:
  explicit VideoCapture(Board& board)
      : board_(board), settings_(board.config().of<VideoSettings>()) {}

  // Whether the register is the measured size of a port's source.
  static bool is_measured(uint32_t offset) {
    return offset >= first && offset < end && offset % stride >= size_register;
  }
  uint8_t measured(uint32_t offset) const;
  void written(uint32_t offset, uint8_t value);

 private:
  static constexpr uint32_t first =
      zvg::hw::common::capture_ports.first - zvg::hw::common::vga.first;
  static constexpr uint32_t stride = zvg::hw::common::capture_ports.stride;
  static constexpr uint32_t end = first + video_inputs * stride;
  static constexpr uint32_t size_register = zvg::hw::video_capture::capture_source_size;

  Board& board_;
  const VideoSettings& settings_;
  struct Port {
    bool captures = false;
    uint64_t since = 0;
  };
  std::array<Port, video_inputs> ports_{};
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_VIDEO_VIDEO_CAPTURE_H
