// The display controller's timing, copied into a DisplayPort transmitter and read back from one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display/dp/dp_node.h"
#include "display/panel/vga_node.h"
#include "support/capture.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using zvgtest::capture;
using zvgtest::DpNode;
using zvgtest::Log;
using zvgtest::text;
using zvgtest::VgaRegisters;

class DpMode : public testing::Test {
 protected:
  void SetUp() override {
    node_.open();
    vga_ = std::make_unique<VgaRegisters>(node_);
    node_.dpcd = {{0x001, 0x0A}, {0x002, 2}, {0x202, 0x77}, {0x203, 0x77}, {0x204, 1}};
    node_.quiet = true;
    for (int port = 0; port < 4; ++port) zvgDpInit(port);
    node_.quiet = false;
    // 1920x1080: back distances 148 and 36, widths 44 and 5.
    vga_->pair(0x60, 2200);
    vga_->pair(0x62, 1920);
    vga_->pair(0x68, 1125);
    vga_->pair(0x6A, 1080);
    vga_->crtc[0x66] = 44;
    vga_->crtc[0x67] = 148;
    vga_->crtc[0x6E] = 5;
    vga_->crtc[0x6F] = 36;
    pll(0x00150720);  // 22 * 54000 / 8 / 4 / 1 = 37125
  }
  void pll(uint32_t word) {
    for (unsigned i = 0; i < 4; ++i) vga_->crtc[0x81 + i * 2] = static_cast<uint8_t>(word >> i * 8);
  }
  uint32_t left_in(unsigned port, uint32_t reg) {
    uint32_t value = 0;
    for (unsigned i = 4; i-- > 0;) {
      value = value << 8 | node_.bytes[zvgtest::dp_block(port) + 0x10000 + reg + i];
    }
    return value;
  }
  // Copies into port 0 and returns what was printed.
  std::string copy() {
    const bool was_quiet = node_.quiet;
    node_.quiet = true;
    const auto output = capture([&] { EXPECT_EQ(zvgDpCTLCfg(0), 0); });
    node_.quiet = was_quiet;
    return output.out;
  }

  DpNode node_;
  std::unique_ptr<VgaRegisters> vga_;
};

TEST_F(DpMode, CopyReadsTheControllerFirst) {
  const auto output = capture([&] { EXPECT_EQ(zvgDpCTLCfg(1), 0); });
  EXPECT_EQ(output.out,
            "pclk=37125\nDPCD 0: 00 0a 02 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
            "DP1: enable the link\n");
  const Log log = VgaRegisters::fold(node_.folded(1));
  const Log reads = {"crtc? 0x81", "crtc? 0x83", "crtc? 0x85", "crtc? 0x87",  "crtc? 0x60",
                     "crtc? 0x61", "crtc? 0x68", "crtc? 0x69", "crtc? 0x62",  "crtc? 0x63",
                     "crtc? 0x6a", "crtc? 0x6b", "crtc? 0x67", "crtc? 0x78",  "crtc? 0x66",
                     "crtc? 0x6f", "crtc? 0x6e", "r1 0x103cc", "dpcd? 0x0+16"};
  ASSERT_GT(log.size(), reads.size());
  EXPECT_THAT(Log(log.begin(), log.begin() + static_cast<long>(reads.size())),
              ElementsAreArray(reads));
  const struct {
    uint32_t reg, value;
  } left[] = {{0x180, 2200}, {0x184, 1125}, {0x18C, 44}, {0x190, 5},    {0x194, 1920},
              {0x198, 1080}, {0x19C, 192},  {0x1A0, 41}, {0x1AC, 37125}};
  for (const auto& l : left) EXPECT_EQ(left_in(1, l.reg), l.value) << std::hex << l.reg;
}

TEST_F(DpMode, PixelClockOfThePllWord) {
  const struct {
    uint32_t word, clock;
  } cases[] = {
      {0x00000000, 54000}, {0x01FF0000, 27648000},  {0x01FF0010, 13824000},
      {0x00000700, 6750},  {0x00003F70, 6},  // 54000 / 64 = 843, / 128 = 6
      {0xF0000000, 3375},  {0x30150720, 37125 / 4}, {0x0E00C08F, 54000},  // bits outside the fields
                                                                          // do not count
  };
  for (const auto& c : cases) {
    pll(c.word);
    EXPECT_THAT(copy(), StartsWith(text("pclk=%u\n", c.clock))) << std::hex << c.word;
    EXPECT_EQ(left_in(0, 0x1AC), c.clock);
  }
}

TEST_F(DpMode, HighBitsOfTheHorizontalDistances) {
  const struct {
    uint8_t high;
    uint32_t width, start;
  } cases[] = {
      {0x00, 44, 192},
      {0x01, 44, 192 + 0x100},          // bit 0: 256 of the back distance
      {0x02, 44 + 0x200, 192 + 0x200},  // bit 1: 512 of the width
      {0xFC, 44, 192},                  // the rest does not count
  };
  for (const auto& c : cases) {
    vga_->crtc[0x78] = c.high;
    copy();
    EXPECT_EQ(left_in(0, 0x18C), c.width) << int{c.high};
    EXPECT_EQ(left_in(0, 0x19C), c.start) << int{c.high};
  }
}

TEST_F(DpMode, SyncFlagsOfTheMiscellaneousOutput) {
  // Flags 5, 6, 9 and 10, as polarity and format words.
  const struct {
    uint8_t misc;
    uint32_t polarity, format;
  } cases[] = {{0x00, 0, 15}, {0x40, 1, 14}, {0x80, 2, 13}, {0xC0, 3, 12}, {0x3F, 0, 15}};
  for (const auto& c : cases) {
    vga_->misc = c.misc;
    copy();
    EXPECT_EQ(left_in(0, 0x188), c.polarity) << int{c.misc};
    EXPECT_EQ(left_in(0, 0x1C4), c.format) << int{c.misc};
  }
}

// The serial line is given the bus base with the address, on top of the one that it adds itself.
TEST_F(DpMode, SyncFlagsOnTheSerialLine) {
  node_.open_serial();
  node_.bytes[0x10103CC] = 0x80;
  vga_->misc = 0x40;
  capture([&] { EXPECT_EQ(zvgDpCTLCfg(0), 0); });
  const Log log = node_.take();
  EXPECT_THAT(log, testing::Contains("r1 0x10103cc").Times(1));
  EXPECT_THAT(log, testing::Not(testing::Contains("r1 0x103cc")));
  EXPECT_EQ(left_in(0, 0x188), 2u);
  EXPECT_EQ(left_in(0, 0x1C4), 13u);
}

TEST_F(DpMode, CopyPortOutOfRange) {
  auto output = capture([&] { EXPECT_EQ(zvgDpCTLCfg(4), -1); });
  EXPECT_EQ(output.out, "channel 4 is out of range\n");
  output = capture([&] { EXPECT_EQ(zvgDpCTLCfg(UINT32_MAX), -1); });
  EXPECT_EQ(output.out, "channel -1 is out of range\n");
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(DpMode, ReadBackInOrder) {
  for (unsigned port = 0; port < 4; ++port) {
    const auto base = static_cast<unsigned>(zvgtest::dp_block(port)) + 0x10000;
    const struct {
      uint32_t reg, value;
    } registers[] = {{0x180, 2200}, {0x184, 1125}, {0x194, 1920}, {0x198, 1080},
                     {0x19C, 192},  {0x1A0, 41},   {0x18C, 44},   {0x190, 5}};
    Log expected;
    for (const auto& r : registers) {
      zvgRegWriteLong(base + r.reg, r.value);
      expected.push_back(text("r4 0x%x", base + r.reg));
    }
    node_.take();
    uint32_t mode[10];
    mode[9] = 0x77;
    EXPECT_EQ(zvgDpModeRead(port, mode), 1089u);
    EXPECT_THAT(mode, ElementsAre(0, 1920, 2008, 2052, 2200, 1080, 1084, 1089, 1125, 0x77));
    EXPECT_THAT(node_.take(), ElementsAreArray(expected));
  }
}

TEST_F(DpMode, ReadBackTakesAnyPort) {
  uint32_t mode[9];
  zvgDpModeRead(5, mode);
  EXPECT_EQ(node_.take().front(), "r4 0x5b0180");
}

// In a process of its own.
TEST(DpModeSetUp, CopySetsItsPortUp) {
  DpNode node;
  node.open();
  VgaRegisters vga(node);
  node.quiet = true;
  zvgDpInit(0);
  capture([&] { zvgDpCTLCfg(3); });
  EXPECT_EQ(node.bytes[0x570110], 0xB8);
}

}  // namespace
