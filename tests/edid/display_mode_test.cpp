// The display mode functions that other display code may use on their own.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "util_zvg.h"

namespace edidtest {
namespace {

zvg_display_mode mode_1080p60() {
  zvg_display_mode mode{};
  mode.clock = 148500;
  mode.hdisplay = 1920;
  mode.htotal = 2200;
  mode.vdisplay = 1080;
  mode.vtotal = 1125;
  return mode;
}

TEST(ModeRefresh, ComesFromTheTimings) {
  const zvg_display_mode mode = mode_1080p60();
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 60);
}

TEST(ModeRefresh, IsRoundedToTheNearest) {
  zvg_display_mode mode{};
  mode.clock = 1;  // 1000 Hz
  mode.htotal = 1;
  mode.vtotal = 16;  // 62.5 Hz
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 63);
  mode.vtotal = 17;  // 58.8 Hz
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 59);
  mode.vtotal = 15;  // 66.67 Hz, and half of 15 lines is 7
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 67);
  mode.vtotal = 30;  // 33.3 Hz
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 33);
}

TEST(ModeRefresh, CutsEveryDivision) {
  zvg_display_mode mode{};
  mode.clock = 1;
  mode.htotal = 6;    // 166.67 lines a second, cut to 166
  mode.vtotal = 333;  // its half is cut to 166: 332 / 333, where 166.67 + 166.5 would give 1
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 0);
}

TEST(ModeRefresh, TheFieldWinsWhenSet) {
  zvg_display_mode mode = mode_1080p60();
  mode.vrefresh = 75;
  mode.flags = ZVG_FLAG_INTERLACED;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 75);
  mode.vrefresh = -1;
  mode.flags = 0;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 60);
}

TEST(ModeRefresh, IsZeroWithoutTotals) {
  for (const int32_t total : {0, -1}) {
    zvg_display_mode mode = mode_1080p60();
    mode.htotal = total;
    EXPECT_EQ(zvg_mode_vrefresh(&mode), 0);
    mode = mode_1080p60();
    mode.vtotal = total;
    EXPECT_EQ(zvg_mode_vrefresh(&mode), 0);
  }
  zvg_display_mode mode = mode_1080p60();
  mode.htotal = 0;
  mode.vrefresh = 50;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 50);
}

TEST(ModeRefresh, TakesTotalsAndRatesOfOne) {
  zvg_display_mode mode{};
  mode.clock = 1;
  mode.htotal = 1;
  mode.vtotal = 1;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 1000);
  mode.vrefresh = 1;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 1);
}

TEST(ModeRefresh, CountsFieldsScansAndRepeats) {
  zvg_display_mode mode = mode_1080p60();
  mode.flags = ZVG_FLAG_INTERLACED;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 120);
  mode.flags = ZVG_FLAG_DOUBLE_SCAN;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 30);
  mode.flags = ZVG_FLAG_INTERLACED | ZVG_FLAG_DOUBLE_SCAN;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 60);
  mode.flags = 0;
  mode.vscan = 1;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 60);
  mode.vscan = -2;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 60);
  mode.vscan = 2;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 30);
  mode.vscan = 4;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 15);
  mode.flags = ZVG_FLAG_INTERLACED;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 30);
}

TEST(ModeRefresh, DoublesBeforeItHalves) {
  zvg_display_mode mode{};
  mode.clock = 1;
  mode.htotal = 1;
  mode.vtotal = 333;  // 3 Hz: halved first it would lose the rest
  mode.flags = ZVG_FLAG_INTERLACED | ZVG_FLAG_DOUBLE_SCAN;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 3);
}

TEST(ModeRefresh, IsComputedIn32UnsignedBits) {
  zvg_display_mode mode{};
  mode.clock = 5000000;  // 5 GHz leaves 705032704 of its 5000000000 Hz
  mode.htotal = 1000;
  mode.vtotal = 1000;
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 705);
  mode.clock = 3000000;  // 3000000000 is beyond a signed word, not beyond this one
  EXPECT_EQ(zvg_mode_vrefresh(&mode), 3000);
}

TEST(ModeName, IsSizeAndInterlace) {
  zvg_display_mode mode = mode_1080p60();
  memset(mode.name, 'x', sizeof mode.name);
  EXPECT_EQ(zvg_mode_set_name(&mode), 9);
  EXPECT_STREQ(mode.name, "1920x1080");
  mode.flags = ZVG_FLAG_INTERLACED | ZVG_FLAG_HSYNC_POSITIVE;
  EXPECT_EQ(zvg_mode_set_name(&mode), 10);
  EXPECT_STREQ(mode.name, "1920x1080i");
  mode.flags = ZVG_FLAG_DOUBLE_SCAN;
  zvg_mode_set_name(&mode);
  EXPECT_STREQ(mode.name, "1920x1080");
}

TEST(ModeName, StaysInItsField) {
  zvg_display_mode mode{};
  mode.hdisplay = INT32_MIN;
  mode.vdisplay = INT32_MIN;
  mode.flags = ZVG_FLAG_INTERLACED;
  mode.status = 0x55555555;
  EXPECT_EQ(zvg_mode_set_name(&mode), 24);
  EXPECT_STREQ(mode.name, "-2147483648x-2147483648i");
  EXPECT_EQ(mode.status, 0x55555555);
}

std::string flag_text(uint32_t flags, const char* before = "") {
  char text[120];
  strcpy(text, before);
  zvg_detailed_mode_flag2str(flags, text);
  return text;
}

TEST(ModeFlags, HaveWords) {
  EXPECT_EQ(flag_text(0), "");
  EXPECT_EQ(flag_text(0x01), " Horizontal Sync is Positive");
  EXPECT_EQ(flag_text(0x02), " Horizontal Sync is Negative");
  EXPECT_EQ(flag_text(0x04), " Vertical Sync is Positive");
  EXPECT_EQ(flag_text(0x08), " Vertical Sync is Negative");
  EXPECT_EQ(flag_text(0x10), " Interlaced");
  EXPECT_EQ(flag_text(0x20), "");
}

TEST(ModeFlags, PositiveWins) {
  EXPECT_EQ(flag_text(0x03), " Horizontal Sync is Positive");
  EXPECT_EQ(flag_text(0x0C), " Vertical Sync is Positive");
}

TEST(ModeFlags, AreAppendedInOrder) {
  EXPECT_EQ(flag_text(0x1A, "flags:"),
            "flags: Interlaced Horizontal Sync is Negative Vertical Sync is Negative");
  EXPECT_EQ(flag_text(0x3F), " Interlaced Horizontal Sync is Positive Vertical Sync is Positive");
}

}  // namespace
}  // namespace edidtest
