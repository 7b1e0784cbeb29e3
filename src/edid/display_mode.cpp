// The display mode record: its name, its refresh rate and the words for its flags.
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "formats/edid/mode.h"
#include "util_zvg.h"

// The record crosses the boundary: its layout is fixed.
static_assert(sizeof(zvg_display_mode) == 160);
static_assert(offsetof(zvg_display_mode, name) == 0);
static_assert(offsetof(zvg_display_mode, status) == 32);
static_assert(offsetof(zvg_display_mode, type) == 36);
static_assert(offsetof(zvg_display_mode, clock) == 40);
static_assert(offsetof(zvg_display_mode, hdisplay) == 44);
static_assert(offsetof(zvg_display_mode, hsync_start) == 48);
static_assert(offsetof(zvg_display_mode, hsync_end) == 52);
static_assert(offsetof(zvg_display_mode, htotal) == 56);
static_assert(offsetof(zvg_display_mode, hskew) == 60);
static_assert(offsetof(zvg_display_mode, vdisplay) == 64);
static_assert(offsetof(zvg_display_mode, vsync_start) == 68);
static_assert(offsetof(zvg_display_mode, vsync_end) == 72);
static_assert(offsetof(zvg_display_mode, vtotal) == 76);
static_assert(offsetof(zvg_display_mode, vscan) == 80);
static_assert(offsetof(zvg_display_mode, flags) == 84);
static_assert(offsetof(zvg_display_mode, width_mm) == 88);
static_assert(offsetof(zvg_display_mode, height_mm) == 92);
static_assert(offsetof(zvg_display_mode, hardware) == 96);
static_assert(offsetof(zvg_display_mode, vrefresh) == 148);
static_assert(offsetof(zvg_display_mode, reserved) == 152);

extern "C" {

ZVG_API int zvg_mode_vrefresh(const zvg_display_mode* mode) {
  if (mode->vrefresh > 0) return mode->vrefresh;
  if (mode->htotal < 1 || mode->vtotal < 1) return 0;

  uint32_t rate = zvg::formats::edid::frame_rate(static_cast<uint32_t>(mode->clock),
                                                 static_cast<uint32_t>(mode->htotal),
                                                 static_cast<uint32_t>(mode->vtotal));
  if (mode->flags & ZVG_FLAG_INTERLACED) rate *= 2;
  if (mode->flags & ZVG_FLAG_DOUBLE_SCAN) rate /= 2;
  if (mode->vscan > 1) rate /= static_cast<uint32_t>(mode->vscan);
  return static_cast<int>(rate);
}

ZVG_API int zvg_mode_set_name(zvg_display_mode* mode) {
  return snprintf(mode->name, sizeof mode->name, "%dx%d%s", mode->hdisplay, mode->vdisplay,
                  (mode->flags & ZVG_FLAG_INTERLACED) ? "i" : "");
}

ZVG_API void zvg_detailed_mode_flag2str(uint32_t flags, char* text) {
  if (flags & ZVG_FLAG_INTERLACED) strcat(text, " Interlaced");
  if (flags & ZVG_FLAG_HSYNC_POSITIVE) {
    strcat(text, " Horizontal Sync is Positive");
  } else if (flags & ZVG_FLAG_HSYNC_NEGATIVE) {
    strcat(text, " Horizontal Sync is Negative");
  }
  if (flags & ZVG_FLAG_VSYNC_POSITIVE) {
    strcat(text, " Vertical Sync is Positive");
  } else if (flags & ZVG_FLAG_VSYNC_NEGATIVE) {
    strcat(text, " Vertical Sync is Negative");
  }
}

}  // extern "C"
