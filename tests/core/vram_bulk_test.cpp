// Video memory in bulk: buffers, files, the three rounds a word, and the hex dump.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using zvgtest::capture;
using zvgtest::RegisterNode;

// Video memory behind a driver, of which single words can be made to fail. The bridge has no bus
// behind it unless a test gives it one.
class VramBulk : public testing::Test {
 protected:
  void SetUp() override {
    node_.bytes[0x103CC] = 1;
    node_.open();
    node_.quiet = true;
    node_.result = [this](bool write, uint64_t offset) {
      if (offset != bad_offset_) return 0;
      ++(write ? failed_writes_ : failed_reads_);
      return -1;
    };
    char name[] = "/tmp/zvg_vram_XXXXXX";
    const int fd = mkstemp(name);
    ASSERT_GE(fd, 0);
    close(fd);
    path_ = name;
  }
  void TearDown() override { unlink(path_.c_str()); }

  void store(uint64_t offset, uint32_t word) {
    for (int i = 0; i < 4; ++i)
      node_.bytes[offset + static_cast<uint64_t>(i)] = static_cast<uint8_t>(word >> (8 * i));
  }
  uint32_t load(uint64_t offset) {
    uint32_t word = 0;
    for (int i = 0; i < 4; ++i) {
      word |= uint32_t{node_.bytes[offset + static_cast<uint64_t>(i)]} << (8 * i);
    }
    return word;
  }
  std::string file() const {
    std::ifstream stream(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  void write_file(const std::string& content) const {
    std::ofstream(path_, std::ios::binary) << content;
  }
  // Makes the bridge complete every transfer and read as 0xAB bytes.
  void give_the_bridge_a_bus() {
    node_.on_read = [this](uint64_t offset, uint64_t* value) {
      if (offset != 0x103D5) return false;
      const uint8_t index = node_.bytes[0x103D4];
      *value = index == 0xB9 ? 0xE0 : index == 0xB8 ? 0xAB : 0;
      return index == 0xB9 || index == 0xB8;
    };
  }

  static constexpr uint64_t none = 0xFFFFFFFFF;

  RegisterNode node_;
  uint64_t bad_offset_ = none;
  int failed_reads_ = 0;
  int failed_writes_ = 0;
  std::string path_;
};

TEST_F(VramBulk, ReadsWordsIntoTheBuffer) {
  for (uint32_t i = 0; i < 4; ++i) store(0x100 + 4 * i, 0x11111111 * (i + 1));
  uint32_t buffer[5] = {9, 9, 9, 9, 9};
  const auto output =
      capture([&] { EXPECT_EQ(zvgMultiVramReadLong(buffer, 0x100, 4, nullptr), 0); });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_EQ(buffer[0], 0x11111111u);
  EXPECT_EQ(buffer[3], 0x44444444u);
  EXPECT_EQ(buffer[4], 9u);
}

TEST_F(VramBulk, NothingToReadIsASuccess) {
  const uint64_t before = node_.accesses;
  uint32_t word = 5;
  EXPECT_EQ(zvgMultiVramReadLong(nullptr, 0, 4, nullptr), 0);
  EXPECT_EQ(zvgMultiVramReadLong(&word, 0, 0, nullptr), 0);
  EXPECT_EQ(word, 5u);
  EXPECT_EQ(node_.accesses, before);
}

TEST_F(VramBulk, ReadsIntoAFileInHostOrder) {
  store(0x200, 0x64636261);
  store(0x204, 0x68676665);
  uint32_t untouched = 5;
  EXPECT_EQ(zvgMultiVramReadLong(&untouched, 0x200, 2, path_.c_str()), 0);
  EXPECT_EQ(file(), "abcdefgh");
  EXPECT_EQ(untouched, 5u);
}

TEST_F(VramBulk, CountZeroLeavesAnEmptyFile) {
  write_file("old");
  EXPECT_EQ(zvgMultiVramReadLong(nullptr, 0, 0, path_.c_str()), 0);
  EXPECT_EQ(file(), "");
}

TEST_F(VramBulk, FilesThatCannotBeOpenedAreReported) {
  const auto read =
      capture([] { EXPECT_EQ(zvgMultiVramReadLong(nullptr, 0, 1, "/nonexistent/dump"), -1); });
  EXPECT_EQ(read.err, "Failed to open file /nonexistent/dump\n");
  const auto write =
      capture([] { EXPECT_EQ(zvgMultVramWriteLong(0, 0, 1, "/nonexistent/dump"), -1); });
  EXPECT_EQ(write.err, "Failed to open file /nonexistent/dump\n");
  EXPECT_EQ(read.out + write.out, "");
}

TEST_F(VramBulk, FailedWordIsTriedThreeRoundsAndSkipped) {
  bad_offset_ = 0x104;
  store(0x100, 1);
  store(0x108, 3);
  uint32_t buffer[3] = {};
  const auto output =
      capture([&] { EXPECT_EQ(zvgMultiVramReadLong(buffer, 0x100, 3, nullptr), 0); });
  EXPECT_EQ(output.err, "Failed to read vram [0x104]\n");
  EXPECT_EQ(failed_reads_, 3);
  EXPECT_EQ(node_.slept_us, 3u * 750) << "each round ends with a bridge that times out";
  EXPECT_EQ(buffer[0], 1u);
  EXPECT_EQ(buffer[2], 3u);
}

TEST_F(VramBulk, BridgeStepsInWhereTheFirstPathFails) {
  bad_offset_ = 0x104;
  give_the_bridge_a_bus();
  uint32_t buffer[3] = {};
  const auto output =
      capture([&] { EXPECT_EQ(zvgMultiVramReadLong(buffer, 0x100, 3, nullptr), 0); });
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(failed_reads_, 1);
  EXPECT_EQ(buffer[1], 0xABABABABu);
}

TEST_F(VramBulk, BridgeReadsAtTheWordsBusAddress) {
  bad_offset_ = 0x1234564;
  give_the_bridge_a_bus();
  node_.quiet = false;
  uint32_t word = 0;
  zvgMultiVramReadLong(&word, 0x1234564, 1, nullptr);
  // The address bytes go into index 0xB2, lowest first.
  std::string bytes;
  const auto log = node_.take();
  for (size_t i = 0; i + 1 < log.size(); ++i) {
    if (log[i] == "w1 0x103d4 0xb2") bytes += log[i + 1].substr(strlen("w1 0x103d5 ")) + " ";
  }
  EXPECT_EQ(bytes, "0x60 0x45 0x23 0x1 0x80 ");
}

TEST_F(VramBulk, FailedWordGoesIntoTheFileAsTheLastValue) {
  bad_offset_ = 0x104;
  store(0x100, 0x64636261);
  store(0x108, 0x68676665);
  // A failed driver read stores what the record holds, which is 0.
  const auto output =
      capture([&] { EXPECT_EQ(zvgMultiVramReadLong(nullptr, 0x100, 3, path_.c_str()), 0); });
  EXPECT_EQ(output.err, "Failed to read vram [0x104]\n");
  EXPECT_EQ(file(), std::string("abcd\0\0\0\0efgh", 12));
}

TEST_F(VramBulk, FillsWords) {
  EXPECT_EQ(zvgMultVramWriteLong(0xA5A5A5A5, 0x300, 3, nullptr), 0);
  EXPECT_EQ(load(0x300), 0xA5A5A5A5u);
  EXPECT_EQ(load(0x308), 0xA5A5A5A5u);
  EXPECT_EQ(load(0x30C), 0u);
}

TEST_F(VramBulk, FailedFillSaysRead) {
  bad_offset_ = 0x304;
  const auto output = capture([] { EXPECT_EQ(zvgMultVramWriteLong(1, 0x300, 3, nullptr), 0); });
  EXPECT_EQ(output.err, "Failed to read vram [0x304]\n");
  EXPECT_EQ(failed_writes_, 3);
  EXPECT_EQ(load(0x308), 1u);
}

TEST_F(VramBulk, FillFallsBackToTheBridge) {
  bad_offset_ = 0x304;
  give_the_bridge_a_bus();
  const auto output = capture([] { EXPECT_EQ(zvgMultVramWriteLong(1, 0x300, 3, nullptr), 0); });
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(failed_writes_, 1);
}

TEST_F(VramBulk, LoadsAFile) {
  write_file("abcdefghX");
  EXPECT_EQ(zvgMultVramWriteLong(0, 0x400, 2, path_.c_str()), 0);
  EXPECT_EQ(load(0x400), 0x64636261u);
  EXPECT_EQ(load(0x404), 0x68676665u);
  EXPECT_EQ(load(0x408), 0u);
}

TEST_F(VramBulk, ShortFileStopsAtTheFirstMissingWord) {
  write_file("abcdef");
  int result = 0;
  const auto output = capture([&] { result = zvgMultVramWriteLong(0, 0x400, 3, path_.c_str()); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(output.err,
            "Failed to read from file " + path_ + ". Writing stream crashed at 0x404\n");
  EXPECT_EQ(load(0x400), 0x64636261u);
  EXPECT_EQ(load(0x404), 0u);
}

TEST_F(VramBulk, FailedLoadSaysWrite) {
  write_file("abcdefgh");
  bad_offset_ = 0x400;
  const auto output =
      capture([&] { EXPECT_EQ(zvgMultVramWriteLong(0, 0x400, 2, path_.c_str()), 0); });
  EXPECT_EQ(output.err, "Failed to write vram [0x400]\n");
  EXPECT_EQ(failed_writes_, 3);
  EXPECT_EQ(load(0x404), 0x68676665u);
}

std::string dump(const void* buffer, unsigned width, uint64_t start, unsigned count) {
  const auto output =
      capture([&] { dump_vram(static_cast<const uint8_t*>(buffer), width, start, count); });
  EXPECT_EQ(output.err, "");
  return output.out;
}

TEST(DumpVram, BytesEightToALine) {
  uint8_t bytes[10];
  for (uint8_t i = 0; i < 10; ++i) bytes[i] = static_cast<uint8_t>(0xF0 + i);
  EXPECT_EQ(dump(bytes, 1, 0x1000, 10), "00001000: f0 f1 f2 f3 f4 f5 f6 f7\n00001008: f8 f9");
}

TEST(DumpVram, WordsEightToALine) {
  const uint16_t words[] = {0, 1, 2, 3, 4, 5, 6, 7, 0xABCD};
  EXPECT_EQ(dump(words, 2, 0, 9),
            "00000000: 0000 0001 0002 0003 0004 0005 0006 0007\n00000010: abcd");
}

TEST(DumpVram, LongsEightToALine) {
  const uint32_t longs[] = {0, 1, 2, 3, 4, 5, 6, 7, 0x89ABCDEF};
  EXPECT_EQ(dump(longs, 4, 0x123456789, 9),
            "123456789: 00000000 00000001 00000002 00000003 00000004 00000005 00000006 00000007\n"
            "1234567a9: 89abcdef");
}

TEST(DumpVram, QuadsTwoToALineWithTheirLowSixteenBits) {
  const uint64_t quads[] = {0x1122334455667788, 0xFFFFFFFFFFFFFFFF, 0x10001};
  EXPECT_EQ(dump(quads, 8, 0, 3),
            "00000000: 00000000 00007788 00000000 0000ffff\n00000010: 00000000 00000001");
}

TEST(DumpVram, FullLinesHaveNoNewlineAtTheEnd) {
  const uint8_t bytes[8] = {};
  EXPECT_EQ(dump(bytes, 1, 0, 8), "00000000: 00 00 00 00 00 00 00 00");
}

TEST(DumpVram, OtherWidthsAndNoItemsPrintNothing) {
  const uint8_t bytes[64] = {};
  EXPECT_EQ(dump(bytes, 3, 0, 4), "");
  EXPECT_EQ(dump(bytes, 0, 0, 4), "");
  EXPECT_EQ(dump(bytes, 16, 0, 4), "");
  EXPECT_EQ(dump(bytes, 4, 0, 0), "");
}

}  // namespace
