// The on-die sensors: conversions in time, and what the library makes of their codes.
#include "devices/sensors/pvt_sensors.h"

#include <gmock/gmock.h>

#include <set>

#include "devices/block_bases.h"
#include "support/board_fixture.h"

namespace zvgsim {
namespace {

constexpr uint32_t selector = 0x170;
constexpr uint32_t data = 0x174;

class PvtSensorsTest : public zvgtest::BoardFixture {
 protected:
  void power_up_generation(Generation generation, SensorSettings sensors = {}) {
    BoardConfig config;
    config.generation = generation;
    config.of<SensorSettings>() = sensors;
    power_up(config);
    base_ = block_bases(generation).system_control;
  }
  uint32_t read(uint32_t reg) { return static_cast<uint32_t>(peek(base_ + reg)); }
  void select(uint32_t value) { poke(base_ + selector, value); }
  void pass(uint64_t ms) { clock().sleep(milliseconds(ms)); }

  uint32_t base_ = 0;
};

TEST_F(PvtSensorsTest, Rq301ConvertsWhatIsSelected) {
  SensorSettings sensors;
  sensors.process = {1, 2, 3};
  power_up_generation(Generation::rq301, sensors);
  const auto code = [&](unsigned type, unsigned index) {
    return pvt_code(machine().config().of<SensorSettings>(), type, index, 0);
  };
  EXPECT_EQ(read(data), code(0, 0)) << "the firmware's last look";
  const uint32_t types[] = {0xF0000, 0xF0100, 0xF0600, 0xF0200, 0xF0400};
  uint32_t old = read(data);
  for (unsigned type = 0; type < 5; ++type) {
    for (unsigned index = 0; index < 2; ++index) {
      select(types[type] + index);
      pass(999);
      EXPECT_EQ(read(data), old) << "not finished yet";
      pass(1);
      EXPECT_EQ(read(data), code(type, index)) << type << " " << index;
      old = read(data);
    }
  }
  EXPECT_EQ(old, 3u);
}

TEST_F(PvtSensorsTest, Rq302ConvertsBothSensors) {
  power_up_generation(Generation::rq302);
  const SensorSettings& sensors = machine().config().of<SensorSettings>();
  const uint32_t types[] = {0x01E201E2, 0x01E601E6, 0x01FA01FA, 0x01EA01EA, 0x01F201F2};
  for (unsigned type = 0; type < 5; ++type) {
    select(types[type]);
    pass(1000);
    EXPECT_EQ(read(data), pvt_code(sensors, type, 0, 0) | pvt_code(sensors, type, 1, 0) << 16);
  }
}

TEST_F(PvtSensorsTest, UnknownSelectorsConvertNothing) {
  for (const Generation generation : {Generation::rq301, Generation::rq302}) {
    power_up_generation(generation);
    const uint32_t old = read(data);
    for (const uint32_t value : {0u, 0xF0002u, 0xF0300u, 0x01E201E6u, 0xFFFFFFFFu}) {
      select(value);
      pass(5000);
      EXPECT_EQ(read(data), old) << value;
      EXPECT_EQ(read(selector), value);
    }
  }
}

TEST_F(PvtSensorsTest, DataIsReadOnlyAndTheOtherRegistersAreStorage) {
  power_up_generation(Generation::rq301);
  const uint32_t old = read(data);
  poke(base_ + data, 0x155);
  EXPECT_EQ(read(data), old);
  for (const uint32_t reg : {0u, 0x110u, 0x16Cu, 0x178u, 0x3FCu}) {
    poke(base_ + reg, 0xABC00000 | reg);
    EXPECT_EQ(read(reg), 0xABC00000 | reg);
  }
}

TEST_F(PvtSensorsTest, CodesAreTheNearestToTheValue) {
  SensorSettings sensors;
  for (double celsius = -62; celsius <= 155; celsius += 0.37) {
    sensors.temperature[0].value = celsius;
    EXPECT_NEAR(code_to_temp(static_cast<int>(pvt_code(sensors, 0, 0, 0))), celsius, 0.2);
  }
  for (double volts = 0.512; volts <= 1.12; volts += 0.0013) {
    sensors.voltage[1].value = volts;
    EXPECT_NEAR(pvt_code(sensors, 1, 1, 0) * 0.00059677 + 0.51106, volts, 0.0003);
  }
}

TEST_F(PvtSensorsTest, ReadingsFollowTheirSignals) {
  SensorSettings sensors;
  std::set<uint32_t> still, moving;
  for (unsigned second = 0; second < 20; ++second) {
    still.insert(pvt_code(sensors, 0, 0, seconds(second)));
  }
  sensors.temperature[0] = {45, 6, 17};
  sensors.voltage[0] = {0.85, 0.01, 5};
  for (unsigned second = 0; second < 20; ++second) {
    const uint32_t code = pvt_code(sensors, 0, 0, seconds(second));
    moving.insert(code);
    EXPECT_NEAR(code_to_temp(static_cast<int>(code)), 45, 6.2);
    EXPECT_NEAR(pvt_code(sensors, 1, 0, seconds(second)) * 0.00059677 + 0.51106, 0.85, 0.0104);
    EXPECT_EQ(pvt_code(sensors, 3, 0, seconds(second)), sensors.process[1]);
  }
  EXPECT_EQ(still.size(), 1u);
  EXPECT_GT(moving.size(), 10u);
}

TEST_F(PvtSensorsTest, SelectedSensorIsConvertedAgainAndAgain) {
  SensorSettings sensors;
  sensors.temperature[1] = {47, 6, 17};
  sensors.conversion_ms = 100;
  power_up_generation(Generation::rq301, sensors);
  select(0xF0001);
  const uint64_t start = clock().now();
  for (unsigned conversion = 1; conversion < 20; conversion += 2) {
    pass(100);
    EXPECT_EQ(read(data), pvt_code(sensors, 0, 1, start + milliseconds(100 * conversion)));
    pass(99);
    EXPECT_EQ(read(data), pvt_code(sensors, 0, 1, start + milliseconds(100 * conversion)));
    clock().sleep(milliseconds(1));
  }
}

TEST_F(PvtSensorsTest, LibraryReadsTheSameByEveryDoor) {
  for (const auto& [generation, name] :
       {std::pair{Generation::rq301, "rq301"}, {Generation::rq302, "rq302"}}) {
    power_up_generation(generation);
    for (const bool serial : {false, true}) {
      if (serial) {
        doGetDeviceId("test", name);
        ASSERT_GE(zvgSerialOpen("/dev/ttyZVG0", 9600), 0);
      } else {
        ASSERT_GE(zvgRwOpen(0), 0);
      }
      double celsius[2] = {}, volts[2] = {};
      for (uint32_t index = 0; index < 2; ++index) {
        EXPECT_EQ(zvgSensorTemp(index, &celsius[index]), 0);
        EXPECT_EQ(zvgSensorVolt(index, &volts[index]), 0);
      }
      EXPECT_NEAR(celsius[0], 45, 0.2);
      EXPECT_NEAR(celsius[1], 47.5, 0.2);
      EXPECT_NEAR(volts[0], 0.85, 0.0003);
      EXPECT_NEAR(volts[1], 0.8, 0.0003);
      uint32_t code = 0;
      EXPECT_EQ(zvgSensorProcess(4, 0, &code), 0);
      EXPECT_EQ(code, 505u);
    }
  }
}

}  // namespace
}  // namespace zvgsim
