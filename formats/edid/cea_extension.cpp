#include "formats/edid/cea_extension.h"

#include <string.h>

#include <algorithm>

#include "formats/edid/block.h"

namespace zvg::formats::edid {

namespace {

enum Offset : size_t { version_at = 1, timings_offset_at = 2, features_at = 3 };

}  // namespace

CeaExtension parse_cea_extension(std::span<const uint8_t> bytes) {
  CeaExtension extension;
  extension.bytes_.fill(0);
  memcpy(extension.bytes_.data(), bytes.data(), std::min(bytes.size(), extension.bytes_.size()));
  const uint8_t features = extension.bytes_[features_at];
  const auto has = [features](uint8_t mask) { return (features & mask) != 0; };
  extension.version = extension.bytes_[version_at];
  extension.timings_offset = extension.bytes_[timings_offset_at];
  extension.underscans_it_formats = has(0x80);
  extension.basic_audio = has(0x40);
  extension.ycbcr_444 = has(0x20);
  extension.ycbcr_422 = has(0x10);
  extension.native_timings = features & 0x0F;
  return extension;
}

size_t CeaExtension::timing_count() const {
  const auto begin = static_cast<size_t>(timings_offset);
  return begin < block_size ? (block_size - begin) / descriptor_size : 0;
}

TimingBlock CeaExtension::timing(size_t index, int revision) const {
  const size_t begin = static_cast<size_t>(timings_offset) + index * descriptor_size;
  return parse_timing_block(bytes_.data() + begin, revision);
}

std::optional<DataBlock> DataBlocks::next() {
  const int end = extension_.timings_offset;
  if (position_ >= end) return std::nullopt;
  const DataBlock block = parse_data_block(extension_.bytes_.data() + position_);
  if (position_ + block.length >= end) {
    position_ = end;
    return std::nullopt;
  }
  position_ += block.length + 1;
  return block;
}

}  // namespace zvg::formats::edid
