// The full DDR dump.
#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "support/scratch.h"
#include "util_zvg.h"

namespace {

using zvgtest::capture;
using zvgtest::RegisterNode;

constexpr char dump_name[] = "DDR_Dump_Reg.txt";
constexpr uint32_t phy_words = 65536;
constexpr uint32_t controller_words = 8192;

// Reads answer with their address and the PHY block that is selected for the channel.
class DdrDump : public testing::Test {
 protected:
  void SetUp() override {
    node_.open();
    node_.quiet = true;
    node_.on_read = [this](uint64_t offset, uint64_t* value) {
      *value = (offset & 0xFFFFFF) | selected_ << 24;
      return true;
    };
    node_.result = [this](bool write, uint64_t offset) {
      if (write) selects_.push_back(offset);
      if (!write && offset == bad_) return -7;
      return 0;
    };
  }

  zvgtest::Scratch scratch_;
  RegisterNode node_;
  uint64_t selected_ = 0;
  uint64_t bad_ = ~uint64_t{0};
  std::vector<uint64_t> selects_;
};

std::string word_line(uint32_t address, uint32_t value) {
  char line[64];
  snprintf(line, sizeof line, "0x%08x     %08x        R        FFFFFFFF\n", address, value);
  return line;
}

TEST_F(DdrDump, WritesEveryBlockOfASelectedChannel) {
  int result = -1;
  const auto output = capture([&] { result = zvgDDRReadReg(0x2); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output.out + output.err, "");

  std::string expected;
  bool first = true;
  for (const char* block : {"5", "0", "1", "2", "4", "7", "9", "c", "d"}) {
    expected += std::string("DDR 1, BLOCK ") + block + ", PHY REGISTER DUMP\n";
    if (first) expected += "reg_adr          reg_val          mode     bit\n";
    first = false;
    for (uint32_t i = 0; i < phy_words; ++i) {
      expected += word_line(0x440000 + 4 * i, 0x440000 + 4 * i);
    }
  }
  expected += "DDR 1,  CTL REGISTER DUMP\n";
  for (uint32_t i = 0; i < controller_words; ++i) {
    expected += word_line(0x3C8000 + 4 * i, 0x3C8000 + 4 * i);
  }
  const std::string dump = scratch_.read(dump_name);
  ASSERT_EQ(dump.size(), expected.size());
  EXPECT_TRUE(dump == expected);
  EXPECT_EQ(node_.bytes[0x308400 + 0x110 + 4], 0xD) << "the last block that was selected";
  EXPECT_EQ(selects_, std::vector<uint64_t>(9, 0x308514));
}

TEST_F(DdrDump, SelectsTheBlocksInTheirOrder) {
  std::vector<uint8_t> blocks;
  node_.on_read = [&](uint64_t offset, uint64_t* value) {
    // The first word of the PHY range: which block it shows.
    if (offset == 0x400000) blocks.push_back(node_.bytes[0x308510]);
    *value = 0;
    return true;
  };
  EXPECT_EQ(zvgDDRReadReg(0x1), 0);
  EXPECT_EQ(blocks, (std::vector<uint8_t>{5, 0, 1, 2, 4, 7, 9, 0xC, 0xD}));
}

TEST_F(DdrDump, NothingSelectedLeavesAnEmptyFileAndAppendsToIt) {
  scratch_.file(dump_name, "before\n");
  EXPECT_EQ(zvgDDRReadReg(0xF0), 0);
  EXPECT_EQ(scratch_.read(dump_name), "before\n");
}

TEST_F(DdrDump, FailedReadCutsItsBlockShort) {
  bad_ = 0x400008;
  int result = -1;
  const auto output = capture([&] { result = zvgDDRReadReg(0x1); });
  EXPECT_EQ(result, 0) << "the controller was read whole";
  std::string expected;
  for (int i = 0; i < 9; ++i) expected += "zvgDDRReadReg: read from [0x400008] failed\n";
  EXPECT_EQ(output.err, expected);
  const std::string dump = scratch_.read(dump_name);
  EXPECT_EQ(dump.substr(0, dump.find("DDR 0, BLOCK 0")),
            "DDR 0, BLOCK 5, PHY REGISTER DUMP\nreg_adr          reg_val          mode     bit\n" +
                word_line(0x400000, 0x400000) + word_line(0x400004, 0x400004));
}

TEST_F(DdrDump, ReturnsTheLastControllersResult) {
  bad_ = 0x3C8000;
  capture([] { EXPECT_EQ(zvgDDRReadReg(0x2), -7); });
  capture([] { EXPECT_EQ(zvgDDRReadReg(0x6), 0) << "channel 2 is the last"; });
}

TEST_F(DdrDump, FileThatCannotBeOpenedIsReported) {
  ASSERT_EQ(mkdir(dump_name, 0700), 0);
  int result = 0;
  const auto output = capture([&] { result = zvgDDRReadReg(0x1); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(output.err, "file open err!\n: Is a directory\n");
  EXPECT_EQ(output.out, "");
}

}  // namespace
