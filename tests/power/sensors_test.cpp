// Sensor codes by both ways, their conversions and what is refused.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "support/board_fixture.h"
#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using namespace zvgtest;
using Log = std::vector<std::string>;

constexpr uint32_t untouched = 0xABABABAB;

std::string word_hex(uint32_t value) {
  return hex(&value, sizeof value);
}

// Driver mode ---------------------------------------------------------------------------------

class SensorsByDriver : public testing::Test {
 protected:
  void open(uint32_t device_id, unsigned card = 0) {
    platform_.on_ioctl = [device_id](unsigned long, void* record) {
      memcpy(static_cast<uint8_t*>(record) + 8, &device_id, 4);
      return 0;
    };
    ASSERT_GE(zvgRwOpen(0), 0);
    zvgSetCard(card);
    platform_.on_ioctl = [this](unsigned long, void* record) {
      memcpy(static_cast<uint8_t*>(record) + 16, &code_, 4);
      return result_;
    };
    platform_.take();
  }

  static std::string request(uint32_t card, uint32_t type, uint32_t index) {
    return "ioctl 0xc0506411 " + word_hex(card) + word_hex(type) + word_hex(index) + word_hex(4) +
           std::string(128, '0');
  }

  RecordedPlatform platform_;
  uint32_t code_ = 0;
  int result_ = 0;
};

TEST_F(SensorsByDriver, CodeIsOneRequest) {
  open(0x201, 3);
  code_ = 0x12345678;  // not masked
  uint32_t code = untouched;
  // No type and no index is checked.
  for (const auto& [type, index] : {std::pair{0u, 0u}, {4u, 1u}, {5u, 2u}, {0xFFFFFFFFu, 99u}}) {
    const auto output =
        capture([&, t = type, i = index] { EXPECT_EQ(zvgPvtGetCode(t, i, &code), 0); });
    EXPECT_EQ(code, 0x12345678u);
    EXPECT_EQ(platform_.take(), Log{request(3, type, index)});
    EXPECT_EQ(output.out + output.err, "");
  }
  EXPECT_EQ(zvgPvtGetCode(0, 0, nullptr), 0);
}

TEST_F(SensorsByDriver, FailedRequestIsReportedAndPassedOn) {
  open(0x202, 2);
  for (const int failure : {-1, 5}) {
    result_ = failure;
    uint32_t code = untouched;
    const auto output = capture([&] { EXPECT_EQ(zvgPvtGetCode(7, 9, &code), failure); });
    EXPECT_EQ(output.out, "card 2: Geting Pvt code failed with type 7 and index 9\n");
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(code, untouched);
    double value = 1.5;
    capture([&] {
      EXPECT_EQ(zvgSensorTemp(1, &value), failure);
      EXPECT_EQ(zvgSensorVolt(1, &value), failure);
      EXPECT_EQ(zvgSensorProcess(2, 0, &code), failure);
    });
    EXPECT_EQ(value, 1.5);
    EXPECT_EQ(code, untouched);
  }
}

TEST_F(SensorsByDriver, FunctionsAskForTheirTypes) {
  open(0x201);
  code_ = 410;
  double value = 0;
  uint32_t code = 0;
  EXPECT_EQ(zvgSensorTemp(1, &value), 0);
  EXPECT_EQ(value, code_to_temp(410));
  EXPECT_EQ(platform_.take(), Log{request(0, 0, 1)});
  EXPECT_EQ(zvgSensorVolt(0, &value), 0);
  EXPECT_EQ(value, (410 * 0.00059677 + 0.51106) * 1000.0 * 0.001);
  EXPECT_NEAR(value, 0.7557, 0.0001);
  EXPECT_EQ(platform_.take(), Log{request(0, 1, 0)});
  EXPECT_EQ(zvgSensorProcess(3, 1, &code), 0);
  EXPECT_EQ(code, 410u);
  EXPECT_EQ(platform_.take(), Log{request(0, 3, 1)});
  EXPECT_EQ(zvgSensorProcess(0, 0, &code), 0);  // any type
  EXPECT_EQ(platform_.take(), Log{request(0, 0, 0)});
  EXPECT_EQ(zvgSensorTemp(0, nullptr), 0);
  EXPECT_EQ(zvgSensorVolt(0, nullptr), 0);
  EXPECT_EQ(zvgSensorProcess(2, 0, nullptr), 0);
}

TEST_F(SensorsByDriver, IndicesAreCheckedBeforeTheDeviceIsTouched) {
  struct Case {
    uint32_t id;
    const char* chip;
    uint32_t process_sensors;
  };
  for (const Case& c :
       {Case{0x200, "RQ301", 2}, {0x201, "RQ301", 2}, {0x202, "RQ302", 1}, {0x203, "RQ301", 2}}) {
    open(c.id);
    double value = 1.5;
    uint32_t code = untouched;
    EXPECT_EQ(zvgSensorTemp(1, &value), 0);
    EXPECT_EQ(zvgSensorVolt(1, &value), 0);
    EXPECT_EQ(zvgSensorProcess(2, c.process_sensors - 1, &code), 0);
    platform_.take();
    value = 1.5;
    code = untouched;
    const auto output = capture([&] {
      EXPECT_EQ(zvgSensorTemp(2, &value), -22);
      EXPECT_EQ(zvgSensorVolt(0xFFFFFFFF, &value), -22);
      EXPECT_EQ(zvgSensorProcess(2, c.process_sensors, &code), -22);
    });
    const std::string chip = c.chip;
    EXPECT_EQ(output.out, "zvgSensorTemp: invalid index 2 for " + chip + "\n" +
                              "zvgSensorTemp: invalid index -1 for " + chip + "\n" +
                              "zvgSensorProcess: invalid index " +
                              std::to_string(c.process_sensors) + " for " + chip + "\n");
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(value, 1.5);
    EXPECT_EQ(code, untouched);
    EXPECT_EQ(platform_.take(), Log{});
  }
}

// Conversions ---------------------------------------------------------------------------------

TEST(CodeToTemp, FollowsThePolynomial) {
  EXPECT_DOUBLE_EQ(code_to_temp(0), -62.86);
  for (const int code : {1, 100, 410, 1023, -50}) {
    const double c = code;
    EXPECT_EQ(code_to_temp(code), pow(c, 4) * 1.603e-11 + pow(c, 3) * 1.561e-8 +
                                      c * c * (-0.0001509) + c * 0.3341 - 62.86);
  }
  EXPECT_NEAR(code_to_temp(410), 50.2835, 0.0001);
  EXPECT_NEAR(code_to_temp(1023), 155.28, 0.01);
}

// Memory mode ---------------------------------------------------------------------------------

// Two words of a mapped aperture: the sensor registers of the generation.
class SensorsByRegisters : public testing::Test {
 protected:
  // end: where the aperture ends, as an offset in the sensors' block.
  void open(uint32_t device_id, uint32_t end = 0x178) {
    platform_.on_ioctl = [device_id](unsigned long, void* record) {
      memcpy(static_cast<uint8_t*>(record) + 8, &device_id, 4);
      return 0;
    };
    ASSERT_GE(zvgRwOpen(0), 0);
    platform_.on_mmap = [this](size_t, off_t) { return aperture_.data(); };
    base_ = device_id == 0x202 ? 0x288400 : 0x308400;
    ASSERT_GE(zvgMemOpen(0x1000, base_ + end, 0, 0), 0);
    platform_.take();
  }

  uint32_t& selector() { return word(0x170); }
  uint32_t& data() { return word(0x174); }
  uint32_t& word(uint32_t offset) { return reinterpret_cast<uint32_t&>(aperture_[base_ + offset]); }

  std::vector<uint8_t> aperture_ = std::vector<uint8_t>(0x310000);
  uint32_t base_ = 0;
  RecordedPlatform platform_;
};

TEST_F(SensorsByRegisters, Rq301SelectsTypeAndSensor) {
  open(0x201);
  const uint32_t selectors[] = {0xF0000, 0xF0100, 0xF0600, 0xF0200, 0xF0400};
  for (uint32_t type = 0; type < 5; ++type) {
    for (const uint32_t index : {0u, 1u, 5u}) {
      data() = 0xFFFFF800 | (100 * type + index);
      uint32_t code = 0;
      EXPECT_EQ(zvgPvtGetCode(type, index, &code), 0);
      EXPECT_EQ(selector(), selectors[type] + index);
      EXPECT_EQ(code, 100 * type + index);
      EXPECT_EQ(platform_.take(), Log{"usleep 1100000"});
      EXPECT_EQ(zvgPvtGetCode(type, index, &code), 0);
      EXPECT_EQ(platform_.take(), Log{});  // the same sensor again costs no time
    }
  }
}

TEST_F(SensorsByRegisters, Rq302SelectsTheTypeAndShifts) {
  open(0x202);
  const uint32_t selectors[] = {0x01E201E2, 0x01E601E6, 0x01FA01FA, 0x01EA01EA, 0x01F201F2};
  for (uint32_t type = 0; type < 5; ++type) {
    data() = 0xFEABFD23;
    uint32_t code = 0;
    EXPECT_EQ(zvgPvtGetCode(type, 1, &code), 0);
    EXPECT_EQ(selector(), selectors[type]);
    EXPECT_EQ(code, 0x2ABu);
    EXPECT_EQ(platform_.take(), Log{"usleep 1100000"});
    for (const auto& [index, expected] : {std::pair{0u, 0x123u}, {2u, 0x123u}, {3u, 0x2ABu}}) {
      EXPECT_EQ(zvgPvtGetCode(type, index, &code), 0);
      EXPECT_EQ(code, expected) << index;
    }
    EXPECT_EQ(platform_.take(), Log{});  // both sensors are converted at once
  }
}

TEST_F(SensorsByRegisters, UnknownTypesAreRefused) {
  for (const uint32_t id : {0x201u, 0x202u}) {
    open(id);
    selector() = 0x55;
    uint32_t code = untouched;
    const auto output = capture([&] {
      EXPECT_EQ(zvgPvtGetCode(5, 0, &code), -22);
      EXPECT_EQ(zvgSensorProcess(0xFFFFFFFF, 0, &code), -22);
    });
    EXPECT_EQ(output.out,
              "failed to get Pvt code with error type 5\n"
              "failed to get Pvt code with error type -1\n");
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(code, untouched);
    EXPECT_EQ(selector(), 0x55u);
    EXPECT_EQ(platform_.take(), Log{});
  }
}

TEST_F(SensorsByRegisters, UnknownChipsAreRefused) {
  open(0x200);
  selector() = 0x55;
  uint32_t code = untouched;
  double value = 1.5;
  const auto output = capture([&] {
    EXPECT_EQ(zvgPvtGetCode(0, 0, &code), -22);
    EXPECT_EQ(zvgSensorTemp(1, &value), -22);
  });
  EXPECT_EQ(output.out, "device id 0x200 is not supported!\ndevice id 0x200 is not supported!\n");
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(code, untouched);
  EXPECT_EQ(value, 1.5);
  EXPECT_EQ(selector(), 0x55u);
}

// The aperture may end at the sensor block, or in it.
TEST_F(SensorsByRegisters, RefusedAccessesArePassedOn) {
  for (const uint32_t id : {0x201u, 0x202u}) {
    for (const uint32_t end : {0x170u, 0x174u}) {
      open(id, end);
      data() = 0x123;
      uint32_t code = untouched;
      double value = 1.5;
      const auto output = capture([&] {
        EXPECT_EQ(zvgPvtGetCode(3, 0, &code), -22);
        EXPECT_EQ(zvgPvtGetCode(3, 0, nullptr), -22);
        EXPECT_EQ(zvgSensorTemp(1, &value), -22);
        EXPECT_EQ(zvgSensorVolt(0, &value), -22);
        EXPECT_EQ(zvgSensorProcess(2, 0, &code), -22);
      });
      EXPECT_EQ(code, untouched);
      EXPECT_EQ(value, 1.5);
      EXPECT_EQ(output.out, "");
      std::string refusal = "offset (" + std::to_string(base_ + end) + ") is out of range\n";
      EXPECT_EQ(output.err, refusal + refusal + refusal + refusal + refusal);
    }
  }
}

// Nothing is waited for when the selection did not come about.
TEST_F(SensorsByRegisters, AnUnreadableSelectorIsLeftAlone) {
  open(0x201, 0x170);
  selector() = 0x55;
  capture([] { EXPECT_EQ(zvgPvtGetCode(0, 0, nullptr), -22); });
  EXPECT_EQ(selector(), 0x55u);
  EXPECT_EQ(platform_.take(), Log{});
}

TEST_F(SensorsByRegisters, CodeIsOptional) {
  open(0x201);
  EXPECT_EQ(zvgPvtGetCode(0, 0, nullptr), 0);
  EXPECT_EQ(selector(), 0xF0000u);
}

// The order of the accesses, over the serial line.
class SensorsBySerial : public BoardFixture {
 protected:
  void SetUp() override {
    auto config = BoardFixture::config();
    config.generation = zvgsim::Generation::rq301;
    power_up(config);
    doGetDeviceId("test", "301");
    ASSERT_GE(zvgSerialOpen("/dev/ttyZVG0", 9600), 0);
  }
};

TEST_F(SensorsBySerial, ReadsSelectsAndReads) {
  trace().start();
  const uint64_t before = clock().now();
  uint32_t code = untouched;
  EXPECT_EQ(zvgPvtGetCode(1, 1, &code), 0);
  EXPECT_THAT(trace().take(), testing::ElementsAre(testing::StartsWith("r4 mmio 0x308570"),
                                                   "w4 mmio 0x308570 0xf0101",
                                                   testing::StartsWith("r4 mmio 0x308574")));
  EXPECT_GE(clock().now() - before, zvgsim::microseconds(1'100'000));
  trace().start();
  EXPECT_EQ(zvgPvtGetCode(1, 1, &code), 0);
  EXPECT_THAT(trace().take(), testing::ElementsAre("r4 mmio 0x308570 0xf0101",
                                                   testing::StartsWith("r4 mmio 0x308574")));
}

TEST_F(SensorsBySerial, UnknownTypeIsFoundAfterTheSelectorWasRead) {
  trace().start();
  capture([] { EXPECT_EQ(zvgPvtGetCode(5, 1, nullptr), -22); });
  EXPECT_THAT(trace().take(), testing::ElementsAre(testing::StartsWith("r4 mmio 0x308570")));
}

}  // namespace
