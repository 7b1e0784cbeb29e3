// The chain of board information: headers, checksums and the walk.
#include "formats/board_info/entry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using namespace zvg::formats::board_info;

using Bytes = std::vector<uint8_t>;

// A copy of the area from 0x70200 to 0x80000.
class Area {
 public:
  Area() : bytes_(0xFE00, 0xFF) {}

  void put(size_t at, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<ptrdiff_t>(at));
  }
  // Data that is all zeros but its first byte, which is its 16-bit sum, too.
  void entry(size_t at, uint8_t id, size_t size, uint16_t next, size_t offset = 64) {
    put(at, {0x09, 0x07, 0x44, 0x50, id, 0, 0, 0, static_cast<uint8_t>(offset),
             static_cast<uint8_t>(offset >> 8), static_cast<uint8_t>(size),
             static_cast<uint8_t>(size >> 8), 0xFE, 0xFF, static_cast<uint8_t>(next),
             static_cast<uint8_t>(next >> 8)});
    Bytes data(size + size % 2, 0);
    data[0] = 2;
    put(at + offset, data);
  }
  Bytes& bytes() { return bytes_; }

  std::vector<Entry> walk() const {
    Chain chain(std::span<const uint8_t, 0xFE00>(bytes_.data(), bytes_.size()));
    std::vector<Entry> entries;
    while (const auto entry = chain.next()) entries.push_back(*entry);
    EXPECT_FALSE(chain.next()) << "an end is an end";
    return entries;
  }

 private:
  Bytes bytes_;
};

TEST(Sum, IsOf16BitWordsLowByteFirst) {
  const Bytes bytes = {0x01, 0x02, 0xFF, 0xFF, 0x10, 0x00};
  EXPECT_EQ(sum(bytes.data(), 0), 0);
  EXPECT_EQ(sum(bytes.data(), 1), 0x0201);
  EXPECT_EQ(sum(bytes.data(), 2), 0x0200);
  EXPECT_EQ(sum(bytes.data(), 3), 0x0210);
  EXPECT_EQ(negated_sum(bytes.data(), 3), 0xFDF0);
  EXPECT_EQ(negated_sum(bytes.data(), 0), 0);
}

TEST(Header, HasEightNumbersLowByteFirst) {
  Bytes bytes(64, 0xEE);
  for (size_t i = 0; i < 16; ++i) bytes[i] = static_cast<uint8_t>(0x10 + i);
  const Header header = parse_header(bytes.data());
  EXPECT_EQ(header.magic, 0x1110);
  EXPECT_EQ(header.type, 0x1312);
  EXPECT_EQ(header.id, 0x1514);
  EXPECT_EQ(header.sub_index, 0x1716);
  EXPECT_EQ(header.data_offset, 0x1918);
  EXPECT_EQ(header.data_size, 0x1B1A);
  EXPECT_EQ(header.checksum, 0x1D1C);
  EXPECT_EQ(header.next, 0x1F1E);
}

TEST(Header, IsWrittenAsItWasRead) {
  Bytes bytes(64, 0xEE);
  for (size_t i = 0; i < 16; ++i) bytes[i] = static_cast<uint8_t>(0xA0 + i);
  Bytes copy(64, 0x55);
  put_header(parse_header(bytes.data()), copy.data());
  EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + 16, copy.begin()));
  EXPECT_EQ(std::count(copy.begin() + 16, copy.end(), 0x55), 48) << "the reserved bytes stay";
}

TEST(Header, IsKnownByItsMagic) {
  EXPECT_TRUE(Header{.magic = 0x0709}.is_entry());
  EXPECT_FALSE(Header{.magic = 0x0907}.is_entry());
  EXPECT_FALSE(Header{}.is_entry());
}

TEST(Header, IsAnEdidByTypeAndSubIndex) {
  EXPECT_TRUE((Header{.type = 0x5044, .id = 3}.is_edid_of(3)));
  EXPECT_FALSE((Header{.type = 0x5044, .id = 3}.is_edid_of(2)));
  EXPECT_FALSE((Header{.type = 0x5044, .id = 3}.is_edid_of(0x10003)));
  EXPECT_FALSE((Header{.type = 0x5044, .id = 3, .sub_index = 1}.is_edid()));
  EXPECT_FALSE((Header{.type = 0x4E53, .id = 3}.is_edid()));
}

TEST(Header, NextIsAnOffsetInTheArea) {
  EXPECT_EQ(Header{.next = 0x200}.next_address(), 0x70400u);
  EXPECT_EQ(Header{.next = 0xFFFF}.next_address(), 0x801FFu);
  EXPECT_EQ(Header{}.next_address(), std::nullopt);
}

TEST(Header, ChecksumTakesTheByteBehindAnOddSize) {
  const Bytes data = {0x01, 0x02, 0x03, 0x04};
  EXPECT_TRUE((Header{.data_size = 3, .checksum = 0xF9FC}.matches(data.data())));
  EXPECT_FALSE((Header{.data_size = 3, .checksum = 0xFDFC}.matches(data.data())));
  EXPECT_TRUE((Header{.data_size = 2, .checksum = 0xFDFF}.matches(data.data())));
}

TEST(Slot, HoldsHeaderAndEdid) {
  const Bytes edid = {0x00, 0xFF, 0x34, 0x12};
  Header header = edid_header(5, edid.data(), 4);
  header.next = 0x0400;
  Bytes slot(512, 0xEE);
  put_slot(header, edid, slot.data());
  Bytes expected = {0x09, 0x07, 0x44, 0x50, 5, 0, 0, 0, 64, 0, 4, 0, 0xCC, 0xEE, 0x00, 0x04};
  expected.resize(64, 0);
  expected.insert(expected.end(), edid.begin(), edid.end());
  expected.resize(512, 0);
  EXPECT_EQ(slot, expected);
}

TEST(Chain, OfAnErasedAreaIsEmpty) {
  EXPECT_TRUE(Area().walk().empty());
}

TEST(Chain, IsWalkedByItsOffsets) {
  Area area;
  area.entry(0, 1, 128, 0x600);
  area.entry(0x600, 2, 256, 0x200, 80);
  area.entry(0x200, 3, 3, 0);
  const std::vector<Entry> entries = area.walk();
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[0].address, 0x70200u);
  EXPECT_EQ(entries[1].address, 0x70800u);
  EXPECT_EQ(entries[2].address, 0x70400u);
  EXPECT_EQ(entries[1].header.id, 2);
  EXPECT_EQ(entries[1].data.data(), area.bytes().data() + 0x600 + 80);
  EXPECT_EQ(entries[1].data.size(), 256u);
  EXPECT_EQ(entries[2].data.size(), 3u);
  for (const Entry& entry : entries) EXPECT_TRUE(entry.valid);
}

TEST(Chain, EndsWithAnEntryThatIsDamaged) {
  Area area;
  area.entry(0, 1, 128, 0x200);
  area.entry(0x200, 2, 128, 0x400);
  area.entry(0x400, 3, 128, 0);
  area.bytes()[0x200 + 64 + 9] ^= 1;
  const std::vector<Entry> entries = area.walk();
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_TRUE(entries[0].valid);
  EXPECT_FALSE(entries[1].valid);
  EXPECT_EQ(entries[1].data.size(), 128u);
}

TEST(Chain, EndsBeforeWhatIsNoEntry) {
  Area area;
  area.entry(0, 1, 128, 0x200);
  EXPECT_EQ(area.walk().size(), 1u);
}

TEST(Chain, DataMayReachTheEndOfTheArea) {
  Area area;
  area.entry(0, 1, 0xFE00 - 64, 0);
  ASSERT_EQ(area.walk().size(), 1u);
  EXPECT_TRUE(area.walk()[0].valid);
  area.entry(0, 1, 0xFE00 - 65, 0);
  EXPECT_TRUE(area.walk()[0].valid);
}

TEST(Chain, DataBehindTheAreaIsNotThere) {
  Area area;
  area.entry(0, 1, 2, 0);
  area.bytes()[10] = 0xC1;  // of 0xFDC1 bytes
  area.bytes()[11] = 0xFD;
  ASSERT_EQ(area.walk().size(), 1u);
  EXPECT_FALSE(area.walk()[0].valid);
  EXPECT_TRUE(area.walk()[0].data.empty());
}

TEST(Chain, HeaderMustStandInTheArea) {
  Area area;
  area.entry(0, 1, 2, 0xFDC0);
  area.put(0xFDC0, {0x09, 0x07, 0x44, 0x50});
  area.bytes()[0xFDC0 + 10] = area.bytes()[0xFDC0 + 11] = 0;  // no data
  area.bytes()[0xFDC0 + 8] = area.bytes()[0xFDC0 + 9] = 0;
  EXPECT_EQ(area.walk().size(), 2u);
  area.bytes()[14] = 0xC1;
  EXPECT_EQ(area.walk().size(), 1u);
  area.bytes()[14] = area.bytes()[15] = 0xFF;
  EXPECT_EQ(area.walk().size(), 1u);
}

TEST(Chain, ThatLeadsBackEnds) {
  Area area;
  area.entry(0, 1, 128, 0x200);
  area.entry(0x200, 2, 128, 0x200);
  EXPECT_EQ(area.walk().size(), 127u);
}

}  // namespace
