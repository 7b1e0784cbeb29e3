#include "devices/video/video_capture.h"

namespace zvgsim {

namespace {

constexpr uint8_t capture_on = 0x01;
// A frame has gone by, interlaced at 25 Hz.
constexpr uint64_t measuring_time = milliseconds(40);

}  // namespace

uint8_t VideoCapture::measured(uint32_t offset) const {
  const unsigned number = (offset - first) / stride;
  const Port& port = ports_[number];
  const auto& input = board_.config().video[number];
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

}  // namespace zvgsim
