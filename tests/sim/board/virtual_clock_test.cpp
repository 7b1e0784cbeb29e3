#include "board/virtual_clock.h"

#include <gtest/gtest.h>

namespace zvgsim {
namespace {

TEST(VirtualClock, VirtualTimeIsWhatIsSpent) {
  VirtualClock clock;
  EXPECT_EQ(clock.now(), 0u);
  clock.sleep(seconds(3600));
  clock.spend_access();
  clock.spend_access();
  EXPECT_EQ(clock.now(), seconds(3600) + 2 * VirtualClock::access_cost);
}

TEST(VirtualClock, SleepUntilNeverGoesBack) {
  VirtualClock clock;
  clock.sleep_until(milliseconds(5));
  EXPECT_EQ(clock.now(), milliseconds(5));
  clock.sleep_until(milliseconds(4));
  EXPECT_EQ(clock.now(), milliseconds(5));
}

TEST(VirtualClock, RealTimePasses) {
  VirtualClock clock(VirtualClock::Mode::real_time);
  const uint64_t start = clock.now();
  clock.spend_access();
  clock.sleep(milliseconds(2));
  const uint64_t end = clock.now();
  EXPECT_GE(end - start, milliseconds(2));
  EXPECT_LT(end - start, seconds(10));
}

}  // namespace
}  // namespace zvgsim
