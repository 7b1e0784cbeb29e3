#include "devices/video/video_capture.h"

#include <memory>

#include "devices/i2c/i2c_registers.h"

namespace zvgsim {

namespace {

using zvg::hw::video_capture::capture_on;
// A frame has gone by, interlaced at 25 Hz.
constexpr uint64_t measuring_time = milliseconds(40);

}  // namespace

uint8_t VideoCapture::measured(uint32_t offset) const {
  const unsigned number = (offset - first) / stride;
  const Port& port = ports_[number];
  const auto& input = settings_.port[number];
  if (!input || !port.captures || board_.clock().now() - port.since < measuring_time) return 0;
  const uint32_t word = input->height << 16 | input->width;
  return static_cast<uint8_t>(word >> 8 * (offset % 4));
}

void VideoCapture::written(uint32_t offset, uint8_t value) {
  if (offset < first || offset >= end || offset % stride != 0) return;
  Port& port = ports_[(offset - first) / stride];
  const bool captures = (value & capture_on) != 0;
  if (captures && !port.captures) port.since = board_.clock().now();
  port.captures = captures;
}

namespace {

// The decoders. The VGA registers hold the ports.
void place(Board& board) {
  for (const auto& input : board.config().of<VideoSettings>().port) {
    if (input) board.i2c(input->bus).attach(std::make_unique<I2cMemory>(input->address));
  }
}

}  // namespace

Model video_model() {
  return {.read = read_video, .place = place};
}

}  // namespace zvgsim
