#include "formats/edid/detailed_timing.h"

#include <stddef.h>

#include "formats/bytes.h"
#include "formats/edid/standard_tables.h"

namespace zvg::formats::edid {

namespace {

// Offsets in the descriptor. A field wider than a byte has its upper bits in another byte.
enum Offset : size_t {
  pixel_clock = 0,  // 16 bits, in 10 kHz
  hactive_low = 2,
  hblank_low = 3,
  h_high = 4,
  vactive_low = 5,
  vblank_low = 6,
  v_high = 7,
  hsync_offset_low = 8,
  hsync_width_low = 9,
  vsync_low = 10,
  sync_high = 11,
  width_low = 12,
  height_low = 13,
  size_high = 14,
  flags = 17,
};

constexpr uint8_t interlaced_flag = 0x80;
constexpr uint8_t vsync_positive_flag = 0x04;
constexpr uint8_t hsync_positive_flag = 0x02;

constexpr int clock_unit_khz = 10;
constexpr int largest_tiny_size = 63;

// Bits of a byte: count of them, from lowest on.
constexpr int bits(uint8_t byte, int lowest, int count) {
  return (byte >> lowest) & ((1 << count) - 1);
}

ModeAxis mode_axis(const TimingAxis& axis) {
  const int sync_start = axis.active + axis.sync_offset;
  const int sync_end = sync_start + axis.sync_width;
  const int sum = axis.active + axis.blank;
  return {axis.active, sync_start, sync_end, sync_end > sum ? sync_end + 1 : sum};
}

void convert_field_to_frame(Mode* mode) {
  for (const FrameSize& size : interlaced_sizes) {
    ModeAxis& v = mode->vertical;
    if (mode->horizontal.display != size.width || v.display != size.height / 2) continue;
    v = {v.display * 2, v.sync_start * 2, v.sync_end * 2, v.total * 2 + 1};
  }
}

}  // namespace

bool DetailedTiming::is_tiny() const {
  return horizontal.active <= largest_tiny_size || vertical.active <= largest_tiny_size;
}

bool DetailedTiming::has_sync_pulses() const {
  return horizontal.sync_width != 0 && vertical.sync_width != 0;
}

DetailedTiming parse_detailed_timing(const uint8_t* d) {
  return {
      .pixel_clock_khz = u16(d + pixel_clock) * clock_unit_khz,
      .horizontal = {d[hactive_low] + bits(d[h_high], 4, 4) * 256,
                     d[hblank_low] + bits(d[h_high], 0, 4) * 256,
                     d[hsync_offset_low] + bits(d[sync_high], 6, 2) * 256,
                     d[hsync_width_low] + bits(d[sync_high], 4, 2) * 256},
      .vertical = {d[vactive_low] + bits(d[v_high], 4, 4) * 256,
                   d[vblank_low] + bits(d[v_high], 0, 4) * 256,
                   bits(d[vsync_low], 4, 4) + bits(d[sync_high], 2, 2) * 16,
                   bits(d[vsync_low], 0, 4) + bits(d[sync_high], 0, 2) * 16},
      .width_mm = d[width_low] + bits(d[size_high], 4, 4) * 256,
      .height_mm = d[height_low] + bits(d[size_high], 0, 4) * 256,
      .interlaced = (d[flags] & interlaced_flag) != 0,
      .vsync_positive = (d[flags] & vsync_positive_flag) != 0,
      .hsync_positive = (d[flags] & hsync_positive_flag) != 0,
  };
}

Mode mode_of(const DetailedTiming& timing) {
  Mode mode = {.clock_khz = timing.pixel_clock_khz,
               .horizontal = mode_axis(timing.horizontal),
               .vertical = mode_axis(timing.vertical),
               .hsync_positive = timing.hsync_positive,
               .vsync_positive = timing.vsync_positive,
               .interlaced = timing.interlaced};
  if (timing.interlaced) convert_field_to_frame(&mode);
  return mode;
}

}  // namespace zvg::formats::edid
