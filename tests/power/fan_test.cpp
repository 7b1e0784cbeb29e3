// The fan by the driver and by the board's PWM registers, and the test temperature.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

#include "support/board_fixture.h"
#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using namespace zvgtest;
using testing::ElementsAre;
using Log = std::vector<std::string>;

class FanByDriver : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_GE(zvgRwOpen(0), 0);
    platform_.take();
    platform_.on_ioctl = [this](unsigned long, void* record) {
      last_ = record;
      errno = EACCES;
      return result_;
    };
  }

  int set(int percent) {
    int result = -7;
    output_ = capture([&] { result = zvgFanSetRate(percent); });
    return result;
  }

  RecordedPlatform platform_;
  int result_ = 0;
  void* last_ = nullptr;
  Output output_;
};

TEST_F(FanByDriver, RateIsOneRequest) {
  for (const auto& [percent, record] :
       {std::pair{0, "00000000"}, {1, "01000000"}, {42, "2a000000"}, {100, "64000000"}}) {
    EXPECT_EQ(set(percent), 0);
    EXPECT_EQ(platform_.take(), Log{std::string("ioctl 0xc0046415 ") + record});
    EXPECT_EQ(output_.out + output_.err, "");
  }
}

TEST_F(FanByDriver, NegativeGoesBackToAutomatic) {
  for (const int percent : {-1, -100, INT32_MIN}) {
    EXPECT_EQ(set(percent), 0);
    EXPECT_EQ(platform_.take(), Log{"ioctl 0x6416 "});
    EXPECT_EQ(last_, nullptr);  // the integer 0
    EXPECT_EQ(output_.out + output_.err, "");
  }
}

TEST_F(FanByDriver, RateAbove100IsRefused) {
  for (const int percent : {101, INT32_MAX}) {
    EXPECT_EQ(set(percent), -1);
    EXPECT_EQ(output_.out, "input number is out of range!\n");
    EXPECT_EQ(output_.err, "");
    EXPECT_EQ(platform_.take(), Log{});
  }
}

TEST_F(FanByDriver, FailuresAreReported) {
  for (const int failure : {-1, 3}) {
    result_ = failure;
    EXPECT_EQ(set(-1), -1);
    EXPECT_EQ(output_.out, "failed to clear manual fan\n");
    EXPECT_EQ(output_.err, "");
    EXPECT_EQ(set(50), -1);
    EXPECT_EQ(output_.out, "");
    EXPECT_EQ(output_.err, std::string("failed to set manual fan\n: ") + strerror(EACCES) + "\n");
  }
}

TEST_F(FanByDriver, TestTemperatureIsOneRequest) {
  EXPECT_EQ(zvgThermalDebug(0x12345678), 0);
  EXPECT_EQ(platform_.take(), Log{"ioctl 0xc0046417 78563412"});
  result_ = -1;
  const auto output = capture([] { EXPECT_EQ(zvgThermalDebug(1), -1); });
  EXPECT_EQ(output.out, "failed to input thermal temp\n");
  EXPECT_EQ(output.err, "");
}

class FanOnBoard : public BoardFixture {};

TEST_F(FanOnBoard, SerialRateIsThePwmSequence) {
  ASSERT_GE(zvgSerialOpen("/dev/ttyZVG0", 9600), 0);
  ASSERT_EQ(zvgFanSetRate(50), 0);  // once, for the VGA's colour addressing
  const struct {
    int percent;
    const char* low;
    const char* high;
  } cases[] = {{0, "0xa", "0x0"},
               {1, "0xa", "0x0"},
               {25, "0xfa", "0x0"},
               {26, "0x4", "0x1"},
               {100, "0xe8", "0x3"}};
  for (const auto& c : cases) {
    trace().start();
    const auto output = capture([&] { EXPECT_EQ(zvgFanSetRate(c.percent), 0); });
    EXPECT_EQ(output.out + output.err, "");
    const std::string index = "w1 mmio 0x103d4 ";
    const std::string data = "w1 mmio 0x103d5 ";
    EXPECT_THAT(trace().take(),
                ElementsAre(index + "0xd4", data + "0xe8", index + "0xd5", data + "0x3",
                            index + "0xd8", data + "0x1", index + "0xd6", data + c.low,
                            index + "0xd7", data + c.high, index + "0xd9", data + "0x1"));
  }
}

TEST_F(FanOnBoard, SerialRateOutOfRangeIsRefused) {
  ASSERT_GE(zvgSerialOpen("/dev/ttyZVG0", 9600), 0);
  trace().start();
  for (const int percent : {-1, 101, INT32_MIN, INT32_MAX}) {
    const auto output = capture([&] { EXPECT_EQ(zvgFanSetRate(percent), -1); });
    EXPECT_EQ(output.out, "set fan rate percent out of range  please set percent from 0 to 100\n");
    EXPECT_EQ(output.err, "");
  }
  EXPECT_THAT(trace().take(), ElementsAre());
}

TEST_F(FanOnBoard, OtherModesHaveNoFan) {
  const auto refused = [](const std::string& mode) {
    for (const int percent : {-1, 50, 101}) {
      const auto output = capture([&] { EXPECT_EQ(zvgFanSetRate(percent), -22); });
      EXPECT_EQ(output.err, "s_type (" + mode + ") is not supported\n");
      EXPECT_EQ(output.out, "");
    }
  };
  refused("-1");
  ASSERT_GE(zvgMemOpen(0xE0000000, 0x1000000, 0xD0000000, 0x10000000), 0);
  refused("1");
}

TEST_F(FanOnBoard, TestTemperatureIsAskedForInEveryMode) {
  const auto refused = [] {
    const auto output = capture([] { EXPECT_EQ(zvgThermalDebug(90), -1); });
    EXPECT_EQ(output.out, "failed to input thermal temp\n");
    EXPECT_EQ(output.err, "");
  };
  refused();  // no descriptor
  ASSERT_GE(zvgSerialOpen("/dev/ttyZVG0", 9600), 0);
  refused();
}

}  // namespace
