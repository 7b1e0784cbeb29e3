// The power monitors: each from its data sheet's point of view, and as the library sees it through
// the driver and through the I2C masters' registers.
#include <gtest/gtest.h>

#include <cmath>

#include "board/i2c_bus.h"
#include "devices/i2c/i2c_settings.h"
#include "devices/power_monitors/power_monitor_settings.h"
#include "support/board_fixture.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace zvgsim {
namespace {

using zvgtest::BoardFixture;
using zvgtest::capture;
using zvgtest::Door;

PowerMonitorSettings monitor(PowerChip chip, unsigned bus, uint8_t address) {
  PowerMonitorSettings config;
  config.chip = chip;
  config.bus = bus;
  config.address = address;
  return config;
}

class PowerMonitorChips : public BoardFixture {
 protected:
  BoardConfig config() override {
    BoardConfig config;
    PowerMonitorSettings ltc2990 = monitor(PowerChip::ltc2990, 0, 0x4C);
    ltc2990.volts = {{1.8}, {1.2}, {0.85}, {-0.1}};
    ltc2990.shunts = {{"", 5, {6.5}}, {"", 10, {-2.25}}};
    PowerMonitorSettings ltc2991 = monitor(PowerChip::ltc2991, 0, 0x48);
    ltc2991.volts = {{3.3}, {2.5}, {1.8}, {1.35}, {1.2}, {1.1}, {0.95}, {0.85}};
    ltc2991.shunts = {{"", 10, {4}}, {"", 10, {1.75}}, {"", 2, {15.5}}, {"", 1, {28}}};
    PowerMonitorSettings ina3221 = monitor(PowerChip::ina3221, 3, 0x40);
    ina3221.volts = {{12}, {3.3}, {5}};
    ina3221.shunts = {{"", 5, {5.5}}, {"", 10, {-1.2}}};
    config.of<PowerMonitors>().list = {ltc2990, ltc2991, ina3221};
    return config;
  }

  // On the wires.
  std::vector<uint8_t> read(unsigned bus, uint8_t address, uint8_t reg, unsigned count) {
    I2cBus& wires = board().i2c(bus);
    EXPECT_TRUE(wires.start(address, false));
    EXPECT_TRUE(wires.write(reg));
    EXPECT_TRUE(wires.start(address, true));
    std::vector<uint8_t> bytes(count);
    for (uint8_t& byte : bytes) byte = wires.read();
    wires.stop();
    return bytes;
  }
  void write(unsigned bus, uint8_t address, std::initializer_list<uint8_t> bytes) {
    I2cBus& wires = board().i2c(bus);
    EXPECT_TRUE(wires.start(address, false));
    for (const uint8_t byte : bytes) EXPECT_TRUE(wires.write(byte));
    wires.stop();
  }
  void pass(uint64_t time) { clock().sleep(time); }
};

// LTC2990 -----------------------------------------------------------------------------------

TEST_F(PowerMonitorChips, Ltc2990ConvertsOnceAndForgetsWhatWasRead) {
  EXPECT_EQ(read(0, 0x4C, 0, 1)[0], 0);
  write(0, 0x4C, {0x01, 0x5F, 0x00});
  EXPECT_EQ(read(0, 0x4C, 0, 1)[0], 0x01);
  pass(milliseconds(46) + microseconds(1500));
  EXPECT_EQ(read(0, 0x4C, 0, 1)[0], 0x07) << "the thermometer and V1";
  pass(milliseconds(6));
  EXPECT_EQ(read(0, 0x4C, 0, 1)[0], 0x7E);
  const auto bytes = read(0, 0x4C, 4, 12);
  for (unsigned i = 0; i < 12; i += 2) EXPECT_EQ(bytes[i] & 0x80, 0x80) << i;
  EXPECT_EQ((bytes[2] & 0x7F) << 8 | bytes[3], std::lround(1.8 / 305.18e-6));
  EXPECT_EQ((bytes[8] & 0x7F) << 8 | bytes[9], 0x8000 - std::lround(0.1 / 305.18e-6));
  EXPECT_EQ(read(0, 0x4C, 0, 1)[0], 0x00);
  EXPECT_EQ(read(0, 0x4C, 4, 1)[0] & 0x80, 0x00);
}

TEST_F(PowerMonitorChips, Ltc2990ConvertsAgainAndAgain) {
  write(0, 0x4C, {0x01, 0x1E, 0x00});
  pass(seconds(3600));
  EXPECT_EQ(read(0, 0x4C, 0, 1)[0] & 0x55, 0x55) << "always busy; supply and both pairs";
  read(0, 0x4C, 4, 12);
  pass(milliseconds(60));
  EXPECT_EQ(read(0, 0x4C, 0, 1)[0] & 0x55, 0x55);
}

TEST_F(PowerMonitorChips, Ltc2990PointerWrapsAfterItsLastRegister) {
  write(0, 0x4C, {0x01, 0x5F});
  EXPECT_EQ(read(0, 0x4C, 0x0F, 3)[2], 0x5F);
}

// Both ways of measuring, in both modes of access.
TEST_F(PowerMonitorChips, Ltc2990AsTheLibrarySeesIt) {
  for (const Door door : {Door::driver, Door::aperture, Door::uart}) {
    SCOPED_TRACE(name(door));
    open_through(door, 9600);
    for (const uint32_t wait : {0u, 1u}) {
      float v[5] = {}, i[3] = {};
      const auto output = capture([&] {
        EXPECT_EQ(zvgLTC2990GetVolt4(0, 0, &v[0], &v[1], &v[2], &v[3], &v[4], wait), 0);
        EXPECT_EQ(zvgLTC2990GetCurrent2(0, 0, 5, 10, &i[0], &i[1], &i[2], wait), 0);
      });
      EXPECT_EQ(output.err, "");
      // Without waiting, the supply is looked at before it was converted again.
      EXPECT_EQ(output.out.find("V1"), std::string::npos) << output.out;
      const double step = 305.18e-6;
      EXPECT_NEAR(v[0], 1.8, step);
      EXPECT_NEAR(v[1], 1.2, step);
      EXPECT_NEAR(v[2], 0.85, step);
      EXPECT_NEAR(v[3], -0.1, step);
      if (wait != 0) {
        EXPECT_NEAR(v[4], 3.3, step);
      }
      EXPECT_NEAR(i[0], 6.5, 19.42e-3 / 5);
      EXPECT_NEAR(i[1], -2.25, 19.42e-3 / 10);
    }
  }
}

TEST_F(PowerMonitorChips, Ltc2990OverItsWholeRange) {
  for (int step = 0; step <= 40; ++step) {
    BoardConfig config;
    PowerMonitorSettings chip = monitor(PowerChip::ltc2990, 0, 0x4C);
    const double volts = -0.3 + (4.99 + 0.3) * step / 40;
    const double amperes = (-0.3 + 0.6 * step / 40) / 0.005;  // +-300 mV across 5 milliohms
    chip.volts = {{volts}, {4.6 - volts}, {volts}, {4.6 - volts}};
    chip.shunts = {{"", 5, {amperes}}, {"", 5, {-amperes}}};
    chip.supply = {2.9 + 2.6 * step / 40};
    config.of<PowerMonitors>().list = {chip};
    power_up(config);
    ASSERT_GE(zvgRwOpen(0), 0);
    float v[5] = {}, i[3] = {};
    EXPECT_EQ(zvgLTC2990GetVolt4(0, 0, &v[0], &v[1], &v[2], &v[3], &v[4], 1), 0);
    EXPECT_EQ(zvgLTC2990GetCurrent2(0, 0, 5, 5, &i[0], &i[1], &i[2], 1), 0);
    EXPECT_NEAR(v[0], volts, 305.18e-6);
    EXPECT_NEAR(v[1], 4.6 - volts, 305.18e-6);
    EXPECT_NEAR(v[4], chip.supply.value, 305.18e-6);
    EXPECT_NEAR(i[0], amperes, 19.42e-3 / 5);
    EXPECT_NEAR(i[1], -amperes, 19.42e-3 / 5);
    EXPECT_NEAR(i[2], chip.supply.value, 305.18e-6);
  }
}

TEST_F(PowerMonitorChips, Faults) {
  open_through(Door::driver);
  const auto volts = [](uint32_t wait) {
    return zvgLTC2990GetVolt4(0, 0, nullptr, nullptr, nullptr, nullptr, nullptr, wait);
  };
  faults().of<I2cFaults>().list = {{.bus = 0, .address = 0x4C, .stays_busy = true}};
  auto output = capture([&] { EXPECT_EQ(volts(1), -1); });
  EXPECT_EQ(output.err, "error: wait LTC2990 timeout (-1)\n");
  faults().of<I2cFaults>().list = {{.bus = 0, .address = 0x4C, .never_ready = true}};
  output = capture([&] { EXPECT_EQ(volts(1), -2); });
  EXPECT_EQ(output.err, "error: wait LTC2990 timeout (-2)\n");
  faults().of<I2cFaults>().list = {{.bus = 0, .address = 0x4C, .drops_valid = true}};
  output = capture([&] { EXPECT_EQ(volts(1), 0); });
  EXPECT_NE(output.out.find("LTC2990 V4=7eb8 is not valid\n"), std::string::npos) << output.out;
  EXPECT_TRUE(output.out.ends_with("invalid raw voltage is exist\n"));
}

// LTC2991 -----------------------------------------------------------------------------------

TEST_F(PowerMonitorChips, Ltc2991ConvertsWhatIsEnabled) {
  write(0, 0x48, {0x08, 0x00});
  write(0, 0x48, {0x01, 0x50});  // V1 and V2, V5 and V6
  EXPECT_EQ(read(0, 0x48, 1, 1)[0], 0x54);
  pass(milliseconds(6));
  EXPECT_EQ(read(0, 0x48, 1, 1)[0], 0x50);
  EXPECT_EQ(read(0, 0x48, 0, 1)[0], 0x33);
  const auto bytes = read(0, 0x48, 0x0A, 4);
  EXPECT_EQ(bytes[0] << 8 | bytes[1], 0x8000 + std::lround(3.3 / 305.18e-6));
  EXPECT_EQ(bytes[2] << 8 | bytes[3], 0x8000 + std::lround(2.5 / 305.18e-6));
  EXPECT_EQ(read(0, 0x48, 0, 1)[0], 0x30);
}

TEST_F(PowerMonitorChips, Ltc2991PutsADifferenceIntoTheSecondRegister) {
  write(0, 0x48, {0x06, 0x10, 0x01, 0x00, 0x10});  // V3-V4, V5-V6; PWM threshold
  write(0, 0x48, {0x01, 0xF0});
  pass(milliseconds(13));
  const auto bytes = read(0, 0x48, 0x0A, 16);
  const auto code = [&](unsigned input) {
    return (bytes[2 * input] & 0x7F) << 8 | bytes[2 * input + 1];
  };
  EXPECT_EQ(code(0), std::lround(3.3 / 305.18e-6));
  EXPECT_EQ(code(2), std::lround(1.8 / 305.18e-6));
  EXPECT_EQ(code(3), std::lround(1.75 * 0.010 / 19.075e-6));
  EXPECT_EQ(code(5), std::lround(15.5 * 0.002 / 19.075e-6));
  EXPECT_EQ(code(7), std::lround(0.85 / 305.18e-6));
}

TEST_F(PowerMonitorChips, Ltc2991AsTheLibrarySeesIt) {
  for (const Door door : {Door::driver, Door::aperture, Door::uart}) {
    SCOPED_TRACE(name(door));
    open_through(door, 9600);
    float v[9] = {}, i[5] = {};
    const auto output = capture([&] {
      EXPECT_EQ(zvgLTC2991GetVolt8(0, 0, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5], &v[6], &v[7],
                                   &v[8], 1),
                0);
      EXPECT_EQ(zvgLTC2991GetCurrent4(0, 0, 10, 10, 2, 1, &i[0], &i[1], &i[2], &i[3], &i[4], 1), 0);
    });
    EXPECT_EQ(output.out + output.err, "");
    const double volts[] = {3.3, 2.5, 1.8, 1.35, 1.2, 1.1, 0.95, 0.85, 3.3};
    for (unsigned k = 0; k < 9; ++k) EXPECT_NEAR(v[k], volts[k], 305.18e-6) << k;
    const double amperes[] = {4, 1.75, 15.5, 28}, milliohms[] = {10, 10, 2, 1};
    for (unsigned k = 0; k < 4; ++k) {
      EXPECT_NEAR(i[k], amperes[k], 19.075e-3 / milliohms[k]) << k;
    }
    EXPECT_NEAR(i[4], 3.3, 305.18e-6);
  }
}

TEST_F(PowerMonitorChips, Ltc2991OverItsWholeRange) {
  for (int step = 0; step <= 40; ++step) {
    BoardConfig config;
    PowerMonitorSettings chip = monitor(PowerChip::ltc2991, 2, 0x4F);
    const double volts = 4.99 * step / 40, amperes = 0.3 * step / 40 / 0.002;
    chip.volts.assign(8, {volts});
    chip.shunts.assign(4, {"", 2, {amperes}});
    chip.supply = {2.9 + 2.6 * step / 40};
    config.of<PowerMonitors>().list = {chip};
    power_up(config);
    ASSERT_GE(zvgRwOpen(0), 0);
    float v[9] = {}, i[5] = {};
    EXPECT_EQ(
        zvgLTC2991GetVolt8(2, 7, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5], &v[6], &v[7], &v[8], 1),
        0);
    EXPECT_EQ(zvgLTC2991GetCurrent4(2, 7, 2, 2, 2, 2, &i[0], &i[1], &i[2], &i[3], &i[4], 1), 0);
    for (unsigned k = 0; k < 8; ++k) EXPECT_NEAR(v[k], volts, 305.18e-6) << k;
    EXPECT_NEAR(v[8], chip.supply.value, 305.18e-6);
    for (unsigned k = 0; k < 4; ++k) EXPECT_NEAR(i[k], amperes, 19.075e-3 / 2) << k;
  }
}

// INA3221 -----------------------------------------------------------------------------------

TEST_F(PowerMonitorChips, Ina3221ConvertsFromPowerUpOn) {
  pass(milliseconds(10));
  const auto word = [&](uint8_t reg) {
    const auto bytes = read(3, 0x40, reg, 2);
    return bytes[0] << 8 | bytes[1];
  };
  EXPECT_EQ(word(0x00), 0x7127);
  EXPECT_NEAR(word(0x01) >> 3, 27.5e-3 / 40e-6, 1);
  EXPECT_EQ(word(0x02), 1500 << 3);
  EXPECT_EQ(word(0x03), 0x10000 - (300 << 3));
  EXPECT_EQ(word(0xFE), 0x5449);
  EXPECT_EQ(word(0xFF), 0x3220);
  EXPECT_EQ(word(0x40), 0);
}

TEST_F(PowerMonitorChips, Ina3221ConvertsTheShuntsOnce) {
  write(3, 0x40, {0x00, 0x71, 0x21});
  EXPECT_EQ(read(3, 0x40, 0x0F, 2)[1] & 1, 0);
  pass(microseconds(3 * 1100 - 100));
  EXPECT_EQ(read(3, 0x40, 0x0F, 2)[1] & 1, 0);
  pass(microseconds(200));
  EXPECT_EQ(read(3, 0x40, 0x0F, 2)[1] & 1, 1);
  EXPECT_EQ(read(3, 0x40, 0x0F, 2)[1] & 1, 0) << "once";
  pass(seconds(1));
  EXPECT_EQ(read(3, 0x40, 0x0F, 2)[1] & 1, 0) << "no second round";
}

TEST_F(PowerMonitorChips, Ina3221KeepsLimitsAndResets) {
  write(3, 0x40, {0x07, 0x12, 0x38});
  EXPECT_EQ(read(3, 0x40, 0x07, 2)[1], 0x38);
  write(3, 0x40, {0x01, 0x12, 0x38});
  EXPECT_EQ(read(3, 0x40, 0x01, 2)[1], 0x00) << "a result is not writable";
  write(3, 0x40, {0x00, 0xF1, 0x21});
  EXPECT_EQ(read(3, 0x40, 0x07, 2)[1], 0x00);
  EXPECT_EQ(read(3, 0x40, 0x00, 2)[1], 0x27);
}

TEST_F(PowerMonitorChips, Ina3221AsTheLibrarySeesIt) {
  pass(milliseconds(10));
  for (const Door door : {Door::driver, Door::aperture, Door::uart}) {
    SCOPED_TRACE(name(door));
    open_through(door, 9600);
    float v[2] = {}, i[2] = {};
    EXPECT_EQ(zvgINA3221GetVolt2(3, &v[0], &v[1]), 0);
    pass(milliseconds(10));
    EXPECT_EQ(zvgINA3221GetCurrent2(3, 5, 10, &i[0], &i[1]), 0);
    EXPECT_NEAR(v[0], 27.5, 0.04);
    EXPECT_NEAR(i[0], 5.5, 0.04 / 5);
    EXPECT_NEAR(v[1], -12.0, 0.04);
    EXPECT_NEAR(i[1], -1.2, 0.04 / 10);
  }
}

TEST_F(PowerMonitorChips, Ina3221OverItsWholeRange) {
  for (int step = 0; step <= 40; ++step) {
    BoardConfig config;
    PowerMonitorSettings chip = monitor(PowerChip::ina3221, 1, 0x40);
    const double amperes = (-0.1636 + 0.3272 * step / 40) / 0.002;
    chip.shunts = {{"", 2, {amperes}}, {"", 2, {-amperes}}};
    config.of<PowerMonitors>().list = {chip};
    power_up(config);
    pass(milliseconds(10));
    ASSERT_GE(zvgRwOpen(0), 0);
    float v[2] = {}, i[2] = {};
    EXPECT_EQ(zvgINA3221GetVolt2(1, &v[0], &v[1]), 0);
    EXPECT_EQ(zvgINA3221GetCurrent2(1, 2, 2, &i[0], &i[1]), 0);
    EXPECT_NEAR(v[0], amperes * 2, 0.04) << amperes;
    EXPECT_NEAR(i[1], -amperes, 0.04 / 2) << amperes;
  }
}

}  // namespace
}  // namespace zvgsim
