// Detailed timings and display descriptors.
#include "formats/edid/timing_block.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace zvg::formats::edid;

using Bytes = std::vector<uint8_t>;

// 1920x1080 at 60 Hz, 598 mm by 336 mm.
const Bytes full_hd = {0x02, 0x3A, 0x80, 0x18, 0x71, 0x38, 0x2D, 0x40, 0x58,
                       0x2C, 0x45, 0x00, 0x56, 0x50, 0x21, 0x00, 0x00, 0x1E};

template <typename Kind>
Kind parse(const Bytes& bytes, int revision = 4) {
  Bytes block = bytes;
  block.resize(18, 0);
  const TimingBlock parsed = parse_timing_block(block.data(), revision);
  const Kind* const kind = std::get_if<Kind>(&parsed);
  EXPECT_NE(kind, nullptr);
  return kind == nullptr ? Kind{} : *kind;
}

TEST(DetailedTimings, HaveTheirFields) {
  const auto timing = parse<DetailedTiming>(full_hd);
  EXPECT_EQ(timing.pixel_clock_khz, 148500);
  EXPECT_EQ(timing.horizontal.active, 1920);
  EXPECT_EQ(timing.horizontal.blank, 280);
  EXPECT_EQ(timing.horizontal.sync_offset, 88);
  EXPECT_EQ(timing.horizontal.sync_width, 44);
  EXPECT_EQ(timing.vertical.active, 1080);
  EXPECT_EQ(timing.vertical.blank, 45);
  EXPECT_EQ(timing.vertical.sync_offset, 4);
  EXPECT_EQ(timing.vertical.sync_width, 5);
  EXPECT_EQ(timing.width_mm, 598);
  EXPECT_EQ(timing.height_mm, 336);
  EXPECT_FALSE(timing.interlaced);
  EXPECT_TRUE(timing.vsync_positive);
  EXPECT_TRUE(timing.hsync_positive);
  EXPECT_FALSE(timing.is_tiny());
  EXPECT_TRUE(timing.has_sync_pulses());
}

TEST(DetailedTimings, HaveAllTheirBits) {
  const auto timing = parse<DetailedTiming>(Bytes(18, 0xFF));
  EXPECT_EQ(timing.pixel_clock_khz, 655350);
  EXPECT_EQ(timing.horizontal.active, 4095);
  EXPECT_EQ(timing.horizontal.blank, 4095);
  EXPECT_EQ(timing.horizontal.sync_offset, 1023);
  EXPECT_EQ(timing.horizontal.sync_width, 1023);
  EXPECT_EQ(timing.vertical.active, 4095);
  EXPECT_EQ(timing.vertical.blank, 4095);
  EXPECT_EQ(timing.vertical.sync_offset, 63);
  EXPECT_EQ(timing.vertical.sync_width, 63);
  EXPECT_EQ(timing.width_mm, 4095);
  EXPECT_EQ(timing.height_mm, 4095);
  EXPECT_TRUE(timing.interlaced);
}

TEST(DetailedTimings, TinyOnesShow63OrLess) {
  auto timing = parse<DetailedTiming>(full_hd);
  timing.horizontal.active = 63;
  EXPECT_TRUE(timing.is_tiny());
  timing.horizontal.active = 64;
  EXPECT_FALSE(timing.is_tiny());
  timing.vertical.active = 63;
  EXPECT_TRUE(timing.is_tiny());
}

TEST(DetailedTimings, NeedBothSyncPulses) {
  auto timing = parse<DetailedTiming>(full_hd);
  timing.vertical.sync_width = 0;
  EXPECT_FALSE(timing.has_sync_pulses());
  timing = parse<DetailedTiming>(full_hd);
  timing.horizontal.sync_width = 0;
  EXPECT_FALSE(timing.has_sync_pulses());
}

TEST(Modes, AddUp) {
  const Mode mode = mode_of(parse<DetailedTiming>(full_hd));
  EXPECT_EQ(mode.clock_khz, 148500);
  EXPECT_EQ(mode.horizontal.display, 1920);
  EXPECT_EQ(mode.horizontal.sync_start, 2008);
  EXPECT_EQ(mode.horizontal.sync_end, 2052);
  EXPECT_EQ(mode.horizontal.total, 2200);
  EXPECT_EQ(mode.vertical.display, 1080);
  EXPECT_EQ(mode.vertical.sync_start, 1084);
  EXPECT_EQ(mode.vertical.sync_end, 1089);
  EXPECT_EQ(mode.vertical.total, 1125);
  EXPECT_EQ(refresh_rate(mode), 60u);
}

TEST(Modes, ASyncBeyondTheBlankingStretchesTheTotal) {
  auto timing = parse<DetailedTiming>(full_hd);
  timing.horizontal.blank = 132;
  EXPECT_EQ(mode_of(timing).horizontal.total, 2052);
  timing.horizontal.blank = 131;
  EXPECT_EQ(mode_of(timing).horizontal.total, 2053);
}

TEST(Modes, KnownInterlacedSizesAreOfAFrame) {
  auto timing = parse<DetailedTiming>(full_hd);
  timing.interlaced = true;
  timing.vertical = {540, 22, 2, 5};
  timing.pixel_clock_khz = 74250;
  const Mode mode = mode_of(timing);
  EXPECT_EQ(mode.vertical.display, 1080);
  EXPECT_EQ(mode.vertical.sync_start, 1084);
  EXPECT_EQ(mode.vertical.sync_end, 1094);
  EXPECT_EQ(mode.vertical.total, 1125);
  EXPECT_TRUE(mode.interlaced);
  EXPECT_EQ(refresh_rate(mode), 60u);
  timing.vertical.active = 541;
  EXPECT_EQ(mode_of(timing).vertical.display, 541);
  timing.vertical.active = 540;
  timing.interlaced = false;
  EXPECT_EQ(mode_of(timing).vertical.display, 540);
}

TEST(Descriptors, AreDetailedTimingsWithAPixelClock) {
  EXPECT_EQ(parse<DetailedTiming>({1, 0, 0, 0xFC}).pixel_clock_khz, 10);
  EXPECT_EQ(parse<DetailedTiming>({0, 1, 0, 0xFC}).pixel_clock_khz, 2560);
}

TEST(Descriptors, OtherTagsAreUndefined) {
  EXPECT_EQ(parse<UndefinedDescriptor>({0, 0, 0, 0x10}).tag, 0x10);
  EXPECT_EQ(parse<UndefinedDescriptor>({0, 0, 0, 0xF6}).tag, 0xF6);
  parse<CvtCodes>({0, 0, 0, 0xF8});
  parse<ColorManagement>({0, 0, 0, 0xF9});
}

TEST(Descriptors, EstablishedTimings3) {
  const auto timings = parse<EstablishedTimings3>({0, 0, 0, 0xF7, 0, 10, 0x81, 0, 0, 0, 0, 0x1F});
  for (size_t i = 0; i < 44; ++i) {
    EXPECT_EQ(timings.supported[i], i == 0 || i == 7 || i == 43) << i;
  }
}

TEST(Descriptors, StandardTimings) {
  const Bytes bytes = {0,    0,    0,    0xFA, 0,    0xD1, 0x00, 1,   1,
                       0x81, 0x80, 0x20, 0x20, 0x01, 0x01, 0x61, 0x40};
  const auto list = parse<StandardTimings>(bytes, 4);
  EXPECT_EQ(list.timings[0]->height, 1200);
  EXPECT_FALSE(list.timings[1]);
  EXPECT_EQ(list.timings[2]->width, 1280);
  EXPECT_FALSE(list.timings[3]);
  EXPECT_FALSE(list.timings[4]);
  EXPECT_EQ(list.timings[5]->width, 1024);
  EXPECT_EQ(parse<StandardTimings>(bytes, 2).timings[0]->height, 1920);
}

TEST(Descriptors, ColorPoints) {
  const auto points =
      parse<ColorPoints>({0, 0, 0, 0xFB, 0, 1, 0xA6, 80, 84, 120, 2, 0x0F, 255, 0, 255}).points;
  EXPECT_EQ(points[0].index, 1);
  EXPECT_EQ(points[0].white.x, 80 * 4 + 1);
  EXPECT_EQ(points[0].white.y, 84 * 4 + 2);
  EXPECT_EQ(points[0].reserved, 0xA);
  EXPECT_DOUBLE_EQ(points[0].gamma.value(), 2.2);
  EXPECT_EQ(points[1].index, 2);
  EXPECT_EQ(points[1].white.x, 1023);
  EXPECT_EQ(points[1].white.y, 3);
  EXPECT_EQ(points[1].reserved, 0);
  EXPECT_EQ(points[1].gamma, std::nullopt);
}

TEST(Descriptors, TextsEndWithTheirLineFeed) {
  const Bytes bytes = {0,   0,   0,   0xFC, 'x', 'B', 'i', 'g', ' ',
                       'O', 'n', 'e', '\n', ' ', ' ', ' ', ' ', ' '};
  EXPECT_EQ(parse<ProductName>(bytes).text(), "Big One");
  Bytes serial = bytes;
  serial[3] = 0xFF;
  EXPECT_EQ(parse<ProductSerial>(serial).text(), "Big One");
  Bytes full = {0, 0, 0, 0xFE, 0};
  full.resize(18, 'z');
  EXPECT_EQ(parse<DataString>(full).text(), "zzzzzzzzzzzzz");
}

TEST(RangeLimits, HaveOffsetsOf255) {
  const struct {
    uint8_t offsets;
    int vertical[2], horizontal[2];
  } rows[] = {
      {0x0, {48, 75}, {30, 83}},   {0x1, {48, 75}, {30, 83}},     {0x2, {48, 330}, {30, 83}},
      {0x3, {303, 330}, {30, 83}}, {0x8, {48, 75}, {30, 338}},    {0xC, {48, 75}, {285, 338}},
      {0x4, {48, 75}, {30, 83}},   {0xF, {303, 330}, {285, 338}},
  };
  for (const auto& row : rows) {
    const auto limits = parse<RangeLimits>({0, 0, 0, 0xFD, row.offsets, 48, 75, 30, 83, 17});
    EXPECT_EQ(limits.min_vertical_hz, row.vertical[0]);
    EXPECT_EQ(limits.max_vertical_hz, row.vertical[1]);
    EXPECT_EQ(limits.min_horizontal_khz, row.horizontal[0]);
    EXPECT_EQ(limits.max_horizontal_khz, row.horizontal[1]);
    EXPECT_EQ(limits.max_pixel_clock_mhz, 170);
  }
}

// With a byte that names the support, and what follows it.
template <typename Support>
Support support(const Bytes& tail) {
  Bytes bytes = {0, 0, 0, 0xFD, 0, 48, 75, 30, 83, 17};
  bytes.insert(bytes.end(), tail.begin(), tail.end());
  const auto limits = parse<RangeLimits>(bytes);
  const Support* const support = std::get_if<Support>(&limits.support);
  EXPECT_NE(support, nullptr);
  return support == nullptr ? Support{} : *support;
}

TEST(RangeLimits, NameTheirTimingSupport) {
  support<DefaultGtf>({0});
  support<RangeLimitsOnly>({1});
  EXPECT_EQ(support<UnknownTimingSupport>({3}).code, 3);
  EXPECT_EQ(support<UnknownTimingSupport>({255}).code, 255);
}

TEST(RangeLimits, SecondaryGtf) {
  const auto gtf = support<SecondaryGtf>({2, 0, 50, 81, 0x58, 0x02, 128, 41});
  EXPECT_EQ(gtf.start_frequency_khz, 100);
  EXPECT_EQ(gtf.twice_c, 81);
  EXPECT_EQ(gtf.m, 600);
  EXPECT_EQ(gtf.k, 128);
  EXPECT_EQ(gtf.twice_j, 41);
}

TEST(RangeLimits, Cvt) {
  const auto cvt = support<Cvt>({4, 0x13, 0x0D, 0x2C, 0xA8, 0x48, 0x50, 60});
  EXPECT_EQ(cvt.version, 1);
  EXPECT_EQ(cvt.revision, 3);
  EXPECT_DOUBLE_EQ(cvt.max_pixel_clock_mhz, 169.25);
  EXPECT_EQ(cvt.max_active_pixels, 2400);
  const std::array<bool, 5> aspects = {true, false, true, false, true};
  EXPECT_EQ(cvt.aspects, aspects);
  EXPECT_EQ(cvt.preferred_aspect, 2);
  EXPECT_TRUE(cvt.standard_blanking);
  EXPECT_FALSE(cvt.reduced_blanking);
  EXPECT_FALSE(cvt.horizontal_shrink);
  EXPECT_TRUE(cvt.horizontal_stretch);
  EXPECT_FALSE(cvt.vertical_shrink);
  EXPECT_TRUE(cvt.vertical_stretch);
  EXPECT_EQ(cvt.preferred_refresh_hz, 60);
  EXPECT_EQ(support<Cvt>({4, 0, 0xFC, 0}).max_active_pixels, 0);
  EXPECT_DOUBLE_EQ(support<Cvt>({4, 0, 0xFC, 0}).max_pixel_clock_mhz, 154.25);
}

}  // namespace
