// The display range limits descriptor.
#include <gtest/gtest.h>

#include <vector>

#include "expected_report.h"

namespace edidtest {
namespace {

void expect_range(uint8_t revision, const Bytes& descriptor, const std::string& text) {
  Report report;
  if (revision > 4) report.check += "EDID minor > 4, assuming backward compatibility\n";
  report.version = "Version: 1 Revision: " + std::to_string(revision) + "\n";
  report.descriptors[2] = text;
  expect_report(Edid().set(0x13, {revision}).descriptor(2, descriptor).image(), report);
}

// 50 to 75 Hz, 30 to 83 kHz, 170 MHz, then the bytes from d10 on.
Bytes range(const Bytes& support, uint8_t offsets = 0) {
  Bytes payload = {50, 75, 30, 83, 17};
  for (const uint8_t byte : support) payload.push_back(byte);
  return display_descriptor(0xFD, payload, offsets);
}

const char limits[] =
    "Display Range Limits: \n"
    "\tMinimum Vertical Rate: \t50Hz\n"
    "\tMaximum Vertical Rate: \t75Hz\n"
    "\tMinimum Horizontal Rate: \t30kHz\n"
    "\tMaximum Horizontal Rate: \t83kHz\n"
    "\tMaximum Pixel Clock: \t170MHz\n";
const std::string with_support = std::string(limits) + "\nVideo Timing Supported\n";

TEST(RangeLimits, EndWithTheClockBeforeRevision4) {
  for (const uint8_t revision : std::vector<uint8_t>{0, 1, 2, 3})
    expect_range(revision, range({0x02}), limits);
}

TEST(RangeLimits, Offsets) {
  struct {
    uint8_t code;
    int v_min, v_max, h_min, h_max;
  } const rows[] = {
      {0x00, 50, 75, 30, 83},   {0x02, 50, 330, 30, 83},  {0x03, 305, 330, 30, 83},
      {0x08, 50, 75, 30, 338},  {0x0C, 50, 75, 285, 338}, {0x0F, 305, 330, 285, 338},
      {0x0A, 50, 330, 30, 338}, {0xF0, 50, 75, 30, 83},  // the upper bits mean nothing
      {0x01, 50, 75, 30, 83},                            // reserved codes add nothing
      {0x04, 50, 75, 30, 83},   {0x07, 305, 330, 30, 83},
  };
  for (const auto& row : rows) {
    expect_range(3, range({}, row.code),
                 "Display Range Limits: \n\tMinimum Vertical Rate: \t" + std::to_string(row.v_min) +
                     "Hz\n\tMaximum Vertical Rate: \t" + std::to_string(row.v_max) +
                     "Hz\n\tMinimum Horizontal Rate: \t" + std::to_string(row.h_min) +
                     "kHz\n\tMaximum Horizontal Rate: \t" + std::to_string(row.h_max) +
                     "kHz\n\tMaximum Pixel Clock: \t170MHz\n");
  }
}

TEST(RangeLimits, Extremes) {
  expect_range(3, display_descriptor(0xFD, Bytes(13, 255), 0x0F),
               "Display Range Limits: \n"
               "\tMinimum Vertical Rate: \t510Hz\n"
               "\tMaximum Vertical Rate: \t510Hz\n"
               "\tMinimum Horizontal Rate: \t510kHz\n"
               "\tMaximum Horizontal Rate: \t510kHz\n"
               "\tMaximum Pixel Clock: \t2550MHz\n");
  expect_range(3, display_descriptor(0xFD, {}),
               "Display Range Limits: \n"
               "\tMinimum Vertical Rate: \t0Hz\n"
               "\tMaximum Vertical Rate: \t0Hz\n"
               "\tMinimum Horizontal Rate: \t0kHz\n"
               "\tMaximum Horizontal Rate: \t0kHz\n"
               "\tMaximum Pixel Clock: \t0MHz\n");
}

const char non_continuous[] =
    "\033[1;31m*ERROR*\tDisplay is non-continuous frequency(multi-mode)\n\033[0m";

TEST(RangeLimits, DefaultGtfNeedsAnOddRevision) {
  for (const uint8_t revision : std::vector<uint8_t>{4, 6, 254}) {
    expect_range(revision, range({0x00}), with_support + non_continuous);
  }
  for (const uint8_t revision : std::vector<uint8_t>{5, 255}) {
    expect_range(revision, range({0x00}), with_support + "\tDefault GTF supported\n");
  }
}

TEST(RangeLimits, LimitsOnlyEndsWithoutNewline) {
  for (const uint8_t revision : std::vector<uint8_t>{4, 5}) {
    expect_range(
        revision, range({0x01}),
        with_support + "\tRange Limits Only --- no additional timing information is provided.\t");
  }
}

TEST(RangeLimits, SecondaryGtf) {
  for (const uint8_t revision : std::vector<uint8_t>{4, 5}) {
    expect_range(revision, range({0x02, 0x00, 45, 81, 0x58, 0x02, 128, 40}),
                 with_support +
                     "\tSecondary GTF supported --- requires support for Default GTF\n"
                     "\tStart break frequency for curve: 90kHz\n"
                     "\tC: \t40\n"
                     "\tM: \t600\n"
                     "\tK: \t128\n"
                     "\tJ: \t80\n");
  }
  expect_range(4, range({0x02, 0xFF, 255, 255, 0xFF, 0xFF, 255, 255}),
               with_support +
                   "\tSecondary GTF supported --- requires support for Default GTF\n"
                   "\tStart break frequency for curve: 510kHz\n"
                   "\tC: \t127\n"
                   "\tM: \t65535\n"
                   "\tK: \t255\n"
                   "\tJ: \t510\n");
}

TEST(RangeLimits, OtherSupportCodesSayNothing) {
  for (const uint8_t code : std::vector<uint8_t>{3, 5, 6, 8, 16, 128, 255}) {
    expect_range(4, range({code, 1, 2, 3, 4, 5, 6, 7}), with_support);
    expect_range(5, range({code, 1, 2, 3, 4, 5, 6, 7}), with_support);
  }
}

TEST(RangeLimits, CvtNeedsAnOddRevision) {
  expect_range(4, range({0x04, 0x11, 0x00, 0xF0, 0xF8, 0x18, 0xF0, 60}),
               with_support + non_continuous);
}

TEST(RangeLimits, CvtWithEverything) {
  expect_range(5, range({0x04, 0x12, 0x0D, 0xF0, 0xF8, 0x58, 0xF0, 60}),
               with_support +
                   "\tCVT supported\n"
                   "\tCVT Version: \t1 . 1\n"
                   "\tAdditional Pixel Clock: \t169.250000 MHz\n"
                   "\tMAX Active Pixel per Line: \t3968"  // (1 * 256 + 240) * 8
                   "\tSupported Aspect Ratios: \t 4:3AR 16:9AR 16:10AR 5:4AR 15:9AR\n"
                   "\tPreferred Aspect Ratio: \t16:10AR\n"
                   "\tCVT Blanking Support: \n"
                   "\t\tStandard CVT Blanking - supported\n"
                   "\t\tReduced CVT Blanking - supported\n"
                   "\tDisplay Scaling Supported: \t Horizontal Shrink, Horizontal Stretch, "
                   "Vertical Shrink, Vertical Stretch,"
                   "\tPreferred Vertical Refresh Rate: \t60Hz\n");
}

TEST(RangeLimits, CvtWithNothing) {
  expect_range(5, range({0x04, 0, 0, 0, 0, 0, 0, 0}),
               with_support +
                   "\tCVT supported\n"
                   "\tCVT Version: \t0 . 0\n"
                   "\tAdditional Pixel Clock: \t170.000000 MHz\n"
                   "\tNo limit on the number of Horiz.Activve Pixels\n"
                   "\tSupported Aspect Ratios: \t\n"
                   "\tPreferred Aspect Ratio: \t4:3AR\n"
                   "\tCVT Blanking Support: \n"
                   "\t\tStandard CVT Blanking - not supported\n"
                   "\t\tReduced CVT Blanking - not supported\n"
                   "\tDisplay Scaling Supported: \t"
                   "\tPreferred Vertical Refresh Rate: \t0Hz\n");
}

struct Cvt {
  std::string version = "0 . 0";
  std::string clock = "170.000000";
  std::string width = "\tNo limit on the number of Horiz.Activve Pixels\n";
  std::string aspects;
  std::string preferred = "4:3AR\n";
  std::string standard_blanking = "not supported";
  std::string reduced_blanking = "not supported";
  std::string scaling;

  std::string text() const {
    return with_support + "\tCVT supported\n\tCVT Version: \t" + version +
           "\n\tAdditional Pixel Clock: \t" + clock + " MHz\n" + width +
           "\tSupported Aspect Ratios: \t" + aspects + "\n\tPreferred Aspect Ratio: \t" +
           preferred + "\tCVT Blanking Support: \n\t\tStandard CVT Blanking - " +
           standard_blanking + "\n\t\tReduced CVT Blanking - " + reduced_blanking +
           "\n\tDisplay Scaling Supported: \t" + scaling +
           "\tPreferred Vertical Refresh Rate: \t0Hz\n";
  }
};

TEST(RangeLimits, CvtVersions) {
  struct {
    uint8_t byte;
    const char* text;
  } const rows[] = {{0x01, "0 . 1"}, {0x10, "1 . 1"}, {0x20, "2 . 1"}, {0xFF, "15 . 1"}};
  for (const auto& row : rows) {
    Cvt cvt;
    cvt.version = row.text;
    expect_range(5, range({0x04, row.byte}), cvt.text());
  }
}

TEST(RangeLimits, CvtClocksAndWidths) {
  const char no_limit[] = "\tNo limit on the number of Horiz.Activve Pixels\n";
  struct {
    uint8_t clock_and_width, width;
    const char* clock;
    const char* line;
  } const rows[] = {
      {0x04, 0x00, "169.750000", no_limit},
      {0xFC, 0x00, "154.250000", no_limit},  // 63 quarters
      {0x03, 0x00, "170.000000", no_limit},  // the upper bits alone are no width
      {0x00, 0x01, "170.000000", "\tMAX Active Pixel per Line: \t8"},
      {0x00, 0xFF, "170.000000", "\tMAX Active Pixel per Line: \t2040"},
      {0xFF, 0xFF, "154.250000", "\tMAX Active Pixel per Line: \t8184"},
  };
  for (const auto& row : rows) {
    Cvt cvt;
    cvt.clock = row.clock;
    cvt.width = row.line;
    expect_range(5, range({0x04, 0, row.clock_and_width, row.width}), cvt.text());
  }
}

TEST(RangeLimits, CvtClockMayBeNegative) {
  Cvt cvt;
  cvt.clock = "-15.750000";
  std::string text = cvt.text();
  text.replace(text.find("170MHz"), 6, "0MHz");
  Bytes descriptor = range({0x04, 0, 0xFC});
  descriptor[9] = 0;
  expect_range(5, descriptor, text);
}

TEST(RangeLimits, CvtAspects) {
  struct {
    uint8_t bits;
    const char* words;
  } const rows[] = {
      {0x80, " 4:3AR"},  {0x40, " 16:9AR"}, {0x20, " 16:10AR"},      {0x10, " 5:4AR"},
      {0x08, " 15:9AR"}, {0x07, ""},        {0x88, " 4:3AR 15:9AR"},
  };
  for (const auto& row : rows) {
    Cvt cvt;
    cvt.aspects = row.words;
    expect_range(5, range({0x04, 0, 0, 0, row.bits}), cvt.text());
  }
}

TEST(RangeLimits, CvtPreferredAspects) {
  struct {
    uint8_t bits;
    const char* text;
  } const rows[] = {
      {0x00, "4:3AR\n"},
      {0x20, "16:9AR\n"},
      {0x40, "16:10AR\n"},
      {0x60, "5:4AR\n"},
      {0x80, "15:9AR\n"},
      {0xA0, "\033[1;33m*WARN*Not Used\n\033[0m"},
      {0xC0, "\033[1;33m*WARN*Not Used\n\033[0m"},
      {0xE0, "\033[1;33m*WARN*Not Used\n\033[0m"},
      {0x07, "4:3AR\n"},
  };
  for (const auto& row : rows) {
    Cvt cvt;
    cvt.preferred = row.text;
    expect_range(5, range({0x04, 0, 0, 0, 0, row.bits}), cvt.text());
  }
}

TEST(RangeLimits, CvtBlankings) {
  Cvt cvt;
  cvt.standard_blanking = "supported";
  expect_range(5, range({0x04, 0, 0, 0, 0, 0x08}), cvt.text());
  cvt = {};
  cvt.reduced_blanking = "supported";
  expect_range(5, range({0x04, 0, 0, 0, 0, 0x10}), cvt.text());
}

TEST(RangeLimits, CvtScalings) {
  struct {
    uint8_t bits;
    const char* words;
  } const rows[] = {
      {0x80, " Horizontal Shrink,"},
      {0x40, " Horizontal Stretch,"},
      {0x20, " Vertical Shrink,"},
      {0x10, " Vertical Stretch,"},
      {0x0F, ""},
  };
  for (const auto& row : rows) {
    Cvt cvt;
    cvt.scaling = row.words;
    expect_range(5, range({0x04, 0, 0, 0, 0, 0, row.bits}), cvt.text());
  }
}

}  // namespace
}  // namespace edidtest
