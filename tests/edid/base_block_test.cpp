// What the report says about the base block, field by field.
#include <gtest/gtest.h>

#include <vector>

#include "expected_report.h"

namespace edidtest {
namespace {

TEST(BaseBlock, PlainMonitor) {
  expect_report(Edid().image(), Report{});
}

TEST(BaseBlock, ManufacturerLettersComeFromFiveBitsEach) {
  struct {
    uint8_t high, low;
    const char* name;
  } const rows[] = {
      {0x00, 0x00, "@@@"},  // 0 is one before A
      {0x7F, 0xFF, "___"},  // 31
      {0xFF, 0xFF, "___"},  // the top bit belongs to no letter
      {0x80, 0x00, "@@@"}, {0x04, 0x21, "AAA"}, {0x6B, 0x5A, "ZZZ"}, {0x04, 0x00, "A@@"},
      {0x00, 0x20, "@A@"}, {0x00, 0x01, "@@A"}, {0x02, 0x00, "@P@"},  // the second letter's upper
                                                                      // bits are in the first byte
  };
  for (const auto& row : rows) {
    Report report;
    report.identification = "Manufacturer Name: \t" + std::string(row.name) +
                            "\nProduct Code: \t0x1234\nSerial Number: \t0x89ABCDEF\n"
                            "Time of Manufacture: \t20 week 2020 year\n";
    expect_report(Edid().set(0x08, {row.high, row.low}).image(), report);
  }
}

TEST(BaseBlock, NumbersAreLittleEndianAndPadded) {
  Report report;
  report.identification =
      "Manufacturer Name: \tABC\n"
      "Product Code: \t0x000A\n"
      "Serial Number: \t0x00000001\n"
      "Time of Manufacture: \t0 week 1990 year\n";
  expect_report(Edid().set(0x0A, {0x0A, 0, 1, 0, 0, 0, 0, 0}).image(), report);
  report.identification =
      "Manufacturer Name: \tABC\n"
      "Product Code: \t0xFEDC\n"
      "Serial Number: \t0xFFEEDDCC\n"
      "Time of Manufacture: \t255 week 2245 year\n";
  expect_report(Edid().set(0x0A, {0xDC, 0xFE, 0xCC, 0xDD, 0xEE, 0xFF, 255, 255}).image(), report);
}

TEST(BaseBlock, ScreenSizeOrAspect) {
  struct {
    uint8_t h, v;
    const char* line;
  } const rows[] = {
      {1, 1, "Sreen Size: \t1 x 1 cm\n"},
      {255, 255, "Sreen Size: \t255 x 255 cm\n"},
      {79, 0, "Screen Aspect Ratio: \t1 : 1.780000\n"},
      {1, 0, "Screen Aspect Ratio: \t1 : 1.000000\n"},
      {255, 0, "Screen Aspect Ratio: \t1 : 3.540000\n"},
      {0, 1, "Screen Aspect Ratio: \t1.000000 : 1\n"},
      {0, 79, "Screen Aspect Ratio: \t0.561798 : 1\n"},   // 100 / 178
      {0, 99, "Screen Aspect Ratio: \t0.505051 : 1\n"},   // 100 / 198
      {0, 255, "Screen Aspect Ratio: \t0.282486 : 1\n"},  // 100 / 354
      {0, 0, "Sreen Size: \tUnknown\n"},
  };
  for (const auto& row : rows) {
    Report report;
    report.screen_size = row.line;
    expect_report(Edid().set(0x15, {row.h, row.v}).image(), report);
  }
}

TEST(BaseBlock, Gamma) {
  struct {
    uint8_t byte;
    const char* line;
  } const rows[] = {
      {0, "Gamma: \t1.00\n"},
      {80, "Gamma: \t1.80\n"},
      {121, "Gamma: \t2.21\n"},
      {254, "Gamma: \t3.54\n"},
      {255,
       "Gamma: \tGAMMA value is not defined here and the GAMMA data shall be stored in an "
       "extension block.\n"},
  };
  for (const auto& row : rows) {
    Report report;
    report.gamma = row.line;
    expect_report(Edid().set(0x17, {row.byte}).image(), report);
  }
}

TEST(BaseBlock, DigitalColorDepths) {
  struct {
    uint8_t byte;
    const char* line;
  } const rows[] = {
      {0x80, "\tColor Bit Depth: \tUndefined\n"},
      {0x90, "\tColor Bit Depth: \t6 Bits per Primary Color\n"},
      {0xA0, "\tColor Bit Depth: \t8 Bits per Primary Color\n"},
      {0xB0, "\tColor Bit Depth: \t10 Bits per Primary Color\n"},
      {0xC0, "\tColor Bit Depth: \t12 Bits per Primary Color\n"},
      {0xD0, "\tColor Bit Depth: \t14 Bits per Primary Color\n"},
      {0xE0, "\tColor Bit Depth: \t16 Bits per Primary Color\n"},
      {0xF0, "\tColor Bit Depth: "},  // reserved: the next label follows in the same line
  };
  for (const auto& row : rows) {
    Report report;
    report.video_input = std::string("\tInterface: \tDigital\n") + row.line +
                         "\tInterface Standard Supported: \tUndefined\n";
    expect_report(Edid().set(0x14, {row.byte}).image(), report);
  }
}

TEST(BaseBlock, DigitalInterfaces) {
  struct {
    uint8_t byte;
    const char* words;
  } const rows[] = {
      {0x80, "Undefined"},        {0x81, "DVI supported"},
      {0x82, "HDMI-a supported"}, {0x83, "HDMI-b supported"},
      {0x84, "MODI supported"},   {0x85, "DP supported"},
      {0x86, "Reserved"},         {0x87, "Reserved"},
      {0x88, "Undefined"},  // bit 3 is not read
      {0x8D, "DP supported"},
  };
  for (const auto& row : rows) {
    Report report;
    report.video_input =
        "\tInterface: \tDigital\n"
        "\tColor Bit Depth: \tUndefined\n"
        "\tInterface Standard Supported: \t" +
        std::string(row.words) + "\n";
    expect_report(Edid().set(0x14, {row.byte}).image(), report);
  }
}

const char analog_levels[] =
    "\tVideo=0.700Vpp Sync=0.300Vpp Total=1.000Vpp\n"
    "\tVideo=0.714Vpp Sync=0.286Vpp Total=1.000Vpp\n"
    "\tVideo=1.000Vpp Sync=0.400Vpp Total=1.400Vpp\n"
    "\tVideo=0.700Vpp Sync=0.000Vpp Total=0.700Vpp\n";
const char analog_setups[] =
    "\tBlank Level = Black Level\n"
    "\tBlank-to-Black setup or pedestal\n";

// An analog monitor's report; the colour line is the analog one.
void expect_analog(uint8_t input, const std::string& text) {
  Report report;
  report.video_input = "\tInterface: \tAnalog\n" + text;
  report.color = "\tDisplay Color Type: \tMonochrome or Grayscale display\n";
  expect_report(Edid().set(0x14, {input}).image(), report);
}

const char no_syncs[] =
    "\tSynchronization Types\n"
    "\t\tSeparate Sync H & V Signals: \tnon-supported\n"
    "\t\tComposite Sync Signal on Horizontal: \tnon-supported\n"
    "\t\tComposite Sync Signal on Green Video: \tnon-supported\n"
    "\tSerrations: \tSerration on the Vertical Sync: non-supported\n";

TEST(BaseBlock, AnalogLevelsAndSetups) {
  expect_analog(0x00, std::string("\tSignal Level Standard: ") + analog_levels +
                          "\tVideo Setup: " + analog_setups + no_syncs);
  // Any other level code lists none, and the labels run on.
  for (const uint8_t code : std::vector<uint8_t>{0x20, 0x40, 0x60}) {
    expect_analog(
        code, std::string("\tSignal Level Standard: \tVideo Setup: ") + analog_setups + no_syncs);
  }
  expect_analog(0x10, std::string("\tSignal Level Standard: ") + analog_levels +
                          "\tVideo Setup: " + no_syncs);
  expect_analog(0x70, std::string("\tSignal Level Standard: \tVideo Setup: ") + no_syncs);
}

TEST(BaseBlock, AnalogSyncs) {
  struct {
    uint8_t byte;
    const char* text;
  } const rows[] = {
      {0x78,
       "\t\tSeparate Sync H & V Signals: \tsupported\n"
       "\t\tComposite Sync Signal on Horizontal: \tnon-supported\n"
       "\t\tComposite Sync Signal on Green Video: \tnon-supported\n"
       "\tSerrations: \tSerration on the Vertical Sync: non-supported\n"},
      {0x74,
       "\t\tSeparate Sync H & V Signals: \tnon-supported\n"
       "\t\tComposite Sync Signal on Horizontal: \tsupported\n"
       "\t\tComposite Sync Signal on Green Video: \tnon-supported\n"
       "\tSerrations: \tSerration on the Vertical Sync: non-supported\n"},
      {0x72,
       "\t\tSeparate Sync H & V Signals: \tnon-supported\n"
       "\t\tComposite Sync Signal on Horizontal: \tnon-supported\n"
       "\t\tComposite Sync Signal on Green Video: \tsupported\n"
       "\tSerrations: \tSerration on the Vertical Sync: non-supported\n"},
      {0x71,
       "\t\tSeparate Sync H & V Signals: \tnon-supported\n"
       "\t\tComposite Sync Signal on Horizontal: \tnon-supported\n"
       "\t\tComposite Sync Signal on Green Video: \tnon-supported\n"
       "\tSerrations: \tSerration on the Vertical Sync: supported\n"},
  };
  for (const auto& row : rows) {
    expect_analog(row.byte,
                  std::string("\tSignal Level Standard: \tVideo Setup: \tSynchronization Types\n") +
                      row.text);
  }
}

TEST(BaseBlock, PowerManagement) {
  struct {
    uint8_t byte;
    const char* text;
  } const rows[] = {
      {0x80,
       "\t\tStandby Mode: \tsupported\n"
       "\t\tSuspend Mode: \tnon-supported\n"
       "\t\tActive Off: \tVery Low Power is not supported\n"},
      {0x40,
       "\t\tStandby Mode: \tnon-supported\n"
       "\t\tSuspend Mode: \tsupported\n"
       "\t\tActive Off: \tVery Low Power is not supported\n"},
      {0x20,
       "\t\tStandby Mode: \tnon-supported\n"
       "\t\tSuspend Mode: \tnon-supported\n"
       "\t\tActive Off: \tVery Low Power is supported\n"},
  };
  for (const auto& row : rows) {
    Report report;
    report.power_management = row.text;
    expect_report(Edid().set(0x18, {row.byte}).image(), report);
  }
}

const char srgb[] = "\t\tsRGB Standard: \tdefault color space\n";
const char not_srgb[] = "\t\tsRGB Standard: \tnot the default color space\n";
const char preferred[] =
    "\t\tPreferred Timing Mode: \tincludes the native pixel format and preferred refresh rate\n";
const char not_preferred[] =
    "\t\tPreferred Timing Mode: \tnot includes the native pixel format and preferred refresh "
    "rate\n";
const char continuous[] = "\t\tDefault GTF: \tDisplay is continuous frequency\n";
const char not_continuous[] = "\t\tDefault GTF: \tDisplay is non-continuous frequency\n";

struct ColorRow {
  uint8_t features;
  const char* color;
  std::string other;
};

TEST(BaseBlock, ColorEncodingIsTakenFromTheLowestBits) {
  const ColorRow rows[] = {
      {0x00, "RGB 4:4:4", std::string(not_srgb) + not_preferred + not_continuous},
      {0x01, "RGB 4:4:4 & YCrCb 4:4:4", std::string(not_srgb) + not_preferred + continuous},
      {0x02, "RGB 4:4:4 & YCrCb 4:2:2", std::string(not_srgb) + preferred + not_continuous},
      {0x03, "RGB 4:4:4 & YCrCb 4:4:4 & YCrCb 4:2:2",
       std::string(not_srgb) + preferred + continuous},
      {0x04, "RGB 4:4:4", std::string(srgb) + not_preferred + not_continuous},
      {0x18, "RGB 4:4:4", std::string(not_srgb) + not_preferred + not_continuous},
  };
  for (const ColorRow& row : rows) {
    Report report;
    report.color = std::string("\tSupported Color Encoding Format: \t") + row.color + "\n";
    report.other_features = row.other;
    expect_report(Edid().set(0x18, {row.features}).image(), report);
  }
}

TEST(BaseBlock, ColorTypeOfAnAnalogDisplayToo) {
  const ColorRow rows[] = {
      {0x00, "Monochrome or Grayscale display",
       std::string(not_srgb) + not_preferred + not_continuous},
      {0x01, "RGB color display", std::string(not_srgb) + not_preferred + continuous},
      {0x02, "Non-RGB color display", std::string(not_srgb) + preferred + not_continuous},
      {0x03, "Display Color Type is Undefined", std::string(not_srgb) + preferred + continuous},
      {0x08, "Monochrome or Grayscale display",
       std::string(not_srgb) + not_preferred + not_continuous},
  };
  for (const ColorRow& row : rows) {
    Report report;
    report.video_input =
        "\tInterface: \tAnalog\n\tSignal Level Standard: \tVideo Setup: " + std::string(no_syncs);
    report.color = std::string("\tDisplay Color Type: \t") + row.color + "\n";
    report.other_features = row.other;
    expect_report(Edid().set(0x14, {0x70}).set(0x18, {row.features}).image(), report);
  }
}

// bytes: 0x19 to 0x22.
void expect_chromaticity(const Bytes& bytes, const std::string& text) {
  Report report;
  report.chromaticity = text;
  expect_report(Edid().set(0x19, bytes).image(), report);
}

TEST(BaseBlock, ChromaticityOfACommonPanel) {
  // Red x 0xA3.3 = 655, y 0x54.0 = 336; green y 0x99.3 = 615; blue x 0x26.1 = 153, y 0x0F.1 = 61,
  // each over 1024. Green x is 0x4C * 4 = 0x130 or 0x30 = 304; white x is 0x50 * 4 = 0x140 or
  // 0x10 = 336; white y is 0x54 * 4 = 0x150 or 0x10 = 336.
  expect_chromaticity({0xCB, 0x54, 0xA3, 0x54, 0x4C, 0x99, 0x26, 0x0F, 0x50, 0x54},
                      "\tRed_x: 0.640 \tRed_y: 0.328\n"
                      "\tGreen_x: 0.297 \tGreen_y: 0.601\n"
                      "\tBlue_x: 0.149 \tBlue_y: 0.060\n"
                      "\tWhite_x: 0.328 \tWhite_y: 0.328\n");
}

TEST(BaseBlock, ChromaticityLowBitsOnly) {
  // L1 = 11 01 11 10: red x 3 and y 1, green y 2; green x is (0xDE >> 2) & 0x30 = 0x30 = 48.
  // L2 = 01 10 11 01: blue x 1 and y 2; white x is (0x6D >> 2) & 0x30 = 0x10 = 16 and white y is
  // 0x6D & 0x30 = 0x20 = 32.
  expect_chromaticity({0xDE, 0x6D, 0, 0, 0, 0, 0, 0, 0, 0},
                      "\tRed_x: 0.003 \tRed_y: 0.001\n"
                      "\tGreen_x: 0.047 \tGreen_y: 0.002\n"
                      "\tBlue_x: 0.001 \tBlue_y: 0.002\n"
                      "\tWhite_x: 0.016 \tWhite_y: 0.031\n");
}

TEST(BaseBlock, ChromaticityMergesWhereBitsMeet) {
  // The low bits fall on bits that the high bytes have already: nothing carries.
  expect_chromaticity({0xC0, 0xF0, 0, 0, 0x0C, 0, 0, 0, 0x0C, 0x0C},
                      "\tRed_x: 0.003 \tRed_y: 0.000\n"
                      "\tGreen_x: 0.047 \tGreen_y: 0.000\n"  // 48 | 48
                      "\tBlue_x: 0.003 \tBlue_y: 0.003\n"
                      "\tWhite_x: 0.047 \tWhite_y: 0.047\n");
}

TEST(BaseBlock, ChromaticityMaximum) {
  // 1023 / 1024 = 0.99902; the merged ones reach 0x3FC | 0x30 = 1020: 0.99609.
  expect_chromaticity(Bytes(10, 0xFF),
                      "\tRed_x: 0.999 \tRed_y: 0.999\n"
                      "\tGreen_x: 0.996 \tGreen_y: 0.999\n"
                      "\tBlue_x: 0.999 \tBlue_y: 0.999\n"
                      "\tWhite_x: 0.996 \tWhite_y: 0.996\n");
}

TEST(BaseBlock, ChromaticityHalvesAreRoundedUp) {
  // 64 / 1024 = 0.0625 and 192 / 1024 = 0.1875, both halfway.
  expect_chromaticity({0, 0, 0x10, 0x30, 0x10, 0x30, 0x10, 0x30, 0x10, 0x30},
                      "\tRed_x: 0.063 \tRed_y: 0.188\n"
                      "\tGreen_x: 0.063 \tGreen_y: 0.188\n"
                      "\tBlue_x: 0.063 \tBlue_y: 0.188\n"
                      "\tWhite_x: 0.063 \tWhite_y: 0.188\n");
}

// Bit 0 of byte 0x23 first, then byte 0x24, then bit 7 of byte 0x25.
const char* const established_lines[17] = {
    "\t800x600@0Hz\n",   "\t800x600@0Hz\n",  "\t640x480@0Hz\n",  "\t640x480@0Hz\n",
    "\t640x480@0Hz\n",   "\t640x480@0Hz\n",  "\t720x400@0Hz\n",  "\t720x400@0Hz\n",
    "\t1280x1024@0Hz\n", "\t1024x768@0Hz\n", "\t1024x768@0Hz\n", "\t1024x768@0Hz\n",
    "\t1024x768@0Hz\n",  "\t832x624@0Hz\n",  "\t800x600@0Hz\n",  "\t800x600@0Hz\n",
    "\t1152x864@0Hz\n",
};

TEST(BaseBlock, EveryEstablishedTiming) {
  for (unsigned bit = 0; bit < 17; ++bit) {
    Bytes bytes(3);
    bytes[bit / 8] = static_cast<uint8_t>(bit == 16 ? 0x80 : 1u << bit % 8);
    Report report;
    report.established = established_lines[bit];
    expect_report(Edid().set(0x23, bytes).image(), report);
  }
}

TEST(BaseBlock, AllEstablishedTimingsInOrder) {
  Report report;
  for (const char* line : established_lines) report.established += line;
  expect_report(Edid().set(0x23, {0xFF, 0xFF, 0x80}).image(), report);
}

TEST(BaseBlock, ManufacturersTimingsAreNotListed) {
  expect_report(Edid().set(0x23, {0x00, 0x00, 0x7F}).image(), Report{});
}

TEST(BaseBlock, FaultsAreReportedAndDecodingGoesOn) {
  Bytes image = Edid().image();
  image[0] = 0x01;
  Report report;
  report.check = warning("EDID header is wrong.") +
                 error("EDID block 0 check failed.The result may be incorrect.");
  expect_report(image, report);

  image = Edid().image();
  const int right = image[127];
  image[127] = static_cast<uint8_t>(right + 1);
  char text[80];
  snprintf(text, sizeof text, "EDID block 0 checksum is 0x%02x. Reminder is 0x%02x",
           (right + 1) & 0xFF, right);
  report.check = "EDID header check successfully.\n" + warning(text) +
                 error("EDID block 0 check failed.The result may be incorrect.");
  expect_report(image, report);

  report.check = "EDID header check successfully.\nEDID block 0 checksum check successfully.\n" +
                 warning("EDID has major version 2, instead of 1") +
                 error("EDID block 0 check failed.The result may be incorrect.");
  report.version = "Version: 2 Revision: 3\n";
  expect_report(Edid().set(0x12, {2}).image(), report);
}

TEST(BaseBlock, ALaterRevisionIsTakenAsCompatible) {
  Report report;
  report.check += "EDID minor > 4, assuming backward compatibility\n";
  report.version = "Version: 1 Revision: 7\n";
  expect_report(Edid().set(0x13, {7}).image(), report);
}

TEST(BaseBlock, AnEmptyStoreIsDecodedToo) {
  Report report;
  report.check = warning("EDID header is wrong.") +
                 error("EDID block 0 check failed.The result may be incorrect.");
  report.identification =
      "Manufacturer Name: \t@@@\n"
      "Product Code: \t0x0000\n"
      "Serial Number: \t0x00000000\n"
      "Time of Manufacture: \t0 week 1990 year\n";
  report.version = "Version: 0 Revision: 0\n";
  report.screen_size = "Sreen Size: \tUnknown\n";
  report.gamma = "Gamma: \t1.00\n";
  report.video_input = std::string("\tInterface: \tAnalog\n\tSignal Level Standard: ") +
                       analog_levels + "\tVideo Setup: " + analog_setups + no_syncs;
  report.color = "\tDisplay Color Type: \tMonochrome or Grayscale display\n";
  expect_report(Bytes(256), report);
}

}  // namespace
}  // namespace edidtest
