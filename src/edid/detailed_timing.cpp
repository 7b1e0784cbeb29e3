#include "edid/detailed_timing.h"

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "edid/report_text.h"
#include "util_zvg.h"

namespace zvg::edid {
namespace {

using namespace formats::edid;

constexpr size_t flag_text_size = 120;

uint32_t mode_flags(const Mode& mode) {
  const uint32_t hsync = mode.hsync_positive ? ZVG_FLAG_HSYNC_POSITIVE : ZVG_FLAG_HSYNC_NEGATIVE;
  const uint32_t vsync = mode.vsync_positive ? ZVG_FLAG_VSYNC_POSITIVE : ZVG_FLAG_VSYNC_NEGATIVE;
  return hsync | vsync | (mode.interlaced ? uint32_t{ZVG_FLAG_INTERLACED} : 0u);
}

// The record of the timing's mode.
zvg_display_mode make_mode(const DetailedTiming& timing) {
  const Mode mode = mode_of(timing);
  zvg_display_mode record = {};
  record.clock = mode.clock_khz;
  record.hdisplay = mode.horizontal.display;
  record.hsync_start = mode.horizontal.sync_start;
  record.hsync_end = mode.horizontal.sync_end;
  record.htotal = mode.horizontal.total;
  record.vdisplay = mode.vertical.display;
  record.vsync_start = mode.vertical.sync_start;
  record.vsync_end = mode.vertical.sync_end;
  record.vtotal = mode.vertical.total;
  record.flags = mode_flags(mode);
  record.width_mm = timing.width_mm;
  record.height_mm = timing.height_mm;
  record.vrefresh = zvg_mode_vrefresh(&record);
  zvg_mode_set_name(&record);
  return record;
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

void print_detailed_timing(const DetailedTiming& timing) {
  puts("Detailed timing mode: ");
  if (timing.is_tiny()) {
    puts("\tIgnore tiny modes");
  } else if (!timing.has_sync_pulses()) {
    fputs(EDID_ERROR("\tIncorrect Detailed timing: Wrong Hsync/Vsync pulse width"), stdout);
  } else {
    print_mode(make_mode(timing));
  }
}

}  // namespace zvg::edid
