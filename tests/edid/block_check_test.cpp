// zvg_edid_block_is_valid(): results, messages and their order.
#include <gtest/gtest.h>

#include <vector>

#include "expected_report.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace edidtest {
namespace {

const char header_good[] = "EDID header check successfully.\n";

std::string rejected(int block) {
  return "\033[1;31m*ERROR*EDID block " + std::to_string(block) +
         " check failed.The result may be incorrect.\n\033[0m";
}

std::string sum_good(int block) {
  return "EDID block " + std::to_string(block) + " checksum check successfully.\n";
}

void expect_check(const Bytes& image, int block, int result, const std::string& text) {
  int actual = -1;
  const auto output =
      zvgtest::capture([&] { actual = zvg_edid_block_is_valid(image.data(), block); });
  EXPECT_EQ(actual, result);
  EXPECT_EQ(output.out, text);
  EXPECT_EQ(output.err, "");
}

// An image whose block 1 starts with tag and sums to 0.
Bytes with_extension_tag(uint8_t tag, uint8_t version = 1, uint8_t revision = 3) {
  Bytes block(128);
  block[0] = tag;
  block[5] = 0x5A;
  seal(block.data());
  return Edid().set(0x12, {version, revision}).extension(block).image();
}

TEST(BlockCheck, AcceptsAGoodBaseBlock) {
  expect_check(Edid().image(), 0, 1, header_good + sum_good(0));
}

TEST(BlockCheck, EveryHeaderByteCounts) {
  for (size_t i = 0; i < 8; ++i) {
    Bytes image = Edid().image();
    image[i] ^= 0x10;
    expect_check(image, 0, 0, "\033[1;33m*WARN*EDID header is wrong.\n\033[0m" + rejected(0));
  }
}

TEST(BlockCheck, AWrongHeaderEndsTheCheck) {
  // The checksum is wrong too, and so is the version: neither is mentioned.
  Bytes image = Edid().set(0x12, {9, 9}).image();
  image[0] = 0x80;
  image[127] ^= 0xFF;
  expect_check(image, 0, 0, "\033[1;33m*WARN*EDID header is wrong.\n\033[0m" + rejected(0));
}

TEST(BlockCheck, AWrongSumTellsStoredAndRightChecksum) {
  Bytes image = Edid().image();
  image[127] = 0x11;
  seal(image.data());
  const int right = image[127];
  image[127] = static_cast<uint8_t>(right + 5);
  char text[120];
  snprintf(text, sizeof text,
           "\033[1;33m*WARN*EDID block 0 checksum is 0x%02x. Reminder is 0x%02x\n\033[0m",
           (right + 5) & 0xFF, right);
  expect_check(image, 0, 0, header_good + std::string(text) + rejected(0));
}

TEST(BlockCheck, AWrongSumIsPrintedInTwoHexDigits) {
  // All bytes but the header and the checksum are 0: 6 * 0xFF = 0x5FA, so 0x06 is right.
  Bytes image(256);
  for (size_t i = 1; i < 7; ++i) image[i] = 0xFF;
  image[127] = 0xAB;
  expect_check(image, 0, 0,
               header_good +
                   std::string("\033[1;33m*WARN*EDID block 0 checksum is 0xab. Reminder is "
                               "0x06\n\033[0m") +
                   rejected(0));
}

TEST(BlockCheck, ARightChecksumOfZeroIsZero) {
  // The other bytes of block 1 sum to 0: the checksum is 0 and a wrong one is told so.
  Bytes image = Edid().image();
  image[128] = 0x70;
  image[129] = 0x90;
  expect_check(image, 1, 1, sum_good(1));
  image[255] = 1;
  expect_check(
      image, 1, 0,
      "\033[1;33m*WARN*EDID block 1 checksum is 0x01. Reminder is 0x00\n\033[0m" + rejected(1));
}

TEST(BlockCheck, ACeaBlockMayHaveAWrongSum) {
  Bytes image = with_extension_tag(0x02);
  const int right = image[255];
  image[255] = static_cast<uint8_t>(right - 1);
  char text[120];
  snprintf(text, sizeof text,
           "\033[1;33m*WARN*EDID block 1 checksum is 0x%02x. Reminder is 0x%02x\n\033[0m",
           (right - 1) & 0xFF, right);
  expect_check(image, 1, 1, text);
}

TEST(BlockCheck, OtherExtensionsMayNot) {
  for (const uint8_t tag : std::vector<uint8_t>{0x00, 0x01, 0x03, 0x70, 0xF0}) {
    Bytes image = with_extension_tag(tag);
    const int right = image[255];
    image[255] = static_cast<uint8_t>(right + 1);
    char text[120];
    snprintf(text, sizeof text,
             "\033[1;33m*WARN*EDID block 1 checksum is 0x%02x. Reminder is 0x%02x\n\033[0m",
             (right + 1) & 0xFF, right);
    expect_check(image, 1, 0, text + rejected(1));
  }
}

TEST(BlockCheck, AnExtensionHasNoHeaderToCheckAndNoVersion) {
  expect_check(with_extension_tag(0x02), 1, 1, sum_good(1));
  expect_check(with_extension_tag(0x70, 7, 9), 1, 1, sum_good(1));
}

TEST(BlockCheck, AnExtensionWithTagZeroIsHeldToTheBaseVersion) {
  expect_check(with_extension_tag(0x00, 1, 4), 1, 1, sum_good(1));
  expect_check(with_extension_tag(0x00, 1, 5), 1, 1,
               sum_good(1) + "EDID minor > 4, assuming backward compatibility\n");
  expect_check(with_extension_tag(0x00, 2, 0), 1, 0,
               sum_good(1) + "\033[1;33m*WARN*EDID has major version 2, instead of 1\n\033[0m" +
                   rejected(1));
}

TEST(BlockCheck, TheVersionDecides) {
  for (const uint8_t revision : std::vector<uint8_t>{0, 1, 2, 3, 4}) {
    expect_check(Edid().set(0x12, {1, revision}).image(), 0, 1, header_good + sum_good(0));
  }
  for (const uint8_t revision : std::vector<uint8_t>{5, 6, 255}) {
    expect_check(Edid().set(0x12, {1, revision}).image(), 0, 1,
                 header_good + sum_good(0) + "EDID minor > 4, assuming backward compatibility\n");
  }
  for (const uint8_t version : std::vector<uint8_t>{0, 2, 255}) {
    expect_check(Edid().set(0x12, {version, 5}).image(), 0, 0,
                 header_good + sum_good(0) + "\033[1;33m*WARN*EDID has major version " +
                     std::to_string(version) + ", instead of 1\n\033[0m" + rejected(0));
  }
}

}  // namespace
}  // namespace edidtest
