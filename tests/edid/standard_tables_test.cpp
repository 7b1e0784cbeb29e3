// The tables of the standards, where the report does not show all of a row.
#include "edid/standard_tables.h"

#include <gtest/gtest.h>

#include <cstring>

namespace edidtest {
namespace {

using namespace zvg::edid;

struct Established {
  const char* name;
  int clock_khz;
  int h[4];  // display, sync start, sync end, total
  int v[4];
  uint32_t flags;
  int refresh_hz;  // what the timings give
};

// clang-format off
const Established established[established_mode_count] = {
    {"800x600", 40000, {800, 840, 968, 1056}, {600, 601, 605, 628}, 0x05, 60},
    {"800x600", 36000, {800, 824, 896, 1024}, {600, 601, 603, 625}, 0x05, 56},
    {"640x480", 31500, {640, 656, 720, 840}, {480, 481, 484, 500}, 0x0A, 75},
    {"640x480", 31500, {640, 664, 704, 832}, {480, 489, 492, 520}, 0x0A, 73},
    {"640x480", 30240, {640, 704, 768, 864}, {480, 483, 486, 525}, 0x0A, 67},
    {"640x480", 25175, {640, 656, 752, 800}, {480, 490, 492, 525}, 0x0A, 60},
    {"720x400", 35500, {720, 738, 846, 900}, {400, 421, 423, 449}, 0x0A, 88},
    {"720x400", 28320, {720, 738, 846, 900}, {400, 412, 414, 449}, 0x06, 70},
    {"1280x1024", 135000, {1280, 1296, 1440, 1688}, {1024, 1025, 1028, 1066}, 0x05, 75},
    {"1024x768", 78750, {1024, 1040, 1136, 1312}, {768, 769, 772, 800}, 0x05, 75},
    {"1024x768", 75000, {1024, 1048, 1184, 1328}, {768, 771, 777, 806}, 0x0A, 70},
    {"1024x768", 65000, {1024, 1048, 1184, 1344}, {768, 771, 777, 806}, 0x0A, 60},
    {"1024x768i", 44900, {1024, 1032, 1208, 1264}, {768, 768, 776, 817}, 0x15, 86},
    {"832x624", 57284, {832, 864, 928, 1152}, {624, 625, 628, 667}, 0x0A, 75},
    {"800x600", 49500, {800, 816, 896, 1056}, {600, 601, 604, 625}, 0x05, 75},
    {"800x600", 50000, {800, 856, 976, 1040}, {600, 637, 643, 666}, 0x05, 72},
    {"1152x864", 108000, {1152, 1216, 1344, 1600}, {864, 865, 868, 900}, 0x05, 75},
};
// clang-format on

TEST(StandardTables, EstablishedModes) {
  for (int i = 0; i < established_mode_count; ++i) {
    const Established& row = established[i];
    zvg_display_mode expected;
    memset(&expected, 0, sizeof expected);
    strcpy(expected.name, row.name);
    expected.type = 64;
    expected.clock = row.clock_khz;
    expected.hdisplay = row.h[0];
    expected.hsync_start = row.h[1];
    expected.hsync_end = row.h[2];
    expected.htotal = row.h[3];
    expected.vdisplay = row.v[0];
    expected.vsync_start = row.v[1];
    expected.vsync_end = row.v[2];
    expected.vtotal = row.v[3];
    expected.flags = row.flags;
    EXPECT_EQ(memcmp(&established_modes[i], &expected, sizeof expected), 0) << "bit " << i;
    EXPECT_EQ(zvg_mode_vrefresh(&established_modes[i]), row.refresh_hz) << "bit " << i;
    zvg_mode_set_name(&expected);
    EXPECT_STREQ(expected.name, row.name) << "bit " << i;
  }
}

TEST(StandardTables, EstablishedTimings3EndsWithItsLastMode) {
  const EstablishedTiming3& last = established_timings_3[established_timing_3_count - 1];
  EXPECT_EQ(last.width, 1920);
  EXPECT_EQ(last.height, 1440);
  EXPECT_EQ(last.refresh_hz, 75);
  EXPECT_EQ(last.reduced_blanking, 0);
}

TEST(StandardTables, TheFirstVideoFormatIsEmpty) {
  EXPECT_STREQ(video_formats[0].name, "");
  EXPECT_EQ(video_formats[0].field_rate_hz, 0u);
  EXPECT_EQ(video_formats[0].aspect, 0u);
  for (const VideoFormat& format : video_formats) EXPECT_EQ(format.reserved, 0u);
}

TEST(StandardTables, InterlacedSizesInOrder) {
  const FrameSize sizes[] = {{1920, 1080}, {720, 480},  {1440, 480}, {2880, 480},
                             {720, 576},   {1440, 576}, {2880, 576}};
  static_assert(sizeof sizes == sizeof interlaced_sizes);
  EXPECT_EQ(memcmp(sizes, interlaced_sizes, sizeof sizes), 0);
}

}  // namespace
}  // namespace edidtest
