// The bounded waits: how often they look, when they sleep, and what the last look counts for.
#include "core/poll.h"

#include <gtest/gtest.h>

#include "doors/platform.h"

namespace {

using zvg::core::LastMatch;

class Poll : public testing::Test {
 protected:
  void SetUp() override {
    zvgsim::set_sleeper([this](uint64_t nanoseconds) {
      ++sleeps_;
      slept_us_ += nanoseconds / 1000;
    });
  }
  void TearDown() override { zvgsim::unmount_all(); }

  int looks_ = 0;
  int sleeps_ = 0;
  uint64_t slept_us_ = 0;
};

TEST_F(Poll, SleepsAfterEveryLookThatFails) {
  const auto nothing = [&]() -> std::optional<int> {
    ++looks_;
    return std::nullopt;
  };
  EXPECT_EQ(zvg::core::poll(5, 7, -2, nothing), -2);
  EXPECT_EQ(looks_, 5);
  EXPECT_EQ(sleeps_, 5);
  EXPECT_EQ(slept_us_, 35u);
}

TEST_F(Poll, EndsWithTheLookThatSucceeds) {
  const auto third = [&]() -> std::optional<int> {
    return ++looks_ == 3 ? std::optional<int>(42) : std::nullopt;
  };
  EXPECT_EQ(zvg::core::poll(5, 7, -2, third), 42);
  EXPECT_EQ(sleeps_, 2);
}

bool after_sleep(int& looks, int match, int repeats, LastMatch last) {
  return zvg::core::poll_after_sleep(
      repeats, 50, last, [&] { return ++looks; }, [match](int look) { return look == match; });
}

TEST_F(Poll, FirstLookNeedsNoSleep) {
  EXPECT_TRUE(after_sleep(looks_, 1, 15, LastMatch::comes_too_late));
  EXPECT_EQ(sleeps_, 0);
}

TEST_F(Poll, RepeatsLookThenSleepThenCompare) {
  EXPECT_TRUE(after_sleep(looks_, 4, 15, LastMatch::comes_too_late));
  EXPECT_EQ(looks_, 4);
  EXPECT_EQ(sleeps_, 3);
}

TEST_F(Poll, LastRepeatCountsOnlyWhereItIsSaid) {
  EXPECT_FALSE(after_sleep(looks_, 16, 15, LastMatch::comes_too_late));
  looks_ = 0;
  EXPECT_TRUE(after_sleep(looks_, 15, 15, LastMatch::comes_too_late));
  looks_ = 0;
  EXPECT_TRUE(after_sleep(looks_, 16, 15, LastMatch::counts));
  looks_ = 0;
  sleeps_ = 0;
  EXPECT_FALSE(after_sleep(looks_, 99, 15, LastMatch::counts));
  EXPECT_EQ(looks_, 16);
  EXPECT_EQ(sleeps_, 15);
}

// Looks at values that reading counts up.
int before_read(int& value, int match, int repeats, int failing = -1) {
  return zvg::core::poll_before_read(
      repeats, 1000, -2, [&value, failing] { return ++value == failing ? 5 : 0; },
      [&value, match] { return value == match; });
}

TEST_F(Poll, WhatWasReadBeforeNeedsNoSleep) {
  EXPECT_EQ(before_read(looks_, 0, 10), 0);
  EXPECT_EQ(sleeps_, 0);
  EXPECT_EQ(looks_, 0);
}

TEST_F(Poll, SleepsBeforeEveryRead) {
  EXPECT_EQ(before_read(looks_, 10, 10), 0);
  EXPECT_EQ(sleeps_, 10);
  looks_ = sleeps_ = 0;
  EXPECT_EQ(before_read(looks_, 11, 10), -2);
  EXPECT_EQ(looks_, 10);
  EXPECT_EQ(sleeps_, 10);
}

TEST_F(Poll, AFailedReadEndsTheWait) {
  EXPECT_EQ(before_read(looks_, 10, 10, 3), 5);
  EXPECT_EQ(sleeps_, 3);
}

TEST_F(Poll, SpinLooksOnceMoreThanItsRounds) {
  const auto spin = [&](int rounds, int match) {
    looks_ = 0;
    zvg::core::spin(
        rounds, [&] { return ++looks_; }, [match](int look) { return look == match; });
    return looks_;
  };
  EXPECT_EQ(spin(5, 1), 1);
  EXPECT_EQ(spin(5, 4), 4);
  EXPECT_EQ(spin(5, 99), 6);
  EXPECT_EQ(spin(0, 99), 1);
}

TEST_F(Poll, EveryLookIsFollowedByTheCallersWaitExceptWhereItsLastIsLeftOut) {
  using zvg::core::LastWait;
  int waits = 0;
  const auto never = [&] { return ++looks_ < 0; };
  const auto wait = [&] { ++waits; };
  EXPECT_FALSE(zvg::core::poll_every(4, LastWait::kept, wait, never));
  EXPECT_EQ(looks_, 4);
  EXPECT_EQ(waits, 4);
  EXPECT_FALSE(zvg::core::poll_every(4, LastWait::left_out, wait, never));
  EXPECT_EQ(looks_, 8);
  EXPECT_EQ(waits, 7);
  looks_ = waits = 0;
  EXPECT_TRUE(zvg::core::poll_every(4, LastWait::kept, wait, [&] { return ++looks_ == 4; }));
  EXPECT_EQ(waits, 3);
  EXPECT_EQ(sleeps_, 0);
}

}  // namespace
