// Zoom video: live input from a video decoder through a capture port into an overlay window.
#include <errno.h>
#include <stdio.h>
#include <unistd.h>

#include "util_zvg.h"

namespace {

constexpr uint32_t ports = 2;
constexpr uint32_t decoder_channels = 4;

// Capture port n's registers; the second port's follow the first one's.
constexpr uint32_t capture_base = 0x100C0;
constexpr uint32_t capture_stride = 0x10;
enum CaptureRegister : uint32_t {
  capture_control = 0x0,
  capture_buffer_0 = 0x4,
  capture_buffer_1 = 0x8,
  capture_source_size = 0xC,
};

constexpr uint32_t capture_on = 0x1;
constexpr uint32_t uses_window_a = 0x100;
constexpr uint32_t uses_window_b = 0x200;
constexpr uint32_t set_up_for_window_a = 0x510;
constexpr uint32_t set_up_for_window_b = 0x610;

constexpr uint32_t capture_address = 0x4000000;
constexpr uint32_t capture_address_stride = 0x1000000;
constexpr uint32_t second_capture = 0x800000;

constexpr uint32_t shown_address = 0x10000000;
constexpr uint32_t shown_address_stride = 0x4000000;
constexpr uint32_t second_shown = 0x2000000;

struct Window {
  uint32_t frame_0, frame_1;  // in units of 4 bytes
  uint32_t control, position, size, alpha, colour_key;
};
constexpr Window window_a = {0x10038, 0x1003C, 0x10060, 0x10064, 0x10068, 0x1006C, 0x10070};
constexpr Window window_b = {0x10048, 0x1004C, 0x10080, 0x10084, 0x10088, 0x1008C, 0x10090};

constexpr uint32_t window_on = 0x100;
constexpr uint32_t window_constant = 0x1102;
constexpr uint32_t window_source_mask = 0x7FFF;
constexpr unsigned window_source_shift = 14;
constexpr unsigned window_format_a_shift = 3;
constexpr unsigned window_format_b_shift = 5;
constexpr uint32_t window_format_mask = 3;
constexpr unsigned window_flag_shift = 13;

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

constexpr uint32_t capture(uint32_t port, CaptureRegister reg) {
  return capture_base + port * capture_stride + reg;
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
  return high << 16 | low;
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
  const struct {
    uint32_t used;
    const Window& window;
  } windows[] = {{uses_window_a, window_a}, {uses_window_b, window_b}};
  for (const auto& [used, window] : windows) {
    if ((control & used) == 0) continue;
    zvgRegWriteLong(window.control, switched(read(window.control), window_on));
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

  const Window& window = use_window_b != 0 ? window_b : window_a;
  zvgRegWriteLong(capture(port, capture_control),
                  use_window_b != 0 ? set_up_for_window_b : set_up_for_window_a);
  zvgRegWriteLong(window.frame_0, buffer);
  zvgRegWriteLong(window.frame_1, buffer + second_capture);
  zvgRegWriteLong(window.alpha, 0xFF);
  zvgRegWriteLong(window.colour_key, 0);
  return 0;
}

int zvgZoomVideoStart(int port, uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                      uint32_t offset, int format_a, int format_b, uint32_t flag) {
  const uint32_t number = static_cast<uint32_t>(port);
  const uint32_t control = read(capture(number, capture_control)) | capture_on;
  zvgRegWriteLong(capture(number, capture_control), control);
  usleep(capture_settle_us);
  if ((control & (uses_window_a | uses_window_b)) == 0) return 0;

  const Window& window = (control & uses_window_a) != 0 ? window_a : window_b;
  zvgRegWriteLong(window.position, halves(x, y));
  zvgRegWriteLong(window.size, halves(width, height));
  zvgRegWriteLong(window.frame_0, (2 * offset + shown(number)) / 4);
  zvgRegWriteLong(window.frame_1, (2 * offset + shown(number) + second_shown) / 4);
  const uint32_t source = read(capture(number, capture_source_size));
  zvgRegWriteLong(window.control, (source & window_source_mask) << window_source_shift |
                                      format_bits(format_a, window_format_a_shift) |
                                      format_bits(format_b, window_format_b_shift) |
                                      (flag != 0 ? 1u << window_flag_shift : 0) | window_constant);
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
  store(source_width, source & 0xFFFF);
  store(source_height, source >> 16);
  // Window B needs no bit of its own here, unlike at the start.
  const uint32_t capture_word = read(capture(number, capture_control));
  const Window& window = (capture_word & uses_window_a) != 0 ? window_a : window_b;
  const uint32_t position = read(window.position);
  store(x, position & 0xFFFF);
  store(y, position >> 16);
  const uint32_t size = read(window.size);
  store(width, size & 0xFFFF);
  store(height, size >> 16);
  store(offset, (read(window.frame_0) * 4 - shown(number)) / 2);
  const uint32_t control = read(window.control);
  store(format_a, control >> window_format_a_shift & window_format_mask);
  store(format_b, control >> window_format_b_shift & window_format_mask);
  store(flag, control >> window_flag_shift & 1);
  return 0;
}
