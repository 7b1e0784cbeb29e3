// Short video descriptors: every code from 0 to 255.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "expected_report.h"

namespace edidtest {
namespace {

struct Format {
  int code;
  const char* name;
  int rate_hz;
  const char* aspect;
};

// clang-format off
const Format formats[107] = {
    {1, "640x480", 60, "4:3"},
    {2, "720x480", 60, "4:3"},
    {3, "720x480", 60, "16:9"},
    {4, "1280x720", 60, "16:9"},
    {5, "1920x1080i", 60, "16:9"},
    {6, "720(1440)x480i", 60, "4:3"},
    {7, "720(1440)x480i", 60, "16:9"},
    {8, "720(1440)x240", 60, "4:3"},
    {9, "720(1440)x240", 60, "16:9"},
    {10, "2880x480i", 60, "4:3"},
    {11, "2880x480i", 60, "16:9"},
    {12, "2880x240", 60, "4:3"},
    {13, "2880x240", 60, "16:9"},
    {14, "1440x480", 60, "4:3"},
    {15, "1440x480", 60, "16:9"},
    {16, "1920x1080", 60, "16:9"},
    {17, "720x576", 50, "4:3"},
    {18, "720x576", 50, "16:9"},
    {19, "1280x720", 50, "16:9"},
    {20, "1920x1080i", 50, "16:9"},
    {21, "720(1440)x576i", 50, "4:3"},
    {22, "720(1440)x576i", 50, "16:9"},
    {23, "720(1440)x288", 50, "4:3"},
    {24, "720(1440)x288", 50, "16:9"},
    {25, "2880x576i", 50, "4:3"},
    {26, "2880x576i", 50, "16:9"},
    {27, "2880x288", 50, "4:3"},
    {28, "2880x288", 50, "16:9"},
    {29, "1440x576", 50, "4:3"},
    {30, "1440x576", 50, "16:9"},
    {31, "1920x1080", 50, "16:9"},
    {32, "1920x1080", 24, "16:9"},
    {33, "1920x1080", 25, "16:9"},
    {34, "1920x1080", 30, "16:9"},
    {35, "2880x480", 60, "4:3"},
    {36, "2880x480", 60, "16:9"},
    {37, "2880x576", 50, "4:3"},
    {38, "2880x576", 50, "16:9"},
    {39, "1920x1080i", 50, "16:9"},
    {40, "1920x1080i", 100, "16:9"},
    {41, "1280x720", 100, "16:9"},
    {42, "720x576", 100, "4:3"},
    {43, "720x576", 100, "16:9"},
    {44, "720(1440)x576i", 100, "4:3"},
    {45, "720(1440)x576i", 100, "16:9"},
    {46, "1920x1080i", 120, "16:9"},
    {47, "1280x720", 120, "16:9"},
    {48, "720x480", 120, "4:3"},
    {49, "720x480", 120, "16:9"},
    {50, "720(1440)x480i", 120, "4:3"},
    {51, "720(1440)x480i", 120, "16:9"},
    {52, "720x576", 200, "4:3"},
    {53, "720x576", 200, "16:9"},
    {54, "720(1440)x576i", 200, "4:3"},
    {55, "720(1440)x576i", 200, "16:9"},
    {56, "720x480", 240, "4:3"},
    {57, "720x480", 240, "16:9"},
    {58, "720(1440)x480i", 240, "4:3"},
    {59, "720(1440)x480i", 240, "16:9"},
    {60, "1280x720", 24, "16:9"},
    {61, "1280x720", 25, "16:9"},
    {62, "1280x720", 30, "16:9"},
    {63, "1920x1080", 120, "16:9"},
    {64, "1920x1080", 100, "16:9"},
    {65, "1280x720", 24, "64:27"},
    {66, "1280x720", 25, "64:27"},
    {67, "1280x720", 30, "64:27"},
    {68, "1280x720", 50, "64:27"},
    {69, "1280x720", 60, "64:27"},
    {70, "1280x720", 100, "64:27"},
    {71, "1280x720", 120, "64:27"},
    {72, "1920x1080", 24, "64:27"},
    {73, "1920x1080", 25, "64:27"},
    {74, "1920x1080", 30, "64:27"},
    {75, "1920x1080", 50, "64:27"},
    {76, "1920x1080", 60, "64:27"},
    {77, "1920x1080", 100, "64:27"},
    {78, "1920x1080", 120, "64:27"},
    {79, "1680x720", 24, "64:27"},
    {80, "1680x720", 25, "64:27"},
    {81, "1680x720", 30, "64:27"},
    {82, "1680x720", 50, "64:27"},
    {83, "1680x720", 60, "64:27"},
    {84, "1680x720", 100, "64:27"},
    {85, "1680x720", 120, "64:27"},
    {86, "2560x1080", 24, "64:27"},
    {87, "2560x1080", 25, "64:27"},
    {88, "2560x1080", 30, "64:27"},
    {89, "2560x1080", 50, "64:27"},
    {90, "2560x1080", 60, "64:27"},
    {91, "2560x1080", 100, "64:27"},
    {92, "2560x1080", 120, "64:27"},
    {93, "3840x2160", 24, "16:9"},
    {94, "3840x2160", 25, "16:9"},
    {95, "3840x2160", 30, "16:9"},
    {96, "3840x2160", 50, "16:9"},
    {97, "3840x2160", 60, "16:9"},
    {98, "4096x2160", 24, "256:135"},
    {99, "4096x2160", 25, "256:135"},
    {100, "4096x2160", 30, "256:135"},
    {101, "4096x2160", 50, "256:135"},
    {102, "4096x2160", 60, "256:135"},
    {103, "3840x2160", 24, "64:27"},
    {104, "3840x2160", 25, "64:27"},
    {105, "3840x2160", 30, "64:27"},
    {106, "3840x2160", 50, "64:27"},
    {107, "3840x2160", 60, "64:27"},
};
// clang-format on

std::string format_text(bool native, int row) {
  const Format unknown = {row, "Unknown", 0, "Error!"};
  const Format& format = row <= 107 ? formats[row - 1] : unknown;
  EXPECT_EQ(format.code, row);
  return std::string("\tNative Format:\t") + (native ? "native" : "not-native") +
         "\n\t\tVideo Descriptor: Index[" + std::to_string(row) + "]\tFormats:" + format.name +
         "\tFiled Rate:" + std::to_string(format.rate_hz) +
         "\tPicture Aspect Ratio: " + format.aspect + "\n";
}

const char reserved[] = "\tThe VIC is reserved for the future\n";

// Codes are tried in video data blocks of 16.
void expect_codes(int first, int last, const std::function<std::string(int code)>& text) {
  for (int start = first; start <= last; start += 16) {
    Bytes codes;
    for (int code = start; code <= last && code < start + 16; ++code) {
      codes.push_back(static_cast<uint8_t>(code));
    }
    std::string expected =
        "Video Data Block\nVideo Data Block Count:" + std::to_string(codes.size()) + "\n";
    for (size_t i = 0; i < codes.size(); ++i) {
      expected += "\t*" + std::to_string(i + 1) + text(codes[i]);
    }
    expect_data_blocks(Cea().data_block(2, codes), expected + "\n\n");
  }
}

TEST(VideoCode, Formats1To64AreNotNative) {
  expect_codes(1, 64, [](int code) { return format_text(false, code); });
}

TEST(VideoCode, Formats65To107AreNative) {
  expect_codes(65, 107, [](int code) { return format_text(true, code); });
}

TEST(VideoCode, Bit7MakesFormats1To64Native) {
  expect_codes(129, 192, [](int code) { return format_text(true, code - 128); });
}

TEST(VideoCode, CodesBeyondTheTableAreUnknown) {
  expect_codes(108, 127, [](int code) { return format_text(true, code); });
  expect_codes(193, 253, [](int code) { return format_text(true, code); });
}

TEST(VideoCode, ReservedCodes) {
  for (const int code : {0, 128, 254, 255}) {
    expect_codes(code, code, [](int) { return std::string(reserved); });
  }
}

TEST(VideoCode, InFull) {
  expect_data_blocks(Cea().data_block(2, {5, 0x90, 98, 107, 108}),
                     "Video Data Block\n"
                     "Video Data Block Count:5\n"
                     "\t*1\tNative Format:\tnot-native\n"
                     "\t\tVideo Descriptor: Index[5]\tFormats:1920x1080i\tFiled Rate:60"
                     "\tPicture Aspect Ratio: 16:9\n"
                     "\t*2\tNative Format:\tnative\n"
                     "\t\tVideo Descriptor: Index[16]\tFormats:1920x1080\tFiled Rate:60"
                     "\tPicture Aspect Ratio: 16:9\n"
                     "\t*3\tNative Format:\tnative\n"
                     "\t\tVideo Descriptor: Index[98]\tFormats:4096x2160\tFiled Rate:24"
                     "\tPicture Aspect Ratio: 256:135\n"
                     "\t*4\tNative Format:\tnative\n"
                     "\t\tVideo Descriptor: Index[107]\tFormats:3840x2160\tFiled Rate:60"
                     "\tPicture Aspect Ratio: 64:27\n"
                     "\t*5\tNative Format:\tnative\n"
                     "\t\tVideo Descriptor: Index[108]\tFormats:Unknown\tFiled Rate:0"
                     "\tPicture Aspect Ratio: Error!\n\n\n");
}

}  // namespace
}  // namespace edidtest
