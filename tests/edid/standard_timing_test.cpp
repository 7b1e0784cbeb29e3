// Standard timings: the eight pairs of the base block.
#include <gtest/gtest.h>

#include <vector>

#include "expected_report.h"

namespace edidtest {
namespace {

struct Row {
  uint8_t b0, b1;
  const char* line;
};

void expect_pair(uint8_t revision, const Row& row) {
  Report report;
  report.version = "Version: 1 Revision: " + std::to_string(revision) + "\n";
  report.standard[0] = row.line;
  expect_report(Edid().set(0x13, {revision}).set(0x26, {row.b0, row.b1}).image(), report);
}

TEST(StandardTiming, Aspects) {
  const Row rows[] = {
      {0xD1, 0xC0, "\t1920x1080@60Hz\n"},  {0xD1, 0x00, "\t1920x1200@60Hz\n"},
      {0xD1, 0x40, "\t1920x1440@60Hz\n"},  {0xD1, 0x80, "\t1920x1536@60Hz\n"},
      {0x31, 0x59, "\t640x480@85Hz\n"},    {0x45, 0x4F, "\t800x600@75Hz\n"},
      {0x61, 0x7F, "\t1024x768@123Hz\n"},  {0x81, 0x8A, "\t1280x1024@70Hz\n"},
      {0x00, 0xC0, "\t248x139@60Hz\n"},  // 31 * 9 / 2 = 139.5
      {0x01, 0x80, "\t256x204@60Hz\n"},  // 32 * 32 / 5 = 204.8
      {0xFF, 0x3F, "\t2288x1430@123Hz\n"}, {0xFF, 0xFF, "\t2288x1287@123Hz\n"},
  };
  for (const Row& row : rows) expect_pair(3, row);
}

TEST(StandardTiming, TheFirstAspectWasSquareBeforeRevision3) {
  for (const uint8_t revision : std::vector<uint8_t>{0, 1, 2}) {
    expect_pair(revision, {0xD1, 0x05, "\t1920x1920@65Hz\n"});
    expect_pair(revision, {0xD1, 0x45, "\t1920x1440@65Hz\n"});
  }
  for (const uint8_t revision : std::vector<uint8_t>{3, 4})
    expect_pair(revision, {0xD1, 0x05, "\t1920x1200@65Hz\n"});
}

TEST(StandardTiming, FillersAreRejected) {
  for (const uint8_t filler : std::vector<uint8_t>{0x00, 0x01, 0x20}) {
    expect_pair(3,
                {filler, filler, "\033[1;33m*WARN*Standard Timings 0 is bad or unused\n\033[0m"});
  }
}

TEST(StandardTiming, HalfAFillerIsNone) {
  const Row rows[] = {
      {0x00, 0x01, "\t248x155@61Hz\n"}, {0x01, 0x00, "\t256x160@60Hz\n"},
      {0x01, 0x20, "\t256x160@92Hz\n"}, {0x20, 0x01, "\t504x315@61Hz\n"},
      {0x20, 0x00, "\t504x315@60Hz\n"}, {0x02, 0x02, "\t264x165@62Hz\n"},
  };
  for (const Row& row : rows) expect_pair(3, row);
}

TEST(StandardTiming, EightPairsInOrder) {
  Report report;
  report.standard[0] = "\t1920x1080@60Hz\n";
  report.standard[2] = "\t1280x1024@60Hz\n";
  report.standard[4] = "\t1280x960@60Hz\n";
  report.standard[7] = "\t640x480@60Hz\n";
  expect_report(Edid()
                    .set(0x26, {0xD1, 0xC0, 0x00, 0x00, 0x81, 0x80, 0x20, 0x20, 0x81, 0x40, 0x01,
                                0x01, 0x00, 0x00, 0x31, 0x40})
                    .image(),
                report);
}

}  // namespace
}  // namespace edidtest
