// What all blocks have in common: header and checksum.
#include "formats/edid/block.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace zvg::formats::edid;

TEST(EdidHeader, IsAPattern) {
  std::vector<uint8_t> header = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
  EXPECT_TRUE(header_right(header.data()));
  for (uint8_t& byte : header) {
    byte ^= 1;
    EXPECT_FALSE(header_right(header.data()));
    byte ^= 1;
  }
}

TEST(EdidChecksum, TakesTheSumOfABlockToZero) {
  std::vector<uint8_t> block(128, 0);
  EXPECT_TRUE(parse_checksum(block.data()).right());
  block[3] = 0xF0;
  block[126] = 0x18;
  block[127] = 0xF8;
  const Checksum right = parse_checksum(block.data());
  EXPECT_EQ(right.stored, 0xF8);
  EXPECT_EQ(right.expected, 0xF8);
  EXPECT_TRUE(right.right());
  block[127] = 0xF9;
  const Checksum wrong = parse_checksum(block.data());
  EXPECT_EQ(wrong.stored, 0xF9);
  EXPECT_EQ(wrong.expected, 0xF8);
  EXPECT_FALSE(wrong.right());
}

TEST(EdidExtensions, AreKnownByTheirFirstByte) {
  EXPECT_EQ(ExtensionTag{0x02}, ExtensionTag::cea861);
  EXPECT_EQ(ExtensionTag{0x70}, ExtensionTag::display_id);
  EXPECT_EQ(ExtensionTag{0xF0}, ExtensionTag::block_map);
}

}  // namespace
