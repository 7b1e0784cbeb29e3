#include "edid_builder.h"

#include <algorithm>
#include <cstdlib>

namespace edidtest {

namespace {

uint8_t low(int value) {
  return static_cast<uint8_t>(value & 0xFF);
}

void put(Bytes& to, size_t offset, const Bytes& bytes) {
  if (offset + bytes.size() > to.size()) abort();
  std::copy(bytes.begin(), bytes.end(), to.begin() + static_cast<ptrdiff_t>(offset));
}

}  // namespace

void seal(uint8_t* block) {
  int sum = 0;
  for (int i = 0; i < 127; ++i) sum += block[i];
  block[127] = low(256 - sum % 256);
}

Edid::Edid() : bytes_(256) {
  set(0x00, {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00});
  set(0x08, {0x04, 0x43});              // A = 1, B = 2, C = 3
  set(0x0A, {0x34, 0x12});              // product
  set(0x0C, {0xEF, 0xCD, 0xAB, 0x89});  // serial number
  set(0x10, {20, 30});                  // week 20 of 2020
  set(0x12, {1, 3});                    // 1.3
  set(0x14, {0x80, 60, 34, 120, 0x00});
  set(0x26, Bytes(16, 0x01));
  for (int i = 0; i < 4; ++i) descriptor(i, display_descriptor(0x10, {}));
}

Edid& Edid::set(size_t offset, const Bytes& bytes) {
  put(bytes_, offset, bytes);
  return *this;
}

Edid& Edid::descriptor(int place, const Bytes& bytes) {
  if (bytes.size() != 18) abort();
  return set(0x36 + 18 * static_cast<size_t>(place), bytes);
}

Edid& Edid::extension(const Bytes& block) {
  if (block.size() != 128) abort();
  return set(128, block).set(0x7E, {1});
}

Bytes Edid::image() const {
  Bytes image = bytes_;
  seal(image.data());
  return image;
}

Cea& Cea::set(size_t offset, const Bytes& bytes) {
  patches_.push_back({offset, bytes});
  return *this;
}

Cea& Cea::features(uint8_t byte) {
  features_ = byte;
  return *this;
}

Cea& Cea::data_block(int tag, const Bytes& payload) {
  if (payload.size() > 31) abort();
  data_.push_back(static_cast<uint8_t>(tag << 5 | static_cast<int>(payload.size())));
  data_.insert(data_.end(), payload.begin(), payload.end());
  return *this;
}

Cea& Cea::timings(const Bytes& bytes) {
  timings_.insert(timings_.end(), bytes.begin(), bytes.end());
  return *this;
}

Bytes Cea::block() const {
  Bytes block(128);
  put(block, 0, {0x02, 0x03, low(timings_offset()), features_});
  put(block, 4, data_);
  put(block, 4 + data_.size(), timings_);
  for (const Patch& patch : patches_) put(block, patch.offset, patch.bytes);
  seal(block.data());
  return block;
}

Bytes Timing::descriptor() const {
  return {
      low(clock_10khz),
      low(clock_10khz >> 8),
      low(hactive),
      low(hblank),
      low((hactive >> 8) << 4 | hblank >> 8),
      low(vactive),
      low(vblank),
      low((vactive >> 8) << 4 | vblank >> 8),
      low(hsync_offset),
      low(hsync_width),
      low((vsync_offset & 15) << 4 | (vsync_width & 15)),
      low((hsync_offset >> 8) << 6 | (hsync_width >> 8) << 4 | (vsync_offset >> 4) << 2 |
          vsync_width >> 4),
      low(width_mm),
      low(height_mm),
      low((width_mm >> 8) << 4 | height_mm >> 8),
      0,
      0,
      flags,
  };
}

Bytes display_descriptor(uint8_t tag, const Bytes& payload, uint8_t byte4) {
  Bytes bytes(18);
  bytes[3] = tag;
  bytes[4] = byte4;
  put(bytes, 5, payload);
  return bytes;
}

Bytes text_descriptor(uint8_t tag, const std::string& text) {
  return display_descriptor(tag, Bytes(text.begin(), text.end()));
}

}  // namespace edidtest
