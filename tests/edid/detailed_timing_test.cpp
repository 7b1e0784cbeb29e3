// Detailed timing descriptors.
#include <gtest/gtest.h>

#include "expected_report.h"

namespace edidtest {
namespace {

const char title[] = "Detailed timing mode: \n";

void expect_timing(const Bytes& descriptor, const std::string& text) {
  Report report;
  report.descriptors[0] = title + text;
  expect_report(Edid().descriptor(0, descriptor).image(), report);
}

void expect_timing(const Timing& timing, const std::string& text) {
  expect_timing(timing.descriptor(), text);
}

TEST(DetailedTiming, FullHd) {
  expect_timing(Timing{.width_mm = 600, .height_mm = 340},
                "\tName: \t1920x1080\n"
                "\tClock: \t148500kHz\n"
                "\tHdisplay: \t1920 \tVdisplay: \t1080\n"
                "\tHsync_start: \t2008 \tVsync_start: \t1084\n"
                "\tHsync_end: \t2052 \tVsync_end: \t1089\n"
                "\tHtotal: \t2200 \tVtotal: \t1125\n"
                "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n"
                "\tVideo Image Width_mm: \t600\n"
                "\tVideo Image Height_mm: \t340\n");
}

TEST(DetailedTiming, FromBytesByHand) {
  // 1280x720: clock 7425 = 0x1D01; blank 370 = 0x172 and 30; syncs 110 + 40 and 5 + 5.
  expect_timing(Bytes{0x01, 0x1D, 0x00, 0x72, 0x51, 0xD0, 0x1E, 0x20, 0x6E, 0x28, 0x55, 0x00, 0x40,
                      0x84, 0x10, 0x00, 0x00, 0x1E},
                "\tName: \t1280x720\n"
                "\tClock: \t74250kHz\n"
                "\tHdisplay: \t1280 \tVdisplay: \t720\n"
                "\tHsync_start: \t1390 \tVsync_start: \t725\n"
                "\tHsync_end: \t1430 \tVsync_end: \t730\n"
                "\tHtotal: \t1650 \tVtotal: \t750\n"
                "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n"
                "\tVideo Image Width_mm: \t320\n"
                "\tVideo Image Height_mm: \t132\n");
}

TEST(DetailedTiming, EveryFieldHasItsUpperBits) {
  expect_timing(Timing{.clock_10khz = 0xFFFF,
                       .hactive = 0xA12,
                       .hblank = 0xB34,
                       .hsync_offset = 0x256,
                       .hsync_width = 0x178,
                       .vactive = 0xC9A,
                       .vblank = 0xDBC,
                       .vsync_offset = 0x2D,
                       .vsync_width = 0x1E,
                       .width_mm = 0xEAB,
                       .height_mm = 0xFCD,
                       .flags = 0x18},
                "\tName: \t2578x3226\n"
                "\tClock: \t655350kHz\n"
                "\tHdisplay: \t2578 \tVdisplay: \t3226\n"
                "\tHsync_start: \t3176 \tVsync_start: \t3271\n"
                "\tHsync_end: \t3552 \tVsync_end: \t3301\n"
                "\tHtotal: \t5446 \tVtotal: \t6742\n"
                "\tFlag: \t Horizontal Sync is Negative Vertical Sync is Negative\n"
                "\tVideo Image Width_mm: \t3755\n"
                "\tVideo Image Height_mm: \t4045\n");
}

TEST(DetailedTiming, MaximumOfEveryField) {
  Bytes bytes(18, 0xFF);
  bytes[17] = 0;
  expect_timing(bytes,
                "\tName: \t4095x4095\n"
                "\tClock: \t655350kHz\n"
                "\tHdisplay: \t4095 \tVdisplay: \t4095\n"
                "\tHsync_start: \t5118 \tVsync_start: \t4158\n"
                "\tHsync_end: \t6141 \tVsync_end: \t4221\n"
                "\tHtotal: \t8190 \tVtotal: \t8190\n"
                "\tFlag: \t Horizontal Sync is Negative Vertical Sync is Negative\n"
                "\tVideo Image Width_mm: \t4095\n"
                "\tVideo Image Height_mm: \t4095\n");
}

// The lines up to the flags of the default timing.
const char full_hd[] =
    "\tName: \t1920x1080\n"
    "\tClock: \t148500kHz\n"
    "\tHdisplay: \t1920 \tVdisplay: \t1080\n"
    "\tHsync_start: \t2008 \tVsync_start: \t1084\n"
    "\tHsync_end: \t2052 \tVsync_end: \t1089\n"
    "\tHtotal: \t2200 \tVtotal: \t1125\n";

TEST(DetailedTiming, SyncPolarities) {
  struct {
    uint8_t flags;
    const char* words;
  } const rows[] = {
      {0x00, " Horizontal Sync is Negative Vertical Sync is Negative"},
      {0x02, " Horizontal Sync is Positive Vertical Sync is Negative"},
      {0x04, " Horizontal Sync is Negative Vertical Sync is Positive"},
      {0x06, " Horizontal Sync is Positive Vertical Sync is Positive"},
      {0x79, " Horizontal Sync is Negative Vertical Sync is Negative"},  // stereo, sync type
  };
  for (const auto& row : rows) {
    expect_timing(Timing{.flags = row.flags},
                  full_hd + std::string("\tFlag: \t") + row.words + "\n");
  }
}

TEST(DetailedTiming, SizeIsPrintedUnlessBothAreZero) {
  const std::string lines =
      full_hd + std::string("\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n");
  expect_timing(Timing{}, lines);
  expect_timing(Timing{.width_mm = 16},
                lines + "\tVideo Image Width_mm: \t16\n\tVideo Image Height_mm: \t0\n");
  expect_timing(Timing{.height_mm = 9},
                lines + "\tVideo Image Width_mm: \t0\n\tVideo Image Height_mm: \t9\n");
}

TEST(DetailedTiming, TinyModesAreIgnored) {
  expect_timing(Timing{.vactive = 63}, "\tIgnore tiny modes\n");
  expect_timing(Timing{.hactive = 63}, "\tIgnore tiny modes\n");
  expect_timing(Timing{.hactive = 0, .vactive = 0}, "\tIgnore tiny modes\n");
  // Before the pulse widths are looked at.
  expect_timing(Timing{.hactive = 63, .hsync_width = 0}, "\tIgnore tiny modes\n");
  expect_timing(Timing{.hactive = 64, .hblank = 136, .vactive = 64},
                "\tName: \t64x64\n"
                "\tClock: \t148500kHz\n"
                "\tHdisplay: \t64 \tVdisplay: \t64\n"
                "\tHsync_start: \t152 \tVsync_start: \t68\n"
                "\tHsync_end: \t196 \tVsync_end: \t73\n"
                "\tHtotal: \t200 \tVtotal: \t109\n"
                "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n");
}

TEST(DetailedTiming, SyncPulsesNeedAWidth) {
  const char wrong_width[] =
      "\033[1;31m*ERROR*\tIncorrect Detailed timing: Wrong Hsync/Vsync pulse width\n\033[0m";
  expect_timing(Timing{.hsync_width = 0}, wrong_width);
  expect_timing(Timing{.vsync_width = 0}, wrong_width);
  expect_timing(Timing{.hsync_width = 0, .vsync_width = 0}, wrong_width);
}

TEST(DetailedTiming, ASyncBeyondTheBlankingStretchesTheTotal) {
  expect_timing(Timing{.hblank = 131, .vblank = 8},  // syncs end at 132 and 9 behind the active
                "\tName: \t1920x1080\n"
                "\tClock: \t148500kHz\n"
                "\tHdisplay: \t1920 \tVdisplay: \t1080\n"
                "\tHsync_start: \t2008 \tVsync_start: \t1084\n"
                "\tHsync_end: \t2052 \tVsync_end: \t1089\n"
                "\tHtotal: \t2053 \tVtotal: \t1090\n"
                "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n");
  expect_timing(Timing{.hblank = 132, .vblank = 9},  // ends with the blanking: fits
                "\tName: \t1920x1080\n"
                "\tClock: \t148500kHz\n"
                "\tHdisplay: \t1920 \tVdisplay: \t1080\n"
                "\tHsync_start: \t2008 \tVsync_start: \t1084\n"
                "\tHsync_end: \t2052 \tVsync_end: \t1089\n"
                "\tHtotal: \t2052 \tVtotal: \t1089\n"
                "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n");
}

struct Interlaced {
  int width, height;
};

TEST(DetailedTiming, InterlacedSizesAreOfAFrame) {
  const Interlaced sizes[] = {{1920, 1080}, {720, 480},  {1440, 480}, {2880, 480},
                              {720, 576},   {1440, 576}, {2880, 576}};
  for (const Interlaced& size : sizes) {
    const std::string w = std::to_string(size.width);
    const std::string h = std::to_string(size.height);
    // Field: 2 lines of front porch, 5 of sync, 22 of blanking.
    expect_timing(
        Timing{.clock_10khz = 7425,
               .hactive = size.width,
               .vactive = size.height / 2,
               .vblank = 22,
               .vsync_offset = 2,
               .flags = 0x9E},
        "\tName: \t" + w + "x" + h + "i\n\tClock: \t74250kHz\n\tHdisplay: \t" + w +
            " \tVdisplay: \t" + h + "\n\tHsync_start: \t" + std::to_string(size.width + 88) +
            " \tVsync_start: \t" + std::to_string(size.height + 4) + "\n\tHsync_end: \t" +
            std::to_string(size.width + 132) + " \tVsync_end: \t" +
            std::to_string(size.height + 14) + "\n\tHtotal: \t" + std::to_string(size.width + 280) +
            " \tVtotal: \t" + std::to_string(size.height + 45) +
            "\n\tFlag: \t Interlaced Horizontal Sync is Positive Vertical Sync is Positive\n");
  }
}

TEST(DetailedTiming, Interlaced1080InFull) {
  expect_timing(Timing{.clock_10khz = 7425,
                       .vactive = 540,
                       .vblank = 22,
                       .vsync_offset = 2,
                       .vsync_width = 5,
                       .flags = 0x9E},
                "\tName: \t1920x1080i\n"
                "\tClock: \t74250kHz\n"
                "\tHdisplay: \t1920 \tVdisplay: \t1080\n"
                "\tHsync_start: \t2008 \tVsync_start: \t1084\n"
                "\tHsync_end: \t2052 \tVsync_end: \t1094\n"
                "\tHtotal: \t2200 \tVtotal: \t1125\n"
                "\tFlag: \t Interlaced Horizontal Sync is Positive Vertical Sync is Positive\n");
}

TEST(DetailedTiming, AStretchedTotalIsDoubledAfterwards) {
  expect_timing(Timing{.vactive = 540, .vblank = 1, .flags = 0x80},
                "\tName: \t1920x1080i\n"
                "\tClock: \t148500kHz\n"
                "\tHdisplay: \t1920 \tVdisplay: \t1080\n"
                "\tHsync_start: \t2008 \tVsync_start: \t1088\n"
                "\tHsync_end: \t2052 \tVsync_end: \t1098\n"
                "\tHtotal: \t2200 \tVtotal: \t1101\n"  // (540 + 9 + 1) * 2 + 1
                "\tFlag: \t Interlaced Horizontal Sync is Negative Vertical Sync is Negative\n");
}

TEST(DetailedTiming, OtherInterlacedSizesStayFields) {
  expect_timing(Timing{.hactive = 1024, .vactive = 384, .flags = 0x9E},
                "\tName: \t1024x384i\n"
                "\tClock: \t148500kHz\n"
                "\tHdisplay: \t1024 \tVdisplay: \t384\n"
                "\tHsync_start: \t1112 \tVsync_start: \t388\n"
                "\tHsync_end: \t1156 \tVsync_end: \t393\n"
                "\tHtotal: \t1304 \tVtotal: \t429\n"
                "\tFlag: \t Interlaced Horizontal Sync is Positive Vertical Sync is Positive\n");
  // The width of one pair with the height of another.
  expect_timing(Timing{.hactive = 1920, .vactive = 240, .flags = 0x9E},
                "\tName: \t1920x240i\n"
                "\tClock: \t148500kHz\n"
                "\tHdisplay: \t1920 \tVdisplay: \t240\n"
                "\tHsync_start: \t2008 \tVsync_start: \t244\n"
                "\tHsync_end: \t2052 \tVsync_end: \t249\n"
                "\tHtotal: \t2200 \tVtotal: \t285\n"
                "\tFlag: \t Interlaced Horizontal Sync is Positive Vertical Sync is Positive\n");
}

TEST(DetailedTiming, ProgressiveFieldSizesStay) {
  expect_timing(Timing{.hactive = 720, .vactive = 240},
                "\tName: \t720x240\n"
                "\tClock: \t148500kHz\n"
                "\tHdisplay: \t720 \tVdisplay: \t240\n"
                "\tHsync_start: \t808 \tVsync_start: \t244\n"
                "\tHsync_end: \t852 \tVsync_end: \t249\n"
                "\tHtotal: \t1000 \tVtotal: \t285\n"
                "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n");
}

TEST(DetailedTiming, EitherByteOfTheClockMakesATiming) {
  Bytes bytes(18);
  bytes[0] = 1;
  expect_timing(bytes, "\tIgnore tiny modes\n");
  bytes[0] = 0;
  bytes[1] = 1;
  expect_timing(bytes, "\tIgnore tiny modes\n");
}

TEST(DetailedTiming, AllFourPlaces) {
  Report report;
  const char* names[] = {"64", "128", "256", "512"};
  Edid edid;
  for (int i = 0; i < 4; ++i) {
    const int width = 64 << i;
    edid.descriptor(i, Timing{.hactive = width, .hblank = 200}.descriptor());
    report.descriptors[i] = title + std::string("\tName: \t") + names[i] +
                            "x1080\n\tClock: \t148500kHz\n\tHdisplay: \t" + names[i] +
                            " \tVdisplay: \t1080\n\tHsync_start: \t" + std::to_string(width + 88) +
                            " \tVsync_start: \t1084\n\tHsync_end: \t" +
                            std::to_string(width + 132) + " \tVsync_end: \t1089\n\tHtotal: \t" +
                            std::to_string(width + 200) +
                            " \tVtotal: \t1125\n"
                            "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n";
  }
  expect_report(edid.image(), report);
}

}  // namespace
}  // namespace edidtest
