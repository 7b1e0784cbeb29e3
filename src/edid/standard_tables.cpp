#include "edid/standard_tables.h"

#include <stddef.h>
#include <stdint.h>

namespace zvg::edid {
namespace {

constexpr uint32_t positive_syncs = ZVG_FLAG_HSYNC_POSITIVE | ZVG_FLAG_VSYNC_POSITIVE;
constexpr uint32_t negative_syncs = ZVG_FLAG_HSYNC_NEGATIVE | ZVG_FLAG_VSYNC_NEGATIVE;
constexpr uint32_t negative_h_positive_v = ZVG_FLAG_HSYNC_NEGATIVE | ZVG_FLAG_VSYNC_POSITIVE;

constexpr int32_t built_in_mode = 64;  // zvg_display_mode.type of a row of this table

struct Axis {
  int32_t display;
  int32_t sync_start;
  int32_t sync_end;
  int32_t total;
};

template <size_t n>
constexpr zvg_display_mode established(const char (&name)[n], int32_t clock_khz, Axis h, Axis v,
                                       uint32_t flags) {
  zvg_display_mode mode{};
  static_assert(n <= sizeof mode.name);
  for (size_t i = 0; i < n; ++i) mode.name[i] = name[i];
  mode.type = built_in_mode;
  mode.clock = clock_khz;
  mode.hdisplay = h.display;
  mode.hsync_start = h.sync_start;
  mode.hsync_end = h.sync_end;
  mode.htotal = h.total;
  mode.vdisplay = v.display;
  mode.vsync_start = v.sync_start;
  mode.vsync_end = v.sync_end;
  mode.vtotal = v.total;
  mode.flags = flags;
  return mode;
}

}  // namespace

// clang-format off
constexpr zvg_display_mode established_modes[established_mode_count] = {
    established("800x600", 40000, {800, 840, 968, 1056}, {600, 601, 605, 628}, positive_syncs),
    established("800x600", 36000, {800, 824, 896, 1024}, {600, 601, 603, 625}, positive_syncs),
    established("640x480", 31500, {640, 656, 720, 840}, {480, 481, 484, 500}, negative_syncs),
    established("640x480", 31500, {640, 664, 704, 832}, {480, 489, 492, 520}, negative_syncs),
    established("640x480", 30240, {640, 704, 768, 864}, {480, 483, 486, 525}, negative_syncs),
    established("640x480", 25175, {640, 656, 752, 800}, {480, 490, 492, 525}, negative_syncs),
    established("720x400", 35500, {720, 738, 846, 900}, {400, 421, 423, 449}, negative_syncs),
    established("720x400", 28320, {720, 738, 846, 900}, {400, 412, 414, 449}, negative_h_positive_v),
    established("1280x1024", 135000, {1280, 1296, 1440, 1688}, {1024, 1025, 1028, 1066}, positive_syncs),
    established("1024x768", 78750, {1024, 1040, 1136, 1312}, {768, 769, 772, 800}, positive_syncs),
    established("1024x768", 75000, {1024, 1048, 1184, 1328}, {768, 771, 777, 806}, negative_syncs),
    established("1024x768", 65000, {1024, 1048, 1184, 1344}, {768, 771, 777, 806}, negative_syncs),
    established("1024x768i", 44900, {1024, 1032, 1208, 1264}, {768, 768, 776, 817}, positive_syncs | ZVG_FLAG_INTERLACED),
    established("832x624", 57284, {832, 864, 928, 1152}, {624, 625, 628, 667}, negative_syncs),
    established("800x600", 49500, {800, 816, 896, 1056}, {600, 601, 604, 625}, positive_syncs),
    established("800x600", 50000, {800, 856, 976, 1040}, {600, 637, 643, 666}, positive_syncs),
    established("1152x864", 108000, {1152, 1216, 1344, 1600}, {864, 865, 868, 900}, positive_syncs),
};

constexpr EstablishedTiming3 established_timings_3[established_timing_3_count] = {
    {640, 350, 85, 0},
    {640, 400, 85, 0},
    {720, 400, 85, 0},
    {640, 480, 85, 0},
    {848, 480, 60, 0},
    {800, 600, 85, 0},
    {1024, 768, 85, 0},
    {1152, 864, 75, 0},
    {1280, 768, 60, 1},
    {1280, 768, 60, 0},
    {1280, 768, 75, 0},
    {1280, 768, 85, 0},
    {1280, 960, 60, 0},
    {1280, 960, 85, 0},
    {1280, 1024, 60, 0},
    {1280, 1024, 85, 0},
    {1360, 768, 60, 0},
    {1440, 900, 60, 1},
    {1440, 900, 60, 0},
    {1440, 900, 75, 0},
    {1440, 900, 85, 0},
    {1400, 1050, 60, 1},
    {1400, 1050, 60, 0},
    {1400, 1050, 75, 0},
    {1400, 1050, 85, 0},
    {1680, 1050, 60, 1},
    {1680, 1050, 60, 0},
    {1680, 1050, 75, 0},
    {1680, 1050, 85, 0},
    {1600, 1200, 60, 0},
    {1600, 1200, 65, 0},
    {1600, 1200, 70, 0},
    {1600, 1200, 75, 0},
    {1600, 1200, 85, 0},
    {1792, 1344, 60, 0},
    {1792, 1344, 75, 0},
    {1856, 1392, 60, 0},
    {1856, 1392, 75, 0},
    {1920, 1200, 60, 1},
    {1920, 1200, 60, 0},
    {1920, 1200, 75, 0},
    {1920, 1200, 85, 0},
    {1920, 1440, 60, 0},
    {1920, 1440, 75, 0},
};

constexpr VideoFormat video_formats[video_format_count] = {
    /*   0 */ {"", 0, 0, aspect_none},
    /*   1 */ {"640x480", 60, 0, aspect_4_3},
    /*   2 */ {"720x480", 60, 0, aspect_4_3},
    /*   3 */ {"720x480", 60, 0, aspect_16_9},
    /*   4 */ {"1280x720", 60, 0, aspect_16_9},
    /*   5 */ {"1920x1080i", 60, 0, aspect_16_9},
    /*   6 */ {"720(1440)x480i", 60, 0, aspect_4_3},
    /*   7 */ {"720(1440)x480i", 60, 0, aspect_16_9},
    /*   8 */ {"720(1440)x240", 60, 0, aspect_4_3},
    /*   9 */ {"720(1440)x240", 60, 0, aspect_16_9},
    /*  10 */ {"2880x480i", 60, 0, aspect_4_3},
    /*  11 */ {"2880x480i", 60, 0, aspect_16_9},
    /*  12 */ {"2880x240", 60, 0, aspect_4_3},
    /*  13 */ {"2880x240", 60, 0, aspect_16_9},
    /*  14 */ {"1440x480", 60, 0, aspect_4_3},
    /*  15 */ {"1440x480", 60, 0, aspect_16_9},
    /*  16 */ {"1920x1080", 60, 0, aspect_16_9},
    /*  17 */ {"720x576", 50, 0, aspect_4_3},
    /*  18 */ {"720x576", 50, 0, aspect_16_9},
    /*  19 */ {"1280x720", 50, 0, aspect_16_9},
    /*  20 */ {"1920x1080i", 50, 0, aspect_16_9},
    /*  21 */ {"720(1440)x576i", 50, 0, aspect_4_3},
    /*  22 */ {"720(1440)x576i", 50, 0, aspect_16_9},
    /*  23 */ {"720(1440)x288", 50, 0, aspect_4_3},
    /*  24 */ {"720(1440)x288", 50, 0, aspect_16_9},
    /*  25 */ {"2880x576i", 50, 0, aspect_4_3},
    /*  26 */ {"2880x576i", 50, 0, aspect_16_9},
    /*  27 */ {"2880x288", 50, 0, aspect_4_3},
    /*  28 */ {"2880x288", 50, 0, aspect_16_9},
    /*  29 */ {"1440x576", 50, 0, aspect_4_3},
    /*  30 */ {"1440x576", 50, 0, aspect_16_9},
    /*  31 */ {"1920x1080", 50, 0, aspect_16_9},
    /*  32 */ {"1920x1080", 24, 0, aspect_16_9},
    /*  33 */ {"1920x1080", 25, 0, aspect_16_9},
    /*  34 */ {"1920x1080", 30, 0, aspect_16_9},
    /*  35 */ {"2880x480", 60, 0, aspect_4_3},
    /*  36 */ {"2880x480", 60, 0, aspect_16_9},
    /*  37 */ {"2880x576", 50, 0, aspect_4_3},
    /*  38 */ {"2880x576", 50, 0, aspect_16_9},
    /*  39 */ {"1920x1080i", 50, 0, aspect_16_9},
    /*  40 */ {"1920x1080i", 100, 0, aspect_16_9},
    /*  41 */ {"1280x720", 100, 0, aspect_16_9},
    /*  42 */ {"720x576", 100, 0, aspect_4_3},
    /*  43 */ {"720x576", 100, 0, aspect_16_9},
    /*  44 */ {"720(1440)x576i", 100, 0, aspect_4_3},
    /*  45 */ {"720(1440)x576i", 100, 0, aspect_16_9},
    /*  46 */ {"1920x1080i", 120, 0, aspect_16_9},
    /*  47 */ {"1280x720", 120, 0, aspect_16_9},
    /*  48 */ {"720x480", 120, 0, aspect_4_3},
    /*  49 */ {"720x480", 120, 0, aspect_16_9},
    /*  50 */ {"720(1440)x480i", 120, 0, aspect_4_3},
    /*  51 */ {"720(1440)x480i", 120, 0, aspect_16_9},
    /*  52 */ {"720x576", 200, 0, aspect_4_3},
    /*  53 */ {"720x576", 200, 0, aspect_16_9},
    /*  54 */ {"720(1440)x576i", 200, 0, aspect_4_3},
    /*  55 */ {"720(1440)x576i", 200, 0, aspect_16_9},
    /*  56 */ {"720x480", 240, 0, aspect_4_3},
    /*  57 */ {"720x480", 240, 0, aspect_16_9},
    /*  58 */ {"720(1440)x480i", 240, 0, aspect_4_3},
    /*  59 */ {"720(1440)x480i", 240, 0, aspect_16_9},
    /*  60 */ {"1280x720", 24, 0, aspect_16_9},
    /*  61 */ {"1280x720", 25, 0, aspect_16_9},
    /*  62 */ {"1280x720", 30, 0, aspect_16_9},
    /*  63 */ {"1920x1080", 120, 0, aspect_16_9},
    /*  64 */ {"1920x1080", 100, 0, aspect_16_9},
    /*  65 */ {"1280x720", 24, 0, aspect_64_27},
    /*  66 */ {"1280x720", 25, 0, aspect_64_27},
    /*  67 */ {"1280x720", 30, 0, aspect_64_27},
    /*  68 */ {"1280x720", 50, 0, aspect_64_27},
    /*  69 */ {"1280x720", 60, 0, aspect_64_27},
    /*  70 */ {"1280x720", 100, 0, aspect_64_27},
    /*  71 */ {"1280x720", 120, 0, aspect_64_27},
    /*  72 */ {"1920x1080", 24, 0, aspect_64_27},
    /*  73 */ {"1920x1080", 25, 0, aspect_64_27},
    /*  74 */ {"1920x1080", 30, 0, aspect_64_27},
    /*  75 */ {"1920x1080", 50, 0, aspect_64_27},
    /*  76 */ {"1920x1080", 60, 0, aspect_64_27},
    /*  77 */ {"1920x1080", 100, 0, aspect_64_27},
    /*  78 */ {"1920x1080", 120, 0, aspect_64_27},
    /*  79 */ {"1680x720", 24, 0, aspect_64_27},
    /*  80 */ {"1680x720", 25, 0, aspect_64_27},
    /*  81 */ {"1680x720", 30, 0, aspect_64_27},
    /*  82 */ {"1680x720", 50, 0, aspect_64_27},
    /*  83 */ {"1680x720", 60, 0, aspect_64_27},
    /*  84 */ {"1680x720", 100, 0, aspect_64_27},
    /*  85 */ {"1680x720", 120, 0, aspect_64_27},
    /*  86 */ {"2560x1080", 24, 0, aspect_64_27},
    /*  87 */ {"2560x1080", 25, 0, aspect_64_27},
    /*  88 */ {"2560x1080", 30, 0, aspect_64_27},
    /*  89 */ {"2560x1080", 50, 0, aspect_64_27},
    /*  90 */ {"2560x1080", 60, 0, aspect_64_27},
    /*  91 */ {"2560x1080", 100, 0, aspect_64_27},
    /*  92 */ {"2560x1080", 120, 0, aspect_64_27},
    /*  93 */ {"3840x2160", 24, 0, aspect_16_9},
    /*  94 */ {"3840x2160", 25, 0, aspect_16_9},
    /*  95 */ {"3840x2160", 30, 0, aspect_16_9},
    /*  96 */ {"3840x2160", 50, 0, aspect_16_9},
    /*  97 */ {"3840x2160", 60, 0, aspect_16_9},
    /*  98 */ {"4096x2160", 24, 0, aspect_256_135},
    /*  99 */ {"4096x2160", 25, 0, aspect_256_135},
    /* 100 */ {"4096x2160", 30, 0, aspect_256_135},
    /* 101 */ {"4096x2160", 50, 0, aspect_256_135},
    /* 102 */ {"4096x2160", 60, 0, aspect_256_135},
    /* 103 */ {"3840x2160", 24, 0, aspect_64_27},
    /* 104 */ {"3840x2160", 25, 0, aspect_64_27},
    /* 105 */ {"3840x2160", 30, 0, aspect_64_27},
    /* 106 */ {"3840x2160", 50, 0, aspect_64_27},
    /* 107 */ {"3840x2160", 60, 0, aspect_64_27},
};
// clang-format on

constexpr FrameSize interlaced_sizes[interlaced_size_count] = {
    {1920, 1080}, {720, 480}, {1440, 480}, {2880, 480}, {720, 576}, {1440, 576}, {2880, 576},
};

}  // namespace zvg::edid
