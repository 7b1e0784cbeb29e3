// The waits: how often they look, when they sleep, and what the last look counts for.
#include "core/poll.h"

#include <gtest/gtest.h>

#include <optional>

#include "doors/platform.h"

namespace {

using zvg::core::LastRead;
using zvg::core::LastWait;
using zvg::core::look_then_wait;
using zvg::core::read_wait_compare;
using zvg::core::sleeping;
using zvg::core::wait_read_compare;

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

TEST_F(Poll, LookThenWaitSleepsAfterEveryLookThatFindsNothing) {
  const auto nothing = [&]() -> std::optional<int> {
    ++looks_;
    return std::nullopt;
  };
  EXPECT_EQ(look_then_wait(5, sleeping(7), nothing), std::nullopt);
  EXPECT_EQ(looks_, 5);
  EXPECT_EQ(sleeps_, 5);
  EXPECT_EQ(slept_us_, 35u);
}

TEST_F(Poll, LookThenWaitEndsWithTheLookThatFindsSomething) {
  const auto third = [&]() -> std::optional<int> {
    return ++looks_ == 3 ? std::optional<int>(42) : std::nullopt;
  };
  EXPECT_EQ(look_then_wait(5, sleeping(7), third), 42);
  EXPECT_EQ(sleeps_, 2);
}

TEST_F(Poll, LookThenWaitLeavesItsLastWaitOutWhereItIsSaid) {
  int waits = 0;
  const auto never = [&] { return ++looks_ < 0; };
  const auto wait = [&] { ++waits; };
  EXPECT_FALSE(look_then_wait(4, wait, never));
  EXPECT_EQ(looks_, 4);
  EXPECT_EQ(waits, 4);
  EXPECT_FALSE(look_then_wait(4, wait, never, LastWait::left_out));
  EXPECT_EQ(looks_, 8);
  EXPECT_EQ(waits, 7);
  looks_ = waits = 0;
  EXPECT_TRUE(look_then_wait(4, wait, [&] { return ++looks_ == 4; }));
  EXPECT_EQ(waits, 3);
  EXPECT_EQ(sleeps_, 0);
}

TEST_F(Poll, AnEndlessWaitLooksOn) {
  EXPECT_TRUE(look_then_wait(zvg::core::endless, zvg::core::at_once,
                             [&] { return ++looks_ == 1'000'000; }));
  EXPECT_EQ(sleeps_, 0);
}

TEST_F(Poll, NoTriesAreNoLook) {
  EXPECT_FALSE(look_then_wait(0, sleeping(7), [&] { return ++looks_ > 0; }));
  EXPECT_EQ(looks_, 0);
  EXPECT_EQ(sleeps_, 0);
}

// Reads values that count up, until one matches. failing: the value whose read fails.
std::optional<int> read_then_wait(int& value, int match, LastRead last, int failing = -1) {
  return read_wait_compare(
      15, sleeping(50), [&value, failing] { return ++value == failing ? 5 : 0; },
      [&value, match] { return value == match; }, last);
}

TEST_F(Poll, ReadWaitCompareNeedsNoSleepForItsFirstRead) {
  EXPECT_EQ(read_then_wait(looks_, 1, LastRead::comes_too_late), 0);
  EXPECT_EQ(looks_, 1);
  EXPECT_EQ(sleeps_, 0);
}

TEST_F(Poll, ReadWaitCompareSleepsBetweenReadAndCompare) {
  EXPECT_EQ(read_then_wait(looks_, 4, LastRead::comes_too_late), 0);
  EXPECT_EQ(looks_, 4);
  EXPECT_EQ(sleeps_, 3);
  EXPECT_EQ(slept_us_, 150u);
}

TEST_F(Poll, WhatTheLastRepeatReadCountsOnlyWhereItIsSaid) {
  EXPECT_EQ(read_then_wait(looks_, 16, LastRead::comes_too_late), std::nullopt);
  EXPECT_EQ(looks_, 16);
  EXPECT_EQ(sleeps_, 15);
  looks_ = 0;
  EXPECT_EQ(read_then_wait(looks_, 15, LastRead::comes_too_late), 0);
  looks_ = 0;
  EXPECT_EQ(read_then_wait(looks_, 16, LastRead::counts), 0);
  looks_ = sleeps_ = 0;
  EXPECT_EQ(read_then_wait(looks_, 99, LastRead::counts), std::nullopt);
  EXPECT_EQ(looks_, 16);
  EXPECT_EQ(sleeps_, 15);
}

TEST_F(Poll, AFailedReadEndsReadWaitCompareAtOnce) {
  EXPECT_EQ(read_then_wait(looks_, 10, LastRead::counts, 1), 5);
  EXPECT_EQ(sleeps_, 0);
  looks_ = 0;
  EXPECT_EQ(read_then_wait(looks_, 10, LastRead::counts, 3), 5);
  EXPECT_EQ(sleeps_, 1);  // after the second read
}

// The same, for a value that is there before.
std::optional<int> wait_then_read(int& value, int match, int failing = -1,
                                  LastRead last = LastRead::counts) {
  return wait_read_compare(
      10, sleeping(1000), [&value, failing] { return ++value == failing ? 5 : 0; },
      [&value, match] { return value == match; }, last);
}

TEST_F(Poll, WaitReadCompareNeedsNoSleepForWhatWasReadBefore) {
  EXPECT_EQ(wait_then_read(looks_, 0), 0);
  EXPECT_EQ(sleeps_, 0);
  EXPECT_EQ(looks_, 0);
}

TEST_F(Poll, WaitReadCompareSleepsBeforeEveryRead) {
  EXPECT_EQ(wait_then_read(looks_, 10), 0);
  EXPECT_EQ(sleeps_, 10);
  looks_ = sleeps_ = 0;
  EXPECT_EQ(wait_then_read(looks_, 11), std::nullopt);
  EXPECT_EQ(looks_, 10);
  EXPECT_EQ(sleeps_, 10);
  looks_ = sleeps_ = 0;
  EXPECT_EQ(wait_then_read(looks_, 10, -1, LastRead::comes_too_late), std::nullopt);
  EXPECT_EQ(looks_, 10);
}

TEST_F(Poll, AFailedReadEndsWaitReadCompare) {
  EXPECT_EQ(wait_then_read(looks_, 10, 3), 5);
  EXPECT_EQ(sleeps_, 3);
}

}  // namespace
