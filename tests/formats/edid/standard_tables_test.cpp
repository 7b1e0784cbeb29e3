// The tables of the standards.
#include "formats/edid/standard_tables.h"

#include <gtest/gtest.h>

namespace {

using namespace zvg::formats::edid;

struct Established {
  int clock_khz;
  int h[4];  // display, sync start, sync end, total
  int v[4];
  uint32_t flags;  // 1 and 2: horizontal sync positive, negative; 4 and 8: vertical; 16: interlaced
  int refresh_hz;  // what the timings give
};

// clang-format off
const Established established[17] = {
    {40000, {800, 840, 968, 1056}, {600, 601, 605, 628}, 0x05, 60},
    {36000, {800, 824, 896, 1024}, {600, 601, 603, 625}, 0x05, 56},
    {31500, {640, 656, 720, 840}, {480, 481, 484, 500}, 0x0A, 75},
    {31500, {640, 664, 704, 832}, {480, 489, 492, 520}, 0x0A, 73},
    {30240, {640, 704, 768, 864}, {480, 483, 486, 525}, 0x0A, 67},
    {25175, {640, 656, 752, 800}, {480, 490, 492, 525}, 0x0A, 60},
    {35500, {720, 738, 846, 900}, {400, 421, 423, 449}, 0x0A, 88},
    {28320, {720, 738, 846, 900}, {400, 412, 414, 449}, 0x06, 70},
    {135000, {1280, 1296, 1440, 1688}, {1024, 1025, 1028, 1066}, 0x05, 75},
    {78750, {1024, 1040, 1136, 1312}, {768, 769, 772, 800}, 0x05, 75},
    {75000, {1024, 1048, 1184, 1328}, {768, 771, 777, 806}, 0x0A, 70},
    {65000, {1024, 1048, 1184, 1344}, {768, 771, 777, 806}, 0x0A, 60},
    {44900, {1024, 1032, 1208, 1264}, {768, 768, 776, 817}, 0x15, 86},
    {57284, {832, 864, 928, 1152}, {624, 625, 628, 667}, 0x0A, 75},
    {49500, {800, 816, 896, 1056}, {600, 601, 604, 625}, 0x05, 75},
    {50000, {800, 856, 976, 1040}, {600, 637, 643, 666}, 0x05, 72},
    {108000, {1152, 1216, 1344, 1600}, {864, 865, 868, 900}, 0x05, 75},
};
// clang-format on

TEST(StandardTables, EstablishedModes) {
  ASSERT_EQ(established_mode_count, 17);
  for (int i = 0; i < 17; ++i) {
    SCOPED_TRACE(i);
    const Established& row = established[i];
    const Mode& mode = established_modes[i];
    EXPECT_EQ(mode.clock_khz, row.clock_khz);
    EXPECT_EQ(mode.horizontal.display, row.h[0]);
    EXPECT_EQ(mode.horizontal.sync_start, row.h[1]);
    EXPECT_EQ(mode.horizontal.sync_end, row.h[2]);
    EXPECT_EQ(mode.horizontal.total, row.h[3]);
    EXPECT_EQ(mode.vertical.display, row.v[0]);
    EXPECT_EQ(mode.vertical.sync_start, row.v[1]);
    EXPECT_EQ(mode.vertical.sync_end, row.v[2]);
    EXPECT_EQ(mode.vertical.total, row.v[3]);
    const uint32_t flags = (mode.hsync_positive ? 1u : 2u) | (mode.vsync_positive ? 4u : 8u) |
                           (mode.interlaced ? 16u : 0u);
    EXPECT_EQ(flags, row.flags);
    EXPECT_EQ(refresh_rate(mode), static_cast<uint32_t>(row.refresh_hz));
  }
}

TEST(StandardTables, RefreshRateNeedsTotals) {
  Mode mode = established_modes[0];
  mode.horizontal.total = 0;
  EXPECT_EQ(refresh_rate(mode), 0u);
  mode = established_modes[0];
  mode.vertical.total = 0;
  EXPECT_EQ(refresh_rate(mode), 0u);
}

TEST(StandardTables, EstablishedTimings3) {
  ASSERT_EQ(established_timing_3_count, 44);
  const EstablishedTiming3& first = established_timings_3[0];
  EXPECT_EQ(first.width, 640);
  EXPECT_EQ(first.height, 350);
  EXPECT_EQ(first.refresh_hz, 85);
  EXPECT_FALSE(first.reduced_blanking);
  EXPECT_TRUE(established_timings_3[8].reduced_blanking);
  const EstablishedTiming3& last = established_timings_3[43];
  EXPECT_EQ(last.width, 1920);
  EXPECT_EQ(last.height, 1440);
  EXPECT_EQ(last.refresh_hz, 75);
  EXPECT_FALSE(last.reduced_blanking);
}

TEST(StandardTables, VideoFormats) {
  ASSERT_EQ(video_format_count, 108);
  EXPECT_STREQ(video_formats[0].name, "");
  EXPECT_EQ(video_formats[0].field_rate_hz, 0);
  EXPECT_EQ(video_formats[0].aspect, PictureAspect::none);
  EXPECT_STREQ(video_formats[16].name, "1920x1080");
  EXPECT_EQ(video_formats[16].field_rate_hz, 60);
  EXPECT_EQ(video_formats[16].aspect, PictureAspect::of_16_9);
  EXPECT_STREQ(video_formats[107].name, "3840x2160");
  EXPECT_EQ(video_formats[107].aspect, PictureAspect::of_64_27);
}

TEST(StandardTables, InterlacedSizesInOrder) {
  const int sizes[][2] = {{1920, 1080}, {720, 480},  {1440, 480}, {2880, 480},
                          {720, 576},   {1440, 576}, {2880, 576}};
  ASSERT_EQ(interlaced_size_count, 7);
  for (int i = 0; i < 7; ++i) {
    EXPECT_EQ(interlaced_sizes[i].width, sizes[i][0]) << i;
    EXPECT_EQ(interlaced_sizes[i].height, sizes[i][1]) << i;
  }
}

}  // namespace
