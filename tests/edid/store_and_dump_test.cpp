// edid_print_helper(), print_empty_line() and the store.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "expected_report.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace edidtest {
namespace {

class StoreAndDump : public testing::Test {
 protected:
  StoreAndDump() {
    g_last_edid = last_edid;
    std::fill(std::begin(last_edid), std::end(last_edid), 0xEE);
  }
  ~StoreAndDump() override { g_last_edid = last_edid; }

  static std::string print(const Bytes& bytes, int store) {
    return zvgtest::capture(
               [&] { edid_print_helper(bytes.data(), static_cast<uint32_t>(bytes.size()), store); })
        .out;
  }
  static Bytes store() { return Bytes(std::begin(last_edid), std::end(last_edid)); }
  static Bytes counting(size_t size) {
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), uint8_t{1});
    return bytes;
  }
  static Bytes kept(Bytes bytes) {
    bytes.resize(256);
    return bytes;
  }
};

const char header_lines[] =
    "       0      1      2      3      4      5      6     7      8      9      a      b      c   "
    "   "
    "d      e      f \n"
    "********************************************************************************************"
    "**********************\n";

TEST_F(StoreAndDump, WritesRowsOfSixteen) {
  Bytes bytes = counting(18);
  bytes[17] = 0xAB;
  EXPECT_EQ(
      print(bytes, 0),
      std::string(header_lines) +
          "0000: 0x01,  0x02,  0x03,  0x04,  0x05,  0x06,  0x07,  0x08,  0x09,  0x0A,  0x0B,  "
          "0x0C,  0x0D,  0x0E,  0x0F,  0x10,  \n"
          "0010: 0x11,  0xAB,  ");
  EXPECT_EQ(store(), Bytes(256, 0xEE)) << "the store is only for those who ask";
}

TEST_F(StoreAndDump, OfNothingIsTheHeader) {
  EXPECT_EQ(print({}, 0), header_lines);
  EXPECT_EQ(store(), Bytes(256, 0xEE));
}

TEST_F(StoreAndDump, StoringNothingClearsTheStore) {
  EXPECT_EQ(print({}, 1), std::string(header_lines) + "EDID is ready for parsed.\n");
  EXPECT_EQ(store(), Bytes(256, 0));
}

TEST_F(StoreAndDump, StoringNothingDoesNotTouchTheBytes) {
  const auto output = zvgtest::capture([] { edid_print_helper(nullptr, 0, 1); });
  EXPECT_EQ(output.out, std::string(header_lines) + "EDID is ready for parsed.\n");
}

TEST_F(StoreAndDump, StoringHalfAnEdidClearsTheRest) {
  const Bytes bytes = counting(128);
  EXPECT_EQ(print(bytes, 1), dump(bytes) + "EDID is ready for parsed.\n");
  EXPECT_EQ(store(), kept(bytes));
}

TEST_F(StoreAndDump, StoringAPartialRowEndsOnItsLine) {
  const Bytes bytes = counting(3);
  EXPECT_EQ(print(bytes, 1),
            std::string(header_lines) + "0000: 0x01,  0x02,  0x03,  EDID is ready for parsed.\n");
  EXPECT_EQ(store(), kept(bytes));
}

TEST_F(StoreAndDump, StoringAWholeEdidFillsTheStore) {
  const Bytes bytes = counting(256);
  EXPECT_EQ(print(bytes, 1), dump(bytes) + "EDID is ready for parsed.\n");
  EXPECT_EQ(store(), bytes);
}

TEST_F(StoreAndDump, StoringMoreDumpsAllAndKeepsTheFirst256) {
  struct {
    uint8_t bytes[256];
    uint8_t behind[256];
  } memory;
  std::fill_n(memory.bytes, 256, uint8_t{0x11});
  std::fill_n(memory.behind, 256, uint8_t{0x77});
  g_last_edid = memory.bytes;
  Bytes bytes = counting(512);
  bytes[256] = 0xA5;
  EXPECT_EQ(print(bytes, 1), dump(bytes) + "EDID is ready for parsed.\n");
  EXPECT_TRUE(std::equal(memory.bytes, memory.bytes + 256, bytes.begin()));
  EXPECT_EQ(std::count(memory.behind, memory.behind + 256, 0x77), 256);
}

TEST_F(StoreAndDump, NumbersRowsBeyondTheStore) {
  const std::string text = print(Bytes(256 * 128), 0);
  EXPECT_EQ(text, dump(Bytes(256 * 128)));
  EXPECT_NE(text.find("\n7ff0: 0x00,  "), std::string::npos);
}

TEST_F(StoreAndDump, OnlyTheLowByteOfTheFlagCounts) {
  const Bytes bytes = counting(16);
  EXPECT_EQ(print(bytes, 0x100), dump(bytes));
  EXPECT_EQ(store(), Bytes(256, 0xEE));
  EXPECT_EQ(print(bytes, 0x180), dump(bytes) + "EDID is ready for parsed.\n");
  EXPECT_EQ(store(), kept(bytes));
}

TEST_F(StoreAndDump, TheStoreIsReachedThroughItsPointer) {
  Bytes elsewhere(256, 0x33);
  g_last_edid = elsewhere.data();
  const Bytes bytes = counting(128);
  print(bytes, 1);
  EXPECT_EQ(elsewhere, kept(bytes));
  EXPECT_EQ(store(), Bytes(256, 0xEE));
}

TEST(PrintEmptyLine, PrintsNewlines) {
  const auto lines = [](int n) { return zvgtest::capture([n] { print_empty_line(n); }).out; };
  EXPECT_EQ(lines(0), "");
  EXPECT_EQ(lines(1), "\n");
  EXPECT_EQ(lines(3), "\n\n\n");
  EXPECT_EQ(lines(-1), "");
}

}  // namespace
}  // namespace edidtest
