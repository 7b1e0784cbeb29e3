// Quantities that are steady or swing.
#include "board/signal.h"

#include <gtest/gtest.h>

#include "board/virtual_clock.h"

namespace zvgsim {
namespace {

TEST(Signal, SwingsAroundItsValue) {
  const Signal signal = {5, 2, 8};
  EXPECT_DOUBLE_EQ(signal.at(0), 5);
  EXPECT_DOUBLE_EQ(signal.at(seconds(2)), 7);
  EXPECT_NEAR(signal.at(seconds(4)), 5, 1e-12);
  EXPECT_DOUBLE_EQ(signal.at(seconds(6)), 3);
  EXPECT_DOUBLE_EQ((Signal{1.5}).at(seconds(123)), 1.5);
}

}  // namespace
}  // namespace zvgsim
