// What firmware leaves the display controllers driving.
#include "devices/display/display_controllers.h"

#include <gtest/gtest.h>

#include "devices/display/display_settings.h"
#include "machine/machine.h"
#include "support/board_fixture.h"

namespace zvgsim {
namespace {

constexpr ModeTiming full_hd = {148500, 1920, 2008, 2052, 2200, 1080, 1084, 1089, 1125};
constexpr ModeTiming vga = {25175, 640, 656, 752, 800, 480, 490, 492, 525};

uint32_t clock_of(uint32_t word) {
  return (((word >> 16 & 0x1FF) + 1) * 54000 / ((word >> 8 & 0x3F) + 1) >> (word >> 4 & 7)) /
         ((word >> 28) + 1);
}

TEST(PllWord, ComesNearToEveryClock) {
  for (const uint32_t clock : {25175u, 65000u, 108000u, 148500u, 154000u, 241500u, 594000u}) {
    EXPECT_NEAR(clock_of(pll_word(clock)), clock, clock / 2000.0) << clock;
  }
  EXPECT_EQ(clock_of(pll_word(148500)), 148500u);
}

class DisplayControllersTest : public zvgtest::BoardFixture {
 protected:
  BoardConfig config() override {
    BoardConfig config;
    auto& display = config.of<DisplaySettings>();
    display.crtc[0] = CrtcSettings{full_hd, false, false};
    display.crtc[2] = CrtcSettings{vga, true, true};
    display.output_mux = 0x00C0;  // DP 0 shows controller 3
    return config;
  }
};

TEST_F(DisplayControllersTest, TimingsAreReadBack) {
  ASSERT_GE(zvgRwOpen(0), 0);
  uint32_t mode[10] = {};
  EXPECT_EQ(zvgCrtcModeRead(0, mode), 148500u);
  EXPECT_EQ(std::vector<uint32_t>(mode, mode + 10),
            (std::vector<uint32_t>{148500, 1920, 2008, 2052, 2200, 1080, 1084, 1089, 1125, 5}));
  mode[9] = 0;
  zvgCrtcModeRead(2, mode);
  EXPECT_NEAR(mode[0], 25175, 13);
  EXPECT_EQ(std::vector<uint32_t>(mode + 1, mode + 10),
            (std::vector<uint32_t>{640, 656, 752, 800, 480, 490, 492, 525, 10}));
  uint32_t mux = 0;
  zvgRegReadLong(0x10024, &mux);
  EXPECT_EQ(mux, 0xC0u);
}

}  // namespace
}  // namespace zvgsim
