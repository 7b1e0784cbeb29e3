// The timing of the display controllers, read back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display/panel/vga_node.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using zvgtest::Log;
using zvgtest::RegisterNode;
using zvgtest::text;
using zvgtest::VgaRegisters;

class CrtcTiming : public testing::Test {
 protected:
  void SetUp() override {
    node_.open();
    vga_ = std::make_unique<VgaRegisters>(node_);
  }
  RegisterNode node_;
  std::unique_ptr<VgaRegisters> vga_;
};

TEST_F(CrtcTiming, BlocksOfControllersOneToThree) {
  for (unsigned crtc = 1; crtc < 4; ++crtc) {
    const unsigned base = 0x10000 + crtc * 0x40;
    zvgRegWriteWord(base + 0, 2200);
    zvgRegWriteWord(base + 2, 1920);
    zvgRegWriteWord(base + 8, 44);
    zvgRegWriteWord(base + 10, 148);
    zvgRegWriteWord(base + 12, 1125);
    zvgRegWriteWord(base + 14, 1080);
    zvgRegWriteByte(base + 18, 5);
    zvgRegWriteByte(base + 19, 36);
    zvgRegWriteLong(0x308018 + crtc * 4, 0x00150720);
    node_.take();
    uint32_t mode[11] = {};
    mode[10] = 0x77;
    EXPECT_EQ(zvgCrtcModeRead(crtc, mode), 37125u);
    EXPECT_THAT(mode, ElementsAre(37125, 1920, 2008, 2052, 2200, 1080, 1084, 1089, 1125, 5, 0x77));
    EXPECT_THAT(node_.take(),
                ElementsAre(text("r2 0x%x", base), text("r2 0x%x", base + 2),
                            text("r2 0x%x", base + 10), text("r2 0x%x", base + 8),
                            text("r2 0x%x", base + 12), text("r2 0x%x", base + 14),
                            text("r1 0x%x", base + 19), text("r1 0x%x", base + 18),
                            text("r1 0x%x", base + 36), text("r4 0x%x", 0x308018 + crtc * 4)));
  }
}

TEST_F(CrtcTiming, BlockPolarityIsOredIn) {
  const struct {
    uint8_t polarity;
    uint32_t flags;
  } cases[] = {{0x00, 5}, {0x08, 6}, {0x10, 9}, {0x18, 10}, {0xE7, 5}};
  for (const auto& c : cases) {
    zvgRegWriteByte(0x10040 + 36, c.polarity);
    uint32_t mode[10] = {};
    mode[9] = 0x100 | 1;
    zvgCrtcModeRead(1, mode);
    EXPECT_EQ(mode[9], 0x100 | 1 | c.flags);
  }
}

TEST_F(CrtcTiming, FirstControllerIsIndexed) {
  vga_->pair(0x60, 0x1234);
  vga_->pair(0x62, 0x0780);
  vga_->pair(0x68, 0x0465);
  vga_->pair(0x6A, 0x0438);
  vga_->crtc[0x66] = 0x2C;
  vga_->crtc[0x67] = 0x94;
  vga_->crtc[0x78] = 0xA5;  // width 0xA2C, back distance 0x594
  vga_->crtc[0x6E] = 5;
  vga_->crtc[0x6F] = 36;
  zvgRegWriteLong(0x308018, 0);
  node_.take();
  uint32_t mode[10] = {};
  EXPECT_EQ(zvgCrtcModeRead(0, mode), 54000u);
  const uint32_t sync_end = 0x1234 - 0x594;
  EXPECT_THAT(mode, ElementsAre(54000, 0x780, sync_end - 0xA2C, sync_end, 0x1234, 1080, 1084, 1089,
                                1125, 5));
  EXPECT_THAT(VgaRegisters::fold(node_.take()),
              ElementsAre("crtc? 0x60", "crtc? 0x61", "crtc? 0x62", "crtc? 0x63", "crtc? 0x68",
                          "crtc? 0x69", "crtc? 0x6a", "crtc? 0x6b", "crtc? 0x78", "crtc? 0x67",
                          "crtc? 0x66", "crtc? 0x6f", "crtc? 0x6e", "r1 0x103cc", "r4 0x308018"));
}

TEST_F(CrtcTiming, FirstControllersPolarity) {
  const struct {
    uint8_t misc;
    uint32_t flags;
  } cases[] = {{0x00, 5}, {0x40, 6}, {0x80, 9}, {0xC0, 10}, {0x3F, 5}};
  for (const auto& c : cases) {
    vga_->misc = c.misc;
    uint32_t mode[10] = {};
    mode[9] = 0x200;
    zvgCrtcModeRead(0, mode);
    EXPECT_EQ(mode[9], 0x200 | c.flags);
  }
}

TEST_F(CrtcTiming, PixelClockOfThePllWord) {
  const struct {
    uint32_t word, clock;
  } cases[] = {
      {0x00000000, 54000}, {0x01FF0000, 27648000}, {0x00150720, 37125}, {0x00003F70, 6},
      {0xF0000000, 3375},  {0x0E00C08F, 54000},    {0xF1FF3F70, 210},
  };
  for (const auto& c : cases) {
    zvgRegWriteLong(0x308020, c.word);
    uint32_t mode[10] = {};
    EXPECT_EQ(zvgCrtcModeRead(2, mode), c.clock) << std::hex << c.word;
    EXPECT_EQ(mode[0], c.clock);
  }
}

// In a process of its own: there is no way back.
TEST_F(CrtcTiming, PllWordsAreInTheGenerationsClockBlock) {
  set_rq302_reg_base();
  uint32_t mode[10] = {};
  zvgCrtcModeRead(3, mode);
  EXPECT_EQ(node_.take().back(), "r4 0x288024");
}

TEST_F(CrtcTiming, AnyControllerIsTaken) {
  uint32_t mode[10] = {};
  zvgCrtcModeRead(5, mode);
  const Log log = node_.take();
  EXPECT_EQ(log.front(), "r2 0x10140");
}

}  // namespace
