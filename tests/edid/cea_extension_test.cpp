// The CEA-861 extension: general information, the walk over its data blocks, its timings, and
// what comes instead of one.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "expected_report.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace edidtest {
namespace {

const char end_line[] = "--------------------------END-------------------------\n";

void expect_extension(const Bytes& block, const std::string& text) {
  Report report;
  report.extension = text;
  expect_report(Edid().extension(block).image(), report);
}

// An extension without data blocks whose timings start at 4: six of zeros.
CeaReport plain() {
  CeaReport report;
  report.timings = undefined_timings(0, 6);
  return report;
}

TEST(CeaExtension, PlainOne) {
  expect_extension(Cea().block(), plain().text(4));
}

TEST(CeaExtension, VersionIsNamedByItsTwoLowestBits) {
  for (const uint8_t version : std::vector<uint8_t>{1, 2, 3, 0x81, 255}) {
    expect_extension(Cea().set(1, {version}).block(), plain().text(4));
  }
  for (const uint8_t version : std::vector<uint8_t>{0, 4, 0xFC}) {
    CeaReport report = plain();
    report.version = "";
    expect_extension(Cea().set(1, {version}).block(), report.text(4));
  }
}

TEST(CeaExtension, Features) {
  const std::string no_underscan = "\tUnderscans IT Format:\tnon-supported\n";
  const std::string no_audio = "\tBasic Audio:\t\tnon-supported\n";
  const std::string no_444 = "\tYCbCr 4:4:4:\t\tnon-supported\n";
  const std::string no_422 = "\tYCbCr 4:4:4:\t\tnon-supported\n";  // as required
  const std::string native = "\tNative Detailed Timing Number: ";
  struct {
    uint8_t byte;
    std::string text;
  } const rows[] = {
      {0x80, "\tUnderscans IT Format:\tsupported\n" + no_audio + no_444 + no_422 + native + "0\n"},
      {0x40, no_underscan + "\tBasic Audio:\t\tsupported\n" + no_444 + no_422 + native + "0\n"},
      {0x20, no_underscan + no_audio + "\tYCbCr 4:4:4:\t\tsupported\n" + no_422 + native + "0\n"},
      {0x10, no_underscan + no_audio + no_444 + "\tYCbCr 4:2:2:\t\tsupported\n" + native + "0\n"},
      {0x01, no_underscan + no_audio + no_444 + no_422 + native + "1\n"},
      {0x0F, no_underscan + no_audio + no_444 + no_422 + native + "15\n"},
      {0xF2,
       "\tUnderscans IT Format:\tsupported\n\tBasic Audio:\t\tsupported\n"
       "\tYCbCr 4:4:4:\t\tsupported\n\tYCbCr 4:2:2:\t\tsupported\n" +
           native + "2\n"},
  };
  for (const auto& row : rows) {
    CeaReport report = plain();
    report.features = row.text;
    expect_extension(Cea().features(row.byte).block(), report.text(4));
  }
}

// A speaker allocation block of three bytes, and what it prints.
const Bytes speakers = {0x7F, 0, 0};
const char speakers_text[] = "Speaker Allocation Data Block\tlenth:3\n\n\n";

TEST(CeaExtension, WalksItsDataBlocks) {
  CeaReport report;
  report.data_blocks = std::string(speakers_text) + speakers_text + speakers_text;
  report.timings = undefined_timings(0, 6);  // (128 - 16) / 18
  expect_extension(
      Cea().data_block(4, speakers).data_block(4, speakers).data_block(4, speakers).block(),
      report.text(16));
}

TEST(CeaExtension, AFirstBlockThatDoesNotFitIsNotWalked) {
  // The first block's last byte is at 7: the timings must start behind it.
  for (const uint8_t d : std::vector<uint8_t>{5, 6, 7}) {
    CeaReport report;
    // From d on: the speaker byte 0x7F at 5 and the zeros behind make a clock when d is 5.
    report.timings = undefined_timings(0, 6);
    if (d == 5) {
      report.timings = timing_heading(0) + "Detailed timing mode: \n\tIgnore tiny modes\n\n" +
                       undefined_timings(1, 6);
    }
    expect_extension(Cea().data_block(4, speakers).set(2, {d}).block(), report.text(d));
  }
  CeaReport report;
  report.data_blocks = speakers_text;
  report.timings = undefined_timings(0, 6);
  expect_extension(Cea().data_block(4, speakers).block(), report.text(8));
}

TEST(CeaExtension, ALaterBlockThatDoesNotFitEndsTheWalk) {
  for (const uint8_t d : std::vector<uint8_t>{9, 10, 11}) {
    CeaReport report;
    report.data_blocks = speakers_text;
    report.timings = undefined_timings(0, 6);
    if (d == 9) {
      report.timings = timing_heading(0) + "Detailed timing mode: \n\tIgnore tiny modes\n\n" +
                       undefined_timings(1, 6);
    }
    expect_extension(Cea().data_block(4, speakers).data_block(4, speakers).set(2, {d}).block(),
                     report.text(d));
  }
}

TEST(CeaExtension, ABlockOfLengthZeroIsOneByte) {
  CeaReport report;
  report.data_blocks =
      std::string("Speaker Allocation Data Block\tlenth:0\n\n\n") + speakers_text + "\n\n";
  report.timings = undefined_timings(0, 6);
  expect_extension(Cea().data_block(4, {}).data_block(4, speakers).data_block(0, {}).block(),
                   report.text(10));
}

TEST(CeaExtension, TimingsFollowTheDataBlocks) {
  CeaReport report;
  report.data_blocks = speakers_text;
  report.timings = timing_heading(0) +
                   "Detailed timing mode: \n"
                   "\tName: \t1920x1080\n"
                   "\tClock: \t148500kHz\n"
                   "\tHdisplay: \t1920 \tVdisplay: \t1080\n"
                   "\tHsync_start: \t2008 \tVsync_start: \t1084\n"
                   "\tHsync_end: \t2052 \tVsync_end: \t1089\n"
                   "\tHtotal: \t2200 \tVtotal: \t1125\n"
                   "\tFlag: \t Horizontal Sync is Positive Vertical Sync is Positive\n\n" +
                   timing_heading(1) + "Display Product Name: Second\n\n" + undefined_timings(2, 6);
  expect_extension(Cea()
                       .data_block(4, speakers)
                       .timings(Timing{}.descriptor())
                       .timings(text_descriptor(0xFC, "Second\n"))
                       .block(),
                   report.text(8));
}

TEST(CeaExtension, TheNumberOfTimingsIsWhatFits) {
  struct {
    uint8_t offset;
    int count;
  } const rows[] = {{20, 6}, {21, 5},  {38, 5},  {39, 4}, {92, 2},
                    {93, 1}, {110, 1}, {111, 0}, {127, 0}};
  for (const auto& row : rows) {
    // Blocks of an unassigned tag, of length 0, fill the bytes from 4 to the offset.
    CeaReport report;
    for (int i = 4; i < row.offset; ++i) report.data_blocks += "\n\n";
    report.timings = undefined_timings(0, row.count);
    expect_extension(Cea().set(2, {row.offset}).block(), report.text(row.offset));
  }
}

// Offsets below 4 and beyond the block are taken as they are: all 256 end with the END line, and
// none reads outside (the sanitizers look on).
TEST(CeaExtension, EveryTimingsOffset) {
  Bytes image = Edid().extension(Cea().block()).image();
  for (size_t i = 132; i < 255; ++i) image[i] = static_cast<uint8_t>(i * 37 + 11);
  for (int d = 0; d < 256; ++d) {
    image[130] = static_cast<uint8_t>(d);
    seal(image.data() + 128);
    std::copy(image.begin(), image.end(), g_last_edid);
    const auto output = zvgtest::capture([] { EXPECT_EQ(do_edid_parse(nullptr), 0); });
    const std::string& text = output.out;
    EXPECT_NE(text.find("\tStart of Detailed Timing Data: " + std::to_string(d) + "\n"),
              std::string::npos);
    ASSERT_GE(text.size(), sizeof end_line);
    EXPECT_EQ(text.substr(text.size() - (sizeof end_line - 1)), end_line);
    size_t timings = 0;
    const size_t start = text.find("CEA Extension General Info");
    for (size_t at = start; (at = text.find("Detailed Timing Block", at)) != std::string::npos;
         ++at) {
      ++timings;
    }
    EXPECT_EQ(timings, d > 110 ? 0u : static_cast<size_t>(128 - d) / 18) << d;
  }
}

TEST(CeaExtension, AnOffsetOfZeroStartsAtTheBlockItself) {
  // 02 03 00 ...: a clock, but no lines.
  CeaReport report;
  report.timings = timing_heading(0) + "Detailed timing mode: \n\tIgnore tiny modes\n\n" +
                   undefined_timings(1, 7);
  expect_extension(Cea().set(2, {0}).block(), report.text(0));
}

TEST(CeaExtension, BlocksBeyondTheExtensionReadZeros) {
  // From 4 to 126 blocks of length 0; the checksum at 127 reads as one more header, then zeros.
  Bytes block = Cea().set(2, {255}).block();
  // 0x02 + 0x03 + 0xFF = 0x104: the checksum is 0xFC, tag 7 of length 28, of no known kind.
  ASSERT_EQ(block[127], 0xFC);
  CeaReport report;
  for (int i = 4; i < 127; ++i) report.data_blocks += "\n\n";
  report.data_blocks += "\n\n";  // 127 to 155
  for (int i = 156; i < 255; ++i) report.data_blocks += "\n\n";
  // ext tag of the block at 127 is a zero, but video capability has a length of 2.
  expect_extension(block, report.text(255));
}

TEST(CeaExtension, ABlockMayReachBeyondTheExtension) {
  Bytes block = Cea().set(2, {255}).block();
  block[126] = 0x9F;  // speakers, length 31: 126 to 157
  seal(block.data());
  CeaReport report;
  for (int i = 4; i < 126; ++i) report.data_blocks += "\n\n";
  report.data_blocks += "Speaker Allocation Data Block\tlenth:31\n\n\n";
  for (int i = 158; i < 255; ++i) report.data_blocks += "\n\n";
  expect_extension(block, report.text(255));
}

TEST(CeaExtension, AWrongChecksumIsOnlyReported) {
  Bytes block = Cea().block();  // 02 03 04: the checksum is 0xF7
  ASSERT_EQ(block[127], 0xF7);
  block[127] = 0x12;
  CeaReport report = plain();
  report.check = "\033[1;33m*WARN*EDID block 1 checksum is 0x12. Reminder is 0xf7\n\033[0m";
  expect_extension(block, report.text(4));
}

std::string banner_1() {
  return std::string(60, '*') + "\n*                     BLOCK 01                             *\n" +
         std::string(60, '*') + "\n";
}

TEST(CeaExtension, AnotherTagIsNotDecoded) {
  struct {
    uint8_t tag;
    const char* hex;
  } const rows[] = {{0x01, "0x01"}, {0x10, "0x10"}, {0x40, "0x40"}, {0x70, "0x70"}, {0xF0, "0xf0"}};
  for (const auto& row : rows) {
    expect_extension(Cea().data_block(4, speakers).set(0, {row.tag}).block(),
                     banner_1() + "EDID block 1 checksum check successfully.\n" +
                         "\033[1;33m*WARN*Extension block tag " + row.hex +
                         " is not CEA-861.\n\033[0m" + end_line);
  }
}

TEST(CeaExtension, AnotherTagWithAWrongChecksum) {
  Bytes block(128);
  block[0] = 0x70;
  block[127] = 0x91;
  expect_extension(block,
                   banner_1() +
                       "\033[1;33m*WARN*EDID block 1 checksum is 0x91. Reminder is 0x90\n\033[0m"
                       "\033[1;31m*ERROR*EDID block 1 check failed.The result may be "
                       "incorrect.\n\033[0m"
                       "\033[1;33m*WARN*Extension block tag 0x70 is not CEA-861.\n\033[0m" +
                       end_line);
}

TEST(CeaExtension, AMissingOneIsATagOfZero) {
  Report report;
  report.extension = banner_1() + "EDID block 1 checksum check successfully.\n" +
                     "\033[1;33m*WARN*Extension block tag 0x00 is not CEA-861.\n\033[0m" + end_line;
  expect_report(Edid().set(0x7E, {1}).image(), report);
}

TEST(CeaExtension, OnlyASingleOneIsDecoded) {
  for (const uint8_t count : std::vector<uint8_t>{0, 2, 3, 127, 255}) {
    expect_report(
        Edid().extension(Cea().data_block(4, speakers).block()).set(0x7E, {count}).image(),
        Report{});
  }
}

}  // namespace
}  // namespace edidtest
