// The EDIDs of the virtual monitors: sound images, and the reports that they give.
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>

#include "expected_report.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace edidtest {
namespace {

std::string path_of(const std::string& name) {
  return std::string(ZVG_MONITOR_FOLDER "/") + name + ".edid";
}

Bytes read_monitor(const std::string& name) {
  FILE* const file = fopen(path_of(name).c_str(), "rb");
  if (file == nullptr) return {};
  Bytes bytes(4096);
  bytes.resize(fread(bytes.data(), 1, bytes.size(), file));
  fclose(file);
  return bytes;
}

// What is printed of a file: of its first two blocks, or of one and zeros.
void expect_file_report(const std::string& name, const Report& report) {
  Bytes image = read_monitor(name);
  image.resize(256);
  const auto output = zvgtest::capture([&] { EXPECT_EQ(do_edid_parse(path_of(name).c_str()), 0); });
  EXPECT_EQ(output.out, report.text(image));
}

TEST(Monitors, HaveTheirBlocksAndRightChecksums) {
  const std::map<std::string, size_t> blocks = {
      {"office-24-dvi", 1}, {"tube-19-vga", 1}, {"studio-27-hdmi", 2}, {"wall-55-4k", 4}};
  for (const auto& [name, count] : blocks) {
    const Bytes image = read_monitor(name);
    ASSERT_EQ(image.size(), 128 * count) << name;
    EXPECT_EQ(image[0x7E], count - 1) << name;
    for (size_t block = 0; block < count; ++block) {
      int sum = 0;
      for (size_t i = 0; i < 128; ++i) sum += image[128 * block + i];
      EXPECT_EQ(sum % 256, 0) << name << " block " << block;
    }
  }
}

TEST(Monitors, TheWallMapsItsExtensions) {
  const Bytes image = read_monitor("wall-55-4k");
  ASSERT_EQ(image.size(), 512u);
  EXPECT_EQ(image[128], 0xF0);
  EXPECT_EQ(image[129], image[256]);
  EXPECT_EQ(image[130], image[384]);
  EXPECT_EQ(image[256], 0x02);
  EXPECT_EQ(image[384], 0x70);
  int section = 0;
  for (size_t i = 385; i < 511; ++i) section += image[i];
  EXPECT_EQ(section % 256, 0) << "the section of the last block has a sum of its own";
}

const char power_saving[] =
    "\t\tStandby Mode: \tsupported\n"
    "\t\tSuspend Mode: \tsupported\n"
    "\t\tActive Off: \tVery Low Power is supported\n";
// 655, 338; 0x130 | 0x30, 614; 154, 61; 0x140 | 0x20, 0x150 | 0x10; each over 1024.
const char srgb_points[] =
    "\tRed_x: 0.640 \tRed_y: 0.330\n"
    "\tGreen_x: 0.297 \tGreen_y: 0.600\n"
    "\tBlue_x: 0.150 \tBlue_y: 0.060\n"
    "\tWhite_x: 0.344 \tWhite_y: 0.328\n";
const char includes_preferred[] =
    "\t\tPreferred Timing Mode: \tincludes the native pixel format and preferred refresh rate\n";

std::string full_hd_lines(int width_mm, int height_mm) {
  return "Detailed timing mode: \n"
         "\tName: \t1920x1080\n"
         "\tClock: \t148500kHz\n"
         "\tHdisplay: \t1920 \tVdisplay: \t1080\n"
         "\tHsync_start: \t2008 \tVsync_start: \t1084\n"
         "\tHsync_end: \t2052 \tVsync_end: \t1089\n"
         "\tHtotal: \t2200 \tVtotal: \t1125\n"
         "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n"
         "\tVideo Image Width_mm: \t" +
         std::to_string(width_mm) + "\n\tVideo Image Height_mm: \t" + std::to_string(height_mm) +
         "\n";
}

const char studio_hd_lines[] =
    "Detailed timing mode: \n"
    "\tName: \t1280x720\n"
    "\tClock: \t74250kHz\n"
    "\tHdisplay: \t1280 \tVdisplay: \t720\n"
    "\tHsync_start: \t1390 \tVsync_start: \t725\n"
    "\tHsync_end: \t1430 \tVsync_end: \t730\n"
    "\tHtotal: \t1650 \tVtotal: \t750\n"
    "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n"
    "\tVideo Image Width_mm: \t597\n"
    "\tVideo Image Height_mm: \t336\n";

TEST(Monitors, Office24) {
  Report report;
  report.identification =
      "Manufacturer Name: \tXQZ\n"
      "Product Code: \t0x2401\n"
      "Serial Number: \t0x00012F45\n"
      "Time of Manufacture: \t14 week 2016 year\n";
  report.screen_size = "Sreen Size: \t52 x 32 cm\n";
  report.power_management = power_saving;
  report.color = "\tSupported Color Encoding Format: \tRGB 4:4:4 & YCrCb 4:2:2\n";
  report.other_features = std::string("\t\tsRGB Standard: \tdefault color space\n") +
                          includes_preferred +
                          "\t\tDefault GTF: \tDisplay is non-continuous frequency\n";
  report.chromaticity = srgb_points;
  // Bits 0, 2, 5 and 7 of the first byte, then 0, 1, 3 and 6 of the second.
  report.established =
      "\t800x600@0Hz\n"
      "\t640x480@0Hz\n"
      "\t640x480@0Hz\n"
      "\t720x400@0Hz\n"
      "\t1280x1024@0Hz\n"
      "\t1024x768@0Hz\n"
      "\t1024x768@0Hz\n"
      "\t800x600@0Hz\n";
  report.standard[0] = "\t1280x1024@60Hz\n";
  report.standard[1] = "\t1600x1200@60Hz\n";
  report.standard[2] = "\t1680x1050@60Hz\n";
  report.standard[3] = "\t1440x900@60Hz\n";
  report.descriptors[0] =
      "Detailed timing mode: \n"
      "\tName: \t1920x1200\n"
      "\tClock: \t154000kHz\n"
      "\tHdisplay: \t1920 \tVdisplay: \t1200\n"
      "\tHsync_start: \t1968 \tVsync_start: \t1203\n"
      "\tHsync_end: \t2000 \tVsync_end: \t1209\n"
      "\tHtotal: \t2080 \tVtotal: \t1235\n"
      "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Negative\n"
      "\tVideo Image Width_mm: \t518\n"
      "\tVideo Image Height_mm: \t324\n";
  report.descriptors[1] = "Prodcut Serial Number: XQ24K0077\n";
  report.descriptors[2] = "Display Product Name: OFFICE\n";
  report.descriptors[3] =
      "Display Range Limits: \n"
      "\tMinimum Vertical Rate: \t50Hz\n"
      "\tMaximum Vertical Rate: \t76Hz\n"
      "\tMinimum Horizontal Rate: \t30kHz\n"
      "\tMaximum Horizontal Rate: \t83kHz\n"
      "\tMaximum Pixel Clock: \t170MHz\n";
  expect_file_report("office-24-dvi", report);
}

TEST(Monitors, Tube19) {
  Report report;
  report.identification =
      "Manufacturer Name: \tZVQ\n"
      "Product Code: \t0x0190\n"
      "Serial Number: \t0x0000A3C1\n"
      "Time of Manufacture: \t37 week 2003 year\n";
  report.screen_size = "Sreen Size: \t36 x 27 cm\n";
  report.gamma = "Gamma: \t2.40\n";
  report.video_input =
      "\tInterface: \tAnalog\n"
      "\tSignal Level Standard: \tVideo=0.700Vpp Sync=0.300Vpp Total=1.000Vpp\n"
      "\tVideo=0.714Vpp Sync=0.286Vpp Total=1.000Vpp\n"
      "\tVideo=1.000Vpp Sync=0.400Vpp Total=1.400Vpp\n"
      "\tVideo=0.700Vpp Sync=0.000Vpp Total=0.700Vpp\n"
      "\tVideo Setup: \tBlank Level = Black Level\n"
      "\tBlank-to-Black setup or pedestal\n"
      "\tSynchronization Types\n"
      "\t\tSeparate Sync H & V Signals: \tsupported\n"
      "\t\tComposite Sync Signal on Horizontal: \tsupported\n"
      "\t\tComposite Sync Signal on Green Video: \tsupported\n"
      "\tSerrations: \tSerration on the Vertical Sync: supported\n";
  report.power_management = power_saving;
  report.color = "\tDisplay Color Type: \tRGB color display\n";
  report.other_features =
      "\t\tsRGB Standard: \tdefault color space\n"
      "\t\tPreferred Timing Mode: \tnot includes the native pixel format and preferred refresh "
      "rate\n"
      "\t\tDefault GTF: \tDisplay is continuous frequency\n";
  // 640, 348; 284, 609; 159, 72; 0x120 | 0x30 and 0x130 = 304.
  report.chromaticity =
      "\tRed_x: 0.625 \tRed_y: 0.340\n"
      "\tGreen_x: 0.277 \tGreen_y: 0.595\n"
      "\tBlue_x: 0.155 \tBlue_y: 0.070\n"
      "\tWhite_x: 0.297 \tWhite_y: 0.297\n";
  report.established =
      "\t800x600@0Hz\n\t800x600@0Hz\n\t640x480@0Hz\n\t640x480@0Hz\n\t640x480@0Hz\n"
      "\t640x480@0Hz\n\t720x400@0Hz\n\t720x400@0Hz\n\t1280x1024@0Hz\n\t1024x768@0Hz\n"
      "\t1024x768@0Hz\n\t1024x768@0Hz\n\t1024x768@0Hz\n\t832x624@0Hz\n\t800x600@0Hz\n"
      "\t800x600@0Hz\n\t1152x864@0Hz\n";
  report.standard[0] = "\t1600x1200@75Hz\n";
  report.standard[1] = "\t1280x960@85Hz\n";
  report.standard[2] = "\t1152x864@85Hz\n";
  report.standard[3] = "\t1024x768@100Hz\n";
  report.descriptors[0] =
      "Detailed timing mode: \n"
      "\tName: \t1280x1024\n"
      "\tClock: \t157500kHz\n"
      "\tHdisplay: \t1280 \tVdisplay: \t1024\n"
      "\tHsync_start: \t1344 \tVsync_start: \t1025\n"
      "\tHsync_end: \t1504 \tVsync_end: \t1028\n"
      "\tHtotal: \t1728 \tVtotal: \t1072\n"
      "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n"
      "\tVideo Image Width_mm: \t352\n"
      "\tVideo Image Height_mm: \t264\n";
  report.descriptors[1] =
      "Display Range Limits: \n"
      "\tMinimum Vertical Rate: \t50Hz\n"
      "\tMaximum Vertical Rate: \t160Hz\n"
      "\tMinimum Horizontal Rate: \t30kHz\n"
      "\tMaximum Horizontal Rate: \t96kHz\n"
      "\tMaximum Pixel Clock: \t200MHz\n";
  report.descriptors[2] = "Display Product Name: TUBE\n";
  report.descriptors[3] = "Alphanumeric Data String: FLAT\n";
  expect_file_report("tube-19-vga", report);
}

std::string video_line(int number, bool native, const std::string& format) {
  return "\t*" + std::to_string(number) + "\tNative Format:\t" +
         (native ? "native" : "not-native") + "\n\t\tVideo Descriptor: Index" + format + "\n";
}

TEST(Monitors, Studio27) {
  Report report;
  report.identification =
      "Manufacturer Name: \tQJX\n"
      "Product Code: \t0x2772\n"
      "Serial Number: \t0x01C20A07\n"
      "Time of Manufacture: \t8 week 2021 year\n";
  report.color = "\tSupported Color Encoding Format: \tRGB 4:4:4 & YCrCb 4:2:2\n";
  report.other_features = std::string("\t\tsRGB Standard: \tnot the default color space\n") +
                          includes_preferred +
                          "\t\tDefault GTF: \tDisplay is non-continuous frequency\n";
  report.chromaticity = srgb_points;
  report.established = "\t800x600@0Hz\n\t640x480@0Hz\n\t1024x768@0Hz\n";
  report.standard[0] = "\t1920x1080@60Hz\n";
  report.standard[1] = "\t1280x720@60Hz\n";
  report.standard[2] = "\t1280x1024@75Hz\n";
  report.descriptors[0] = full_hd_lines(597, 336);
  report.descriptors[1] = studio_hd_lines;
  report.descriptors[2] = "Display Product Name: STUDIO\n";
  report.descriptors[3] =
      "Display Range Limits: \n"
      "\tMinimum Vertical Rate: \t48Hz\n"
      "\tMaximum Vertical Rate: \t76Hz\n"
      "\tMinimum Horizontal Rate: \t30kHz\n"
      "\tMaximum Horizontal Rate: \t90kHz\n"
      "\tMaximum Pixel Clock: \t300MHz\n";

  CeaReport cea;
  cea.features =
      "\tUnderscans IT Format:\tsupported\n"
      "\tBasic Audio:\t\tsupported\n"
      "\tYCbCr 4:4:4:\t\tsupported\n"
      "\tYCbCr 4:2:2:\t\tsupported\n"
      "\tNative Detailed Timing Number: 1\n";
  const std::string wide = "\tPicture Aspect Ratio: 16:9";
  const std::string narrow = "\tPicture Aspect Ratio: 4:3";
  cea.data_blocks =
      "Video Data Block\n"
      "Video Data Block Count:13\n" +
      video_line(1, true, "[16]\tFormats:1920x1080\tFiled Rate:60" + wide) +
      video_line(2, false, "[4]\tFormats:1280x720\tFiled Rate:60" + wide) +
      video_line(3, false, "[5]\tFormats:1920x1080i\tFiled Rate:60" + wide) +
      video_line(4, false, "[19]\tFormats:1280x720\tFiled Rate:50" + wide) +
      video_line(5, false, "[20]\tFormats:1920x1080i\tFiled Rate:50" + wide) +
      video_line(6, false, "[31]\tFormats:1920x1080\tFiled Rate:50" + wide) +
      video_line(7, false, "[32]\tFormats:1920x1080\tFiled Rate:24" + wide) +
      video_line(8, false, "[34]\tFormats:1920x1080\tFiled Rate:30" + wide) +
      video_line(9, false, "[2]\tFormats:720x480\tFiled Rate:60" + narrow) +
      video_line(10, false, "[3]\tFormats:720x480\tFiled Rate:60" + wide) +
      video_line(11, false, "[17]\tFormats:720x576\tFiled Rate:50" + narrow) +
      video_line(12, false, "[18]\tFormats:720x576\tFiled Rate:50" + wide) +
      video_line(13, false, "[1]\tFormats:640x480\tFiled Rate:60" + narrow) +
      "\n\n"
      "Audio Data Block\n"
      "\tAudio Data Block lenth:6\n"
      "\tCEA short Audio Descriptor count:2\n\n\n"
      "Speaker Allocation Data Block\tlenth:3\n\n\n"
      "HDMI Vendor Specific Data Block\n"
      "\tSource Physical Address: A:1 B:0 C:0 D:0\n"
      "\tSupport extension fields\n"
      "\tsupports_AI :\tsupported\n"
      "\tDC_48bit : \tnot-supported\n"
      "\tDC_36bit : \tsupported\n"
      "\tDC_30bit : \tsupported\n"
      "\tDC_YC444 : \tsupported\n"
      "\tDVI_Dual : \tnot-supported\n"
      "\tMax TMDS Clock: 300MHz\n"
      "\tHere is some info in byte:8,value:20\n\n\n"
      "Colorimetry Data Block\n"
      "\tColorimetry Supports:BT2020YCC\tBT2020cYCC\t\n"
      "MD3_MD2_MD1_MD0:1\n\n\n"
      "cea_ext_Video Capability Data Block\n\n\n";  // the byte behind it is the clock's 0x01
  cea.timings = timing_heading(0) +
                "Detailed timing mode: \n"
                "\tName: \t1920x1080i\n"
                "\tClock: \t74250kHz\n"
                "\tHdisplay: \t1920 \tVdisplay: \t1080\n"
                "\tHsync_start: \t2008 \tVsync_start: \t1084\n"
                "\tHsync_end: \t2052 \tVsync_end: \t1094\n"
                "\tHtotal: \t2200 \tVtotal: \t1125\n"
                "\tFlag: \t Interlaced Horizontal Sync is Positive Vertical Sync is Positive\n"
                "\tVideo Image Width_mm: \t597\n"
                "\tVideo Image Height_mm: \t336\n\n" +
                timing_heading(1) + studio_hd_lines + "\n" + undefined_timings(2, 4);
  report.extension = cea.text(45);
  expect_file_report("studio-27-hdmi", report);
}

TEST(Monitors, Wall55) {
  Report report;
  report.identification =
      "Manufacturer Name: \tVXQ\n"
      "Product Code: \t0x5540\n"
      "Serial Number: \t0x0000270F\n"
      "Time of Manufacture: \t22 week 2022 year\n";
  report.version = "Version: 1 Revision: 4\n";
  report.screen_size = "Sreen Size: \t121 x 68 cm\n";
  report.video_input =
      "\tInterface: \tDigital\n"
      "\tColor Bit Depth: \t10 Bits per Primary Color\n"
      "\tInterface Standard Supported: \tDP supported\n";
  report.power_management =
      "\t\tStandby Mode: \tnon-supported\n"
      "\t\tSuspend Mode: \tnon-supported\n"
      "\t\tActive Off: \tVery Low Power is supported\n";
  report.color = "\tSupported Color Encoding Format: \tRGB 4:4:4 & YCrCb 4:2:2\n";
  report.other_features = std::string("\t\tsRGB Standard: \tnot the default color space\n") +
                          includes_preferred +
                          "\t\tDefault GTF: \tDisplay is non-continuous frequency\n";
  report.chromaticity = srgb_points;
  report.established = "\t800x600@0Hz\n\t640x480@0Hz\n\t1024x768@0Hz\n";
  report.standard[0] = "\t1920x1080@60Hz\n";
  report.standard[1] = "\t1280x720@60Hz\n";
  report.descriptors[0] =
      "Detailed timing mode: \n"
      "\tName: \t3840x2160\n"
      "\tClock: \t533250kHz\n"
      "\tHdisplay: \t3840 \tVdisplay: \t2160\n"
      "\tHsync_start: \t3888 \tVsync_start: \t2163\n"
      "\tHsync_end: \t3920 \tVsync_end: \t2168\n"
      "\tHtotal: \t4000 \tVtotal: \t2222\n"
      "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Negative\n"
      "\tVideo Image Width_mm: \t1210\n"
      "\tVideo Image Height_mm: \t680\n";
  report.descriptors[1] = full_hd_lines(1210, 680);
  report.descriptors[2] = "Display Product Name: WALL\n";
  report.descriptors[3] =
      "Display Range Limits: \n"
      "\tMinimum Vertical Rate: \t23Hz\n"
      "\tMaximum Vertical Rate: \t75Hz\n"
      "\tMinimum Horizontal Rate: \t30kHz\n"
      "\tMaximum Horizontal Rate: \t160kHz\n"
      "\tMaximum Pixel Clock: \t600MHz\n"
      "\n"
      "Video Timing Supported\n"
      "\tRange Limits Only --- no additional timing information is provided.\t";
  // Three extensions: none is decoded.
  expect_file_report("wall-55-4k", report);
}

}  // namespace
}  // namespace edidtest
