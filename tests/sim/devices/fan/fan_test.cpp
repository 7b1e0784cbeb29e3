// The fan: its controller's registers, the driver's control, and the board's own.
#include "devices/fan/fan.h"

#include <gtest/gtest.h>

#include "support/board_fixture.h"

namespace zvgsim {
namespace {

class FanTest : public zvgtest::BoardFixture {
 protected:
  void out(uint8_t index, uint8_t value) {
    poke(0x103C2, 3, 1);
    poke(0x103D4, index, 1);
    poke(0x103D5, value, 1);
  }
  uint8_t in(uint8_t index) {
    poke(0x103C2, 3, 1);
    poke(0x103D4, index, 1);
    return static_cast<uint8_t>(peek(0x103D5, 1));
  }
  Fan& fan() { return board().part<Fan>(); }
};

TEST_F(FanTest, PairsCountFromTheirLatchOn) {
  out(0xD4, 0xE8);
  out(0xD5, 0x03);
  out(0xD8, 1);
  EXPECT_FALSE(fan().manual());
  out(0xD6, 0x2C);
  out(0xD7, 0x01);
  EXPECT_FALSE(fan().manual());
  out(0xD9, 2);  // no latch
  EXPECT_FALSE(fan().manual());
  out(0xD9, 1);
  EXPECT_TRUE(fan().manual());
  EXPECT_EQ(fan().percent(), 30);
  out(0xD6, 0xFF);
  EXPECT_EQ(fan().percent(), 30) << "not latched";
  EXPECT_EQ(in(0xD6), 0xFF);
  EXPECT_EQ(in(0xD7), 0x01);
  EXPECT_EQ(in(0xD4), 0xE8);
  out(0xD7, 0xFF);
  out(0xD9, 1);
  EXPECT_EQ(fan().percent(), 100) << "never more than everything";
}

TEST_F(FanTest, NoPeriodIsNoPower) {
  out(0xD4, 0);
  out(0xD5, 0);
  out(0xD8, 1);
  out(0xD9, 1);
  EXPECT_TRUE(fan().manual());
  EXPECT_EQ(fan().percent(), 0);
}

TEST_F(FanTest, BoardFollowsTheTemperatureByItself) {
  EXPECT_EQ(fan().percent(), 30);  // 45 degrees
  EXPECT_EQ(in(0xD4) | in(0xD5) << 8, 1000);
  EXPECT_EQ(in(0xD6) | in(0xD7) << 8, 300);
  fan().set_temperature(70);
  EXPECT_EQ(fan().percent(), 65);
  EXPECT_EQ(in(0xD6) | in(0xD7) << 8, 650);
  fan().set_temperature(120);
  EXPECT_EQ(fan().percent(), 100);
  fan().set_manual(20);
  EXPECT_EQ(fan().percent(), 20);
  EXPECT_EQ(in(0xD6) | in(0xD7) << 8, 200);
  fan().set_automatic();
  EXPECT_EQ(fan().percent(), 100);
}

TEST_F(FanTest, LibraryDrivesItByBothDoors) {
  ASSERT_GE(zvgSerialOpen("/dev/ttyZVG0", 9600), 0);
  EXPECT_EQ(zvgFanSetRate(0), 0);
  EXPECT_EQ(fan().percent(), 1);
  EXPECT_EQ(zvgFanSetRate(85), 0);
  EXPECT_EQ(fan().percent(), 85);
  ASSERT_GE(zvgRwOpen(0), 0);
  EXPECT_EQ(zvgFanSetRate(42), 0);
  EXPECT_EQ(fan().percent(), 42);
  EXPECT_EQ(zvgThermalDebug(90), 0);
  EXPECT_EQ(fan().percent(), 42);
  EXPECT_EQ(zvgFanSetRate(-1), 0);
  EXPECT_EQ(fan().percent(), 100);
}

}  // namespace
}  // namespace zvgsim
