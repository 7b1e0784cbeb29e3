// VGA gains and the panel's backlight.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display/panel/vga_node.h"
#include "support/capture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::RegisterNode;
using zvgtest::text;
using zvgtest::VgaRegisters;

class Panel : public testing::Test {
 protected:
  void SetUp() override {
    node_.open();
    vga_ = std::make_unique<VgaRegisters>(node_);
  }
  zvgtest::Log taken() { return VgaRegisters::fold(node_.take()); }
  RegisterNode node_;
  std::unique_ptr<VgaRegisters> vga_;
};

TEST_F(Panel, SingleGain) {
  const struct {
    char colour;
    uint32_t gain;
    const char* write;
  } cases[] = {{'R', 0, "crtc 0x8c=0x0"},     {'R', 63, "crtc 0x8c=0x3f"},
               {'G', 200, "crtc 0x8d=0x3f"},  {'B', 64, "crtc 0x8e=0x3f"},
               {'B', 0x101, "crtc 0x8e=0x1"}, {'G', 62, "crtc 0x8d=0x3e"}};
  for (const auto& c : cases) {
    EXPECT_EQ(zvgVgaSetSigleGain(c.colour, c.gain), 0);
    EXPECT_THAT(taken(), ElementsAre(c.write));
  }
  for (const char letter : {'g', 'r', 'b', 'X', '\0'}) {
    const auto output = capture([&] { EXPECT_EQ(zvgVgaSetSigleGain(letter, 1), -1); });
    EXPECT_EQ(output.out + output.err, "");
  }
  EXPECT_THAT(taken(), IsEmpty());
}

TEST_F(Panel, AllGains) {
  EXPECT_EQ(zvgVgaSetGain(1, 300, -1), 0);
  EXPECT_THAT(taken(), ElementsAre("crtc 0x8c=0x1", "crtc 0x8d=0x2c", "crtc 0x8e=0x3f"));
}

TEST_F(Panel, PwmRates) {
  const struct {
    int rate;
    unsigned high, middle, low;
  } cases[] = {
      {20, 0x13, 0x9A, 0x1E},    // 1350000 = 20 * 65535 + 39300
      {100, 0x03, 0x1E, 0xD2},   // 270000 = 4 * 65535 + 7860
      {200, 0x01, 0x0F, 0x69},   // 135000 = 2 * 65535 + 3930
      {205, 0x01, 0x02, 0x7F},   // 131707 = 2 * 65535 + 637
      {206, 0x01, 0x00, 0xFC},   // 131067 = 65535 + 65532: below 2 * 65535
      {10000, 0x01, 0x0A, 0x96}  // 2700
  };
  for (const auto& c : cases) {
    EXPECT_EQ(zvgEdpPwmSet(c.rate), 0);
    EXPECT_THAT(taken(),
                ElementsAre(text("crtc 0xd0=0x%x", c.high), text("crtc 0xc1=0x%x", c.middle),
                            text("crtc 0xc0=0x%x", c.low)))
        << c.rate;
  }
}

TEST_F(Panel, PwmRateOutOfRange) {
  for (const int rate : {19, 10001, 0, -20}) {
    const auto output = capture([&] { EXPECT_EQ(zvgEdpPwmSet(rate), -1); });
    EXPECT_EQ(output.out, "set pwm rate out of range  please set rate from 200 to 10000\n");
    EXPECT_EQ(output.err, "");
  }
  EXPECT_THAT(taken(), IsEmpty());
}

TEST_F(Panel, BacklightDutyOfThePeriod) {
  const struct {
    uint8_t high, middle, low;
    uint32_t percent, duty;
  } cases[] = {
      {1, 10, 0x96, 50, 1350},  // (2550 + 150) / 2: a high part of 1 does not count
      {0, 10, 0x96, 100, 2700}, {1, 10, 0x96, 0, 0},
      {1, 0, 99, 33, 32},       {2, 0, 0, 40, 52428},         // 131070 * 40 / 100
      {2, 0, 0, 50, 65535},     {255, 255, 255, 100, 65535},  // capped
      {3, 1, 1, 10, 19686},                                   // (255 + 196605 + 1) / 10
  };
  for (const auto& c : cases) {
    vga_->crtc[0xD0] = c.high;
    vga_->crtc[0xC1] = c.middle;
    vga_->crtc[0xC0] = c.low;
    EXPECT_EQ(zvgEdpLightSet(c.percent), 0);
    EXPECT_THAT(taken(), ElementsAre("crtc? 0xd0", "crtc? 0xc1", "crtc? 0xc0",
                                     text("crtc 0xc2=0x%x", c.duty & 0xFF),
                                     text("crtc 0xc3=0x%x", c.duty >> 8)));
  }
}

TEST_F(Panel, BacklightOutOfRange) {
  for (const uint32_t percent : {101u, UINT32_MAX}) {
    const auto output = capture([&] { EXPECT_EQ(zvgEdpLightSet(percent), -1); });
    EXPECT_EQ(output.out,
              "set backlight duty percent out of range  please set percent from 0 to 100\n");
    EXPECT_EQ(output.err, "");
  }
  EXPECT_THAT(taken(), IsEmpty());
}

TEST_F(Panel, PwmStart) {
  EXPECT_EQ(zvgEdpEnablePwm(), 0);
  EXPECT_THAT(taken(), ElementsAre("crtc 0xd2=0x1"));
  node_.result = [](bool write, uint64_t offset) { return write && offset == 0x103D5 ? -1 : 0; };
  EXPECT_EQ(zvgEdpEnablePwm(), -1);
}

}  // namespace
