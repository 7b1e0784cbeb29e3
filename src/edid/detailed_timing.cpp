#include "edid/detailed_timing.h"

#include <stddef.h>
#include <stdio.h>

#include "edid/layout.h"
#include "edid/report_text.h"
#include "edid/standard_tables.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

// Offsets in the descriptor. A field wider than a byte has its upper bits in another byte.
constexpr size_t pixel_clock = 0;  // 16 bits, in 10 kHz
constexpr size_t hactive_low = 2;
constexpr size_t hblank_low = 3;
constexpr size_t h_high = 4;
constexpr size_t vactive_low = 5;
constexpr size_t vblank_low = 6;
constexpr size_t v_high = 7;
constexpr size_t hsync_offset_low = 8;
constexpr size_t hsync_width_low = 9;
constexpr size_t vsync_low = 10;
constexpr size_t sync_high = 11;
constexpr size_t width_low = 12;
constexpr size_t height_low = 13;
constexpr size_t size_high = 14;
constexpr size_t flag_byte = 17;

constexpr uint8_t interlaced = 0x80;
constexpr uint8_t vsync_positive = 0x04;
constexpr uint8_t hsync_positive = 0x02;

constexpr int clock_unit_khz = 10;
constexpr int largest_tiny_size = 63;
constexpr size_t flag_text_size = 120;

// Bits first and down of a byte, count of them.
constexpr int bits(uint8_t byte, int lowest, int count) {
  return (byte >> lowest) & ((1 << count) - 1);
}

// One direction of the timing, in pixels or lines.
struct Axis {
  int active;
  int blank;
  int sync_offset;
  int sync_width;

  int sync_start() const { return active + sync_offset; }
  int sync_end() const { return sync_start() + sync_width; }
  // A sync pulse that does not fit into the blanking stretches the total.
  int total() const {
    const int sum = active + blank;
    return sync_end() > sum ? sync_end() + 1 : sum;
  }
};

Axis horizontal_axis(const uint8_t* d) {
  return {d[hactive_low] + bits(d[h_high], 4, 4) * 256, d[hblank_low] + bits(d[h_high], 0, 4) * 256,
          d[hsync_offset_low] + bits(d[sync_high], 6, 2) * 256,
          d[hsync_width_low] + bits(d[sync_high], 4, 2) * 256};
}

Axis vertical_axis(const uint8_t* d) {
  return {d[vactive_low] + bits(d[v_high], 4, 4) * 256, d[vblank_low] + bits(d[v_high], 0, 4) * 256,
          bits(d[vsync_low], 4, 4) + bits(d[sync_high], 2, 2) * 16,
          bits(d[vsync_low], 0, 4) + bits(d[sync_high], 0, 2) * 16};
}

// An interlaced descriptor counts the lines of a field; the mode counts those of a frame. Only
// the interlaced sizes of the video formats are converted.
void convert_field_to_frame(zvg_display_mode& mode) {
  for (const FrameSize& size : interlaced_sizes) {
    if (mode.hdisplay != size.width || mode.vdisplay != size.height / 2) continue;
    mode.vdisplay *= 2;
    mode.vsync_start *= 2;
    mode.vsync_end *= 2;
    mode.vtotal = mode.vtotal * 2 + 1;
  }
}

uint32_t mode_flags(uint8_t byte) {
  const uint32_t hsync =
      (byte & hsync_positive) ? ZVG_FLAG_HSYNC_POSITIVE : ZVG_FLAG_HSYNC_NEGATIVE;
  const uint32_t vsync =
      (byte & vsync_positive) ? ZVG_FLAG_VSYNC_POSITIVE : ZVG_FLAG_VSYNC_NEGATIVE;
  return hsync | vsync | ((byte & interlaced) ? uint32_t{ZVG_FLAG_INTERLACED} : 0u);
}

zvg_display_mode make_mode(const uint8_t* d, const Axis& h, const Axis& v) {
  zvg_display_mode mode{};
  mode.clock = u16(d + pixel_clock) * clock_unit_khz;
  mode.hdisplay = h.active;
  mode.hsync_start = h.sync_start();
  mode.hsync_end = h.sync_end();
  mode.htotal = h.total();
  mode.vdisplay = v.active;
  mode.vsync_start = v.sync_start();
  mode.vsync_end = v.sync_end();
  mode.vtotal = v.total();
  if (d[flag_byte] & interlaced) convert_field_to_frame(mode);
  mode.flags = mode_flags(d[flag_byte]);
  mode.width_mm = d[width_low] + bits(d[size_high], 4, 4) * 256;
  mode.height_mm = d[height_low] + bits(d[size_high], 0, 4) * 256;
  mode.vrefresh = zvg_mode_vrefresh(&mode);
  zvg_mode_set_name(&mode);
  return mode;
}

void print_mode(const zvg_display_mode& mode) {
  char flag_text[flag_text_size] = "";
  zvg_detailed_mode_flag2str(mode.flags, flag_text);
  printf("\tName: \t%s\n", mode.name);
  printf("\tClock: \t%dkHz\n", mode.clock);
  printf("\tHdisplay: \t%d \tVdisplay: \t%d\n", mode.hdisplay, mode.vdisplay);
  printf("\tHsync_start: \t%d \tVsync_start: \t%d\n", mode.hsync_start, mode.vsync_start);
  printf("\tHsync_end: \t%d \tVsync_end: \t%d\n", mode.hsync_end, mode.vsync_end);
  printf("\tHtotal: \t%d \tVtotal: \t%d\n", mode.htotal, mode.vtotal);
  printf("\tFlag: \t%s\n", flag_text);
  if (mode.width_mm == 0 && mode.height_mm == 0) return;
  printf("\tVideo Image Width_mm: \t%d\n", mode.width_mm);
  printf("\tVideo Image Height_mm: \t%d\n", mode.height_mm);
}

}  // namespace

void print_detailed_timing(const uint8_t* descriptor) {
  puts("Detailed timing mode: ");
  const Axis h = horizontal_axis(descriptor);
  const Axis v = vertical_axis(descriptor);
  if (h.active <= largest_tiny_size || v.active <= largest_tiny_size) {
    puts("\tIgnore tiny modes");
    return;
  }
  if (h.sync_width == 0 || v.sync_width == 0) {
    fputs(EDID_ERROR("\tIncorrect Detailed timing: Wrong Hsync/Vsync pulse width"), stdout);
    return;
  }
  print_mode(make_mode(descriptor, h, v));
}

}  // namespace zvg::edid
