// The power state request and the names of the states.
#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using namespace zvgtest;
using Log = std::vector<std::string>;

class PowerState : public testing::Test {
 protected:
  void open() {
    ASSERT_GE(zvgRwOpen(0), 0);
    platform_.take();
    platform_.on_ioctl = [this](unsigned long, void* record) {
      static_cast<uint32_t*>(record)[1] = answer_;
      return result_;
    };
  }

  RecordedPlatform platform_;
  uint32_t answer_ = 0;
  int result_ = 0;
};

TEST_F(PowerState, GetIsOneRequest) {
  open();
  answer_ = 2;
  uint32_t state = 7;
  EXPECT_EQ(zvgPowerGetState(&state), 0);
  EXPECT_EQ(state, 2u);
  EXPECT_EQ(platform_.take(), Log{"ioctl 0xc0086414 0000000000000000"});
  EXPECT_EQ(zvgPowerGetState(nullptr), 0);
  EXPECT_EQ(platform_.take().size(), 1u);
}

TEST_F(PowerState, SetIsOneRequest) {
  open();
  const auto output = capture([] { EXPECT_EQ(zvgPowerSetState(0x89ABCDEF), 0); });
  EXPECT_EQ(platform_.take(), Log{"ioctl 0xc0086414 01000000efcdab89"});
  EXPECT_EQ(output.out + output.err, "");
}

TEST_F(PowerState, FailuresArePassedOn) {
  open();
  for (const int failure : {-1, 9}) {
    result_ = failure;
    uint32_t state = 7;
    auto output = capture([&] { EXPECT_EQ(zvgPowerGetState(&state), failure); });
    EXPECT_EQ(output.err, "zvgPowerGetState: get power state failed\n");
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(state, 7u);
    output = capture([&] { EXPECT_EQ(zvgPowerSetState(1), failure); });
    EXPECT_EQ(output.err, "zvgPowerSetState: set power state failed\n");
    EXPECT_EQ(output.out, "");
  }
}

TEST_F(PowerState, OtherModesHaveNone) {
  const auto none = [this] {
    platform_.take();
    uint32_t state = 7;
    auto output = capture([&] { EXPECT_EQ(zvgPowerGetState(&state), 0); });
    EXPECT_EQ(state, 0u);
    EXPECT_EQ(output.out + output.err, "");
    EXPECT_EQ(zvgPowerGetState(nullptr), 0);
    output = capture([] { EXPECT_EQ(zvgPowerSetState(1), -1); });
    EXPECT_EQ(output.err, "zvgPowerSetState: error, driver module is not installed!\n");
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(platform_.take(), Log{});
  };
  none();  // not even open
  ASSERT_GE(zvgMemOpen(0, 0, 0, 0), 0);
  none();
  ASSERT_GE(zvgSerialOpen("/dev/ttyTEST", 9600), 0);
  none();
}

TEST(PowerStateName, KnowsThreeStates) {
  EXPECT_STREQ(zvgPowerStateName(0), "Performance");
  EXPECT_STREQ(zvgPowerStateName(1), "Save");
  EXPECT_STREQ(zvgPowerStateName(2), "standby");
  for (const uint32_t state : {3u, 100u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
    EXPECT_STREQ(zvgPowerStateName(state), "Invalid") << state;
  }
}

}  // namespace
