// Zoom video: live input from a video decoder through a capture port into an overlay window.
#include <errno.h>
#include <stdio.h>
#include <unistd.h>

#include "core/chip.h"
#include "hw/blocks/video_capture.h"
#include "util_zvg.h"

namespace {

using namespace zvg::hw::video_capture;

constexpr uint32_t decoder_channels = 4;

constexpr uint32_t set_up_for_window_a = 0x510;
constexpr uint32_t set_up_for_window_b = 0x610;

constexpr uint32_t capture_address = 0x4000000;
constexpr uint32_t capture_address_stride = 0x1000000;
constexpr uint32_t second_capture = 0x800000;

constexpr uint32_t shown_address = 0x10000000;
constexpr uint32_t shown_address_stride = 0x4000000;
constexpr uint32_t second_shown = 0x2000000;

// Where an overlay window has its registers.
struct Window {
  uint32_t frame_0, frame_1;  // in units of 4 bytes
  uint32_t control, position, size, alpha, colour_key;
};

Window window(uint32_t number) {
  const zvg::hw::Chip& chip = zvg::core::chip();
  const uint32_t frames = chip.overlay_frames.base(number);
  const uint32_t base = chip.overlay_windows.base(number);
  return {frames + frame_0,   frames + frame_1,    base + window_control,   base + window_position,
          base + window_size, base + window_alpha, base + window_colour_key};
}

constexpr uint32_t window_a = 0;
constexpr uint32_t window_b = 1;

constexpr useconds_t capture_settle_us = 100'000;

// The decoder's address on its I2C channel, fixed by a pin.
constexpr uint32_t decoder_address = 0x24;
constexpr uint32_t decoder_alternate_address = 0x25;
// By port, from its set-up on.
uint32_t g_decoder_address[ports];

// Register 20 keeps what the decoder comes up with.
constexpr struct {
  uint8_t reg;
  uint8_t value;
} decoder_set_up[] = {
    {2, 0xC0},  {3, 0x33},  {3, 0x34},  {4, 0x00},  {5, 0x00},  {6, 0xEB},  {7, 0xE0},  {8, 0x88},
    {9, 0x01},  {10, 0x80}, {11, 0x47}, {12, 0x40}, {13, 0x00}, {14, 0x01}, {15, 0x00}, {16, 0x40},
    {17, 0x0C}, {18, 0x00}, {19, 0x00}, {21, 0x00}, {22, 0x00}, {23, 0x00},
};

uint32_t capture(uint32_t port, CaptureOffset reg) {
  return zvg::core::chip().capture_ports.base(port) + reg;
}

constexpr uint32_t shown(uint32_t port) {
  return shown_address + port * shown_address_stride;
}

uint32_t read(uint32_t address) {
  uint32_t value = 0;
  zvgRegReadLong(address, &value);
  return value;
}

uint32_t halves(uint32_t low, uint32_t high) {
  return high << half_bits | low;
}

// A format of 1 to 3 in its place; anything else selects 0.
uint32_t format_bits(int format, unsigned shift) {
  return format >= 1 && format <= 3 ? static_cast<uint32_t>(format) << shift : 0;
}

// Turns a port's capture and the windows that it is shown in on or off.
int switch_port(int port, bool on) {
  const auto switched = [on](uint32_t word, uint32_t bit) { return on ? word | bit : word & ~bit; };
  const uint32_t at = capture(static_cast<uint32_t>(port), capture_control);
  const uint32_t control = switched(read(at), capture_on);
  zvgRegWriteLong(at, control);
  constexpr struct {
    uint32_t used;
    uint32_t window;
  } windows[] = {{uses_window_a, window_a}, {uses_window_b, window_b}};
  for (const auto& [used, number] : windows) {
    if ((control & used) == 0) continue;
    const uint32_t shown_at = window(number).control;
    zvgRegWriteLong(shown_at, switched(read(shown_at), window_on));
  }
  return 0;
}

}  // namespace

int zvgZoomVideoInit(uint32_t port, uint32_t i2c_channel, int alternate_address, int use_window_b) {
  if (port >= ports || i2c_channel >= decoder_channels) {
    puts("Zoom video error: invalid argument");
    return -EINVAL;
  }
  g_decoder_address[port] = alternate_address != 0 ? decoder_alternate_address : decoder_address;
  for (const auto& [reg, value] : decoder_set_up) {
    zvgI2cWriteByte(i2c_channel, g_decoder_address[port], reg, value);
  }
  const uint32_t buffer = capture_address + port * capture_address_stride;
  zvgRegWriteLong(capture(port, capture_buffer_0), buffer);
  zvgRegWriteLong(capture(port, capture_buffer_1), buffer + second_capture);

  const Window shown_in = window(use_window_b != 0 ? window_b : window_a);
  zvgRegWriteLong(capture(port, capture_control),
                  use_window_b != 0 ? set_up_for_window_b : set_up_for_window_a);
  zvgRegWriteLong(shown_in.frame_0, buffer);
  zvgRegWriteLong(shown_in.frame_1, buffer + second_capture);
  zvgRegWriteLong(shown_in.alpha, 0xFF);
  zvgRegWriteLong(shown_in.colour_key, 0);
  return 0;
}

int zvgZoomVideoStart(int port, uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                      uint32_t offset, int format_a, int format_b, uint32_t flag) {
  const uint32_t number = static_cast<uint32_t>(port);
  const uint32_t control = read(capture(number, capture_control)) | capture_on;
  zvgRegWriteLong(capture(number, capture_control), control);
  usleep(capture_settle_us);
  if ((control & (uses_window_a | uses_window_b)) == 0) return 0;

  const Window shown_in = window((control & uses_window_a) != 0 ? window_a : window_b);
  zvgRegWriteLong(shown_in.position, halves(x, y));
  zvgRegWriteLong(shown_in.size, halves(width, height));
  zvgRegWriteLong(shown_in.frame_0, (2 * offset + shown(number)) / 4);
  zvgRegWriteLong(shown_in.frame_1, (2 * offset + shown(number) + second_shown) / 4);
  const uint32_t source = read(capture(number, capture_source_size));
  zvgRegWriteLong(shown_in.control, (source & window_source) << window_source_shift |
                                        format_bits(format_a, window_format_a_shift) |
                                        format_bits(format_b, window_format_b_shift) |
                                        (flag != 0 ? 1u << window_flag_shift : 0) |
                                        window_constant);
  return 0;
}

int zvgZoomVideoStop(int port) {
  return switch_port(port, false);
}

int zvgZoomVideoRestart(int port) {
  return switch_port(port, true);
}

int zvgZoomVideoGetParm(int port, uint32_t* x, uint32_t* y, uint32_t* width, uint32_t* height,
                        uint32_t* offset, uint32_t* format_a, uint32_t* format_b, uint32_t* flag,
                        uint32_t* source_width, uint32_t* source_height) {
  const auto store = [](uint32_t* output, uint32_t value) {
    if (output != nullptr) *output = value;
  };
  const uint32_t number = static_cast<uint32_t>(port);
  const uint32_t source = read(capture(number, capture_source_size));
  store(source_width, source & low_half);
  store(source_height, source >> half_bits);
  // Window B needs no bit of its own here, unlike at the start.
  const uint32_t capture_word = read(capture(number, capture_control));
  const Window shown_in = window((capture_word & uses_window_a) != 0 ? window_a : window_b);
  const uint32_t position = read(shown_in.position);
  store(x, position & low_half);
  store(y, position >> half_bits);
  const uint32_t size = read(shown_in.size);
  store(width, size & low_half);
  store(height, size >> half_bits);
  store(offset, (read(shown_in.frame_0) * 4 - shown(number)) / 2);
  const uint32_t control = read(shown_in.control);
  store(format_a, control >> window_format_a_shift & window_format);
  store(format_b, control >> window_format_b_shift & window_format);
  store(flag, control >> window_flag_shift & 1);
  return 0;
}
