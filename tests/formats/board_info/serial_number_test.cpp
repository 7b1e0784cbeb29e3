// The record of the serial number.
#include "formats/board_info/serial_number.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace zvg::formats::board_info;

std::vector<uint8_t> record(const std::string& serial, uint16_t length, uint16_t checksum) {
  std::vector<uint8_t> bytes(128, 0);
  const uint8_t head[] = {0x09,
                          0x07,
                          0x53,
                          0x4E,
                          0xAA,
                          0xAA,
                          static_cast<uint8_t>(length),
                          static_cast<uint8_t>(length >> 8),
                          static_cast<uint8_t>(checksum),
                          static_cast<uint8_t>(checksum >> 8)};
  std::copy(std::begin(head), std::end(head), bytes.begin());
  std::copy(serial.begin(), serial.end(), bytes.begin() + 64);
  return bytes;
}

TEST(SerialRecord, HasItsFields) {
  const SerialNumber serial = parse_serial_number(record("AB12", 4, 0x1234).data());
  EXPECT_TRUE(serial.is_one());
  EXPECT_EQ(serial.magic, 0x0709);
  EXPECT_EQ(serial.type, 0x4E53);
  EXPECT_EQ(serial.length, 4);
  EXPECT_EQ(serial.checksum, 0x1234);
  EXPECT_EQ(std::string(serial.characters, 64), "AB12" + std::string(60, '\0'));
}

TEST(SerialRecord, NeedsMagicAndType) {
  for (const size_t at : {0, 1, 2, 3}) {
    auto bytes = record("AB12", 4, 0);
    bytes[at] ^= 0x40;
    EXPECT_FALSE(parse_serial_number(bytes.data()).is_one()) << at;
  }
}

TEST(SerialRecord, ChecksumIsOfWholeWords) {
  // "AB" is 0x4241, "12" is 0x3231: with 0x8B8E they add up to 0.
  EXPECT_TRUE(parse_serial_number(record("AB12", 4, 0x8B8E).data()).checksum_right());
  EXPECT_TRUE(parse_serial_number(record("AB12Z", 5, 0x8B8E).data()).checksum_right());
  EXPECT_FALSE(parse_serial_number(record("AB12", 4, 0x8B8F).data()).checksum_right());
  EXPECT_FALSE(parse_serial_number(record("AB12", 3, 0x8B8E).data()).checksum_right());
  EXPECT_TRUE(parse_serial_number(record("", 0, 0).data()).checksum_right());
}

TEST(SerialRecord, HasNoMoreThan64Characters) {
  const std::string zeros(64, '\0');
  EXPECT_TRUE(parse_serial_number(record(zeros, 64, 0).data()).checksum_right());
  EXPECT_FALSE(parse_serial_number(record(zeros, 65, 0).data()).checksum_right());
  EXPECT_FALSE(parse_serial_number(record(zeros, 0xFFFF, 0).data()).checksum_right());
}

TEST(SerialRecord, IsMadeOfCharactersFromDashToZ) {
  int allowed = 0;
  for (int c = -128; c < 128; ++c) allowed += is_serial_character(static_cast<char>(c)) ? 1 : 0;
  EXPECT_EQ(allowed, 0x7A - 0x2D + 1);
  EXPECT_TRUE(is_serial_character('-'));
  EXPECT_TRUE(is_serial_character('z'));
  EXPECT_FALSE(is_serial_character(','));
  EXPECT_FALSE(is_serial_character('{'));
}

}  // namespace
