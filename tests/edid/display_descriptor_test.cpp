// Display descriptors other than the range limits.
#include <gtest/gtest.h>

#include <vector>

#include "expected_report.h"

namespace edidtest {
namespace {

void expect_descriptor(const Bytes& descriptor, const std::string& text, uint8_t revision = 3) {
  Report report;
  report.version = "Version: 1 Revision: " + std::to_string(revision) + "\n";
  report.descriptors[1] = text;
  expect_report(Edid().set(0x13, {revision}).descriptor(1, descriptor).image(), report);
}

TEST(DisplayDescriptor, TagsBelowF7AreUndefined) {
  for (const uint8_t tag :
       std::vector<uint8_t>{0x00, 0x01, 0x0F, 0x10, 0x11, 0x7F, 0x80, 0xF0, 0xF6}) {
    expect_descriptor(display_descriptor(tag, Bytes(13, 'x')), undefined_descriptor);
  }
}

TEST(DisplayDescriptor, CvtCodesAreNotParsed) {
  expect_descriptor(display_descriptor(0xF8, Bytes(13, 0x20)),
                    "\033[1;33m*WARN*Can't parse CVT3 Byte Code Block\n\033[0m");
}

TEST(DisplayDescriptor, ColorManagementIsNotParsed) {
  expect_descriptor(display_descriptor(0xF9, Bytes(13, 0x20)),
                    "Color Management:\n"
                    "\033[1;33m*WARN*Can't parse the Color Management Block.\n\033[0m");
}

// By byte d6 to d11, bit 7 first.
const char* const established_3[44] = {
    "\t640 x 350 @ 85 \n",       "\t640 x 400 @ 85 \n",       "\t720 x 400 @ 85 \n",
    "\t640 x 480 @ 85 \n",       "\t848 x 480 @ 60 \n",       "\t800 x 600 @ 85 \n",
    "\t1024 x 768 @ 85 \n",      "\t1152 x 864 @ 75 \n",

    "\t1280 x 768 @ 60 (RB)\n",  "\t1280 x 768 @ 60 \n",      "\t1280 x 768 @ 75 \n",
    "\t1280 x 768 @ 85 \n",      "\t1280 x 960 @ 60 \n",      "\t1280 x 960 @ 85 \n",
    "\t1280 x 1024 @ 60 \n",     "\t1280 x 1024 @ 85 \n",

    "\t1360 x 768 @ 60 \n",      "\t1440 x 900 @ 60 (RB)\n",  "\t1440 x 900 @ 60 \n",
    "\t1440 x 900 @ 75 \n",      "\t1440 x 900 @ 85 \n",      "\t1400 x 1050 @ 60 (RB)\n",
    "\t1400 x 1050 @ 60 \n",     "\t1400 x 1050 @ 75 \n",

    "\t1400 x 1050 @ 85 \n",     "\t1680 x 1050 @ 60 (RB)\n", "\t1680 x 1050 @ 60 \n",
    "\t1680 x 1050 @ 75 \n",     "\t1680 x 1050 @ 85 \n",     "\t1600 x 1200 @ 60 \n",
    "\t1600 x 1200 @ 65 \n",     "\t1600 x 1200 @ 70 \n",

    "\t1600 x 1200 @ 75 \n",     "\t1600 x 1200 @ 85 \n",     "\t1792 x 1344 @ 60 \n",
    "\t1792 x 1344 @ 75 \n",     "\t1856 x 1392 @ 60 \n",     "\t1856 x 1392 @ 75 \n",
    "\t1920 x 1200 @ 60 (RB)\n", "\t1920 x 1200 @ 60 \n",

    "\t1920 x 1200 @ 75 \n",     "\t1920 x 1200 @ 85 \n",     "\t1920 x 1440 @ 60 \n",
    "\t1920 x 1440 @ 75 \n",
};
const char established_3_note[] = "\n\tNote: (RB) means reduced blanking\n";

TEST(DisplayDescriptor, EveryEstablishedTimingIII) {
  for (unsigned i = 0; i < 44; ++i) {
    Bytes payload(7);
    payload[1 + i / 8] = static_cast<uint8_t>(0x80u >> i % 8);
    expect_descriptor(
        display_descriptor(0xF7, payload),
        "Established Timing III: \n" + std::string(established_3[i]) + established_3_note);
  }
}

TEST(DisplayDescriptor, AllEstablishedTimingsIIIInOrder) {
  std::string text = "Established Timing III: \n";
  for (const char* line : established_3) text += line;
  expect_descriptor(display_descriptor(0xF7, {0x0A, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xF0}),
                    text + established_3_note);
}

TEST(DisplayDescriptor, EstablishedTimingIIIHasNothingBehindItsTable) {
  // The revision byte, the last four bits and the bytes behind them.
  expect_descriptor(
      display_descriptor(0xF7, {0xFF, 0, 0, 0, 0, 0, 0x0F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}),
      std::string("Established Timing III: \n") + established_3_note);
}

const char bad_timing[] = "\033[1;33m*WARN*Standard Timings is bad or unused\n\033[0m";

TEST(DisplayDescriptor, SixMoreStandardTimings) {
  expect_descriptor(display_descriptor(0xFA, {0xD1, 0xC0, 0x01, 0x01, 0x81, 0x80, 0x00, 0x00, 0x20,
                                              0x20, 0x31, 0x40, 0x0A}),
                    std::string("Standard Timing: \n") + "\t1920x1080@60Hz\n" + bad_timing +
                        "\t1280x1024@60Hz\n" + bad_timing + bad_timing + "\t640x480@60Hz\n");
}

TEST(DisplayDescriptor, StandardTimingsFollowTheRevision) {
  std::string rest;
  for (int i = 1; i < 6; ++i) rest += bad_timing;
  expect_descriptor(display_descriptor(0xFA, {0xD1, 0x00}),
                    "Standard Timing: \n\t1920x1920@60Hz\n" + rest, 2);
  expect_descriptor(display_descriptor(0xFA, {0xD1, 0x00}),
                    "Standard Timing: \n\t1920x1200@60Hz\n" + rest, 3);
}

const char color_points[] = "Additional Color Point Definition:\n";

TEST(DisplayDescriptor, TwoColorPoints) {
  // x = 0x50 * 4 | 0x0D >> 2 = 323, y = 0x54 * 4 + 1 = 337;
  // x = 0x40 * 4 | 0x02 >> 2 = 256, y = 0x80 * 4 + 2 = 514.
  expect_descriptor(display_descriptor(0xFB, {1, 0x0D, 0x50, 0x54, 120, 255, 0x02, 0x40, 0x80, 0}),
                    std::string(color_points) +
                        "\tWhite Point Index: \t1\n"
                        "\tWhite-x: \t0.315\n"
                        "\tWhite-y: \t0.329\n"
                        "\tGamma: \t2.20\n"
                        "\tWhite Point Index: \t255\n"
                        "\tWhite-x: \t0.250\n"
                        "\tWhite-y: \t0.502\n"
                        "\tGamma: \t1.00\n");
}

TEST(DisplayDescriptor, UnusedColorPointsSayNoMore) {
  expect_descriptor(display_descriptor(0xFB, {0, 0xFF, 0x50, 0x54, 120, 0, 0xFF, 0x50, 0x54, 255}),
                    std::string(color_points) + "\tBlock is not used.\n\tBlock is not used.\n");
  expect_descriptor(display_descriptor(0xFB, {0, 0, 0, 0, 0, 2, 0, 0x40, 0x40, 100}),
                    std::string(color_points) +
                        "\tBlock is not used.\n"
                        "\tWhite Point Index: \t2\n"
                        "\tWhite-x: \t0.250\n"
                        "\tWhite-y: \t0.250\n"
                        "\tGamma: \t2.00\n");
}

TEST(DisplayDescriptor, ColorPointXTakesAllUpperBits) {
  // x = 0x40 * 4 | 0xFF >> 2 = 256 | 63 = 319; y = 0 + 3.
  expect_descriptor(display_descriptor(0xFB, {1, 0xFF, 0x40, 0x00, 254}),
                    std::string(color_points) +
                        "\tWhite Point Index: \t1\n"
                        "\tWhite-x: \t0.312\n"  // 0.31152
                        "\tWhite-y: \t0.003\n"
                        "\tGamma: \t3.54\n"
                        "\tBlock is not used.\n");
  // x = 0xFF * 4 | 63 = 1023: no carry.
  expect_descriptor(display_descriptor(0xFB, {1, 0xFC, 0xFF, 0xFF, 254}),
                    std::string(color_points) +
                        "\tWhite Point Index: \t1\n"
                        "\tWhite-x: \t0.999\n"
                        "\tWhite-y: \t0.996\n"
                        "\tGamma: \t3.54\n"
                        "\tBlock is not used.\n");
}

TEST(DisplayDescriptor, ColorPointHalvesAreNotRoundedUp) {
  // 64 / 1024 = 0.0625: the even digit, unlike in the base block.
  expect_descriptor(display_descriptor(0xFB, {1, 0, 0x10, 0x10, 0}),
                    std::string(color_points) +
                        "\tWhite Point Index: \t1\n"
                        "\tWhite-x: \t0.062\n"
                        "\tWhite-y: \t0.062\n"
                        "\tGamma: \t1.00\n"
                        "\tBlock is not used.\n");
}

TEST(DisplayDescriptor, ColorPointWithoutGamma) {
  expect_descriptor(
      display_descriptor(0xFB, {1, 0, 0x40, 0x40, 255}),
      std::string(color_points) +
          "\tWhite Point Index: \t1\n"
          "\tWhite-x: \t0.250\n"
          "\tWhite-y: \t0.250\n"
          "\tGamma: value is not defined here.\n"
          "* Then GAMMA data shall be stored in an EXTENSION Block;for example, DI-EXT\n"
          "\tBlock is not used.\n");
}

struct TextTag {
  uint8_t tag;
  const char* label;
};
const TextTag text_tags[] = {
    {0xFC, "Display Product Name: "},
    {0xFE, "Alphanumeric Data String: "},
    {0xFF, "Prodcut Serial Number: "},
};

TEST(DisplayDescriptor, Texts) {
  struct {
    const char* bytes;
    const char* printed;
  } const rows[] = {
      {"Panel\n      ", "Panel"},  // ends at its line feed
      {"Blue Panel\n", "Blue"},    // and at its first space
      {" hidden", ""},
      {"\nhidden", ""},
      {"ThirteenBytes", "ThirteenBytes"},  // needs no end
      {"", ""},                            // zero bytes
      {"A\tB\rC\n", "A\tB\rC"},            // nothing else ends it
      {"\xE9\x80\xFF\n", "\xE9\x80\xFF"},
      {"100%d%s\n", "100%d%s"},
  };
  for (const TextTag& tag : text_tags) {
    for (const auto& row : rows) {
      expect_descriptor(text_descriptor(tag.tag, row.bytes),
                        std::string(tag.label) + row.printed + "\n");
    }
  }
}

TEST(DisplayDescriptor, ATextEndsBeforeTheNextDescriptor) {
  Report report;
  report.descriptors[0] = "Display Product Name: ThirteenBytes\n";
  report.descriptors[1] =
      "Detailed timing mode: \n"
      "\tIgnore tiny modes\n";
  Bytes next(18);
  next[0] = 'X';
  expect_report(
      Edid().descriptor(0, text_descriptor(0xFC, "ThirteenBytes")).descriptor(1, next).image(),
      report);
}

TEST(DisplayDescriptor, ATextStartsBehindByte4) {
  Bytes descriptor = text_descriptor(0xFC, "Name\n");
  descriptor[2] = 'A';
  descriptor[4] = 'B';
  expect_descriptor(descriptor, "Display Product Name: Name\n");
}

}  // namespace
}  // namespace edidtest
