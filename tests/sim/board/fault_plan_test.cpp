#include "board/fault_plan.h"

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/virtual_clock.h"

namespace zvgsim {
namespace {

using ::testing::ElementsAre;

TEST(FaultPlan, WithoutFaultsNothingFails) {
  FaultPlan plan{FaultConfig{}};
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(plan.driver_request(1), 0);
    const FaultPlan::Reply reply = plan.uart_reply();
    EXPECT_FALSE(reply.drop);
    EXPECT_EQ(reply.keep, 4u);
    EXPECT_EQ(reply.flip, 0u);
    EXPECT_EQ(reply.delay, 0u);
    EXPECT_EQ(reply.noise_bytes, 0u);
  }
}

std::vector<int> errors(FaultPlan& plan, std::initializer_list<unsigned> numbers) {
  std::vector<int> errors;
  for (const unsigned number : numbers) errors.push_back(plan.driver_request(number));
  return errors;
}

TEST(FaultPlan, FailsTheNthRequest) {
  FaultConfig config;
  config.driver.push_back({.request = 3, .error = ENXIO, .count = 2});
  FaultPlan plan(config);
  EXPECT_THAT(errors(plan, {1, 0x10, 1, 6, 1, 1}), ElementsAre(0, 0, ENXIO, ENXIO, 0, 0));
}

TEST(FaultPlan, CountsRequestsOfOneNumber) {
  FaultConfig config;
  config.driver.push_back({.request = 2, .number = 0x10, .error = EIO});
  config.driver.push_back({.request = 1, .number = 0x06, .error = EFAULT});
  FaultPlan plan(config);
  EXPECT_THAT(errors(plan, {1, 0x10, 1, 0x10, 0x10, 6, 6}),
              ElementsAre(0, 0, 0, EIO, 0, EFAULT, 0));
}

TEST(FaultPlan, SpoilsTheNthReply) {
  FaultConfig config;
  config.uart = {{.reply = 1, .action = UartAction::drop},
                 {.reply = 2, .action = UartAction::cut, .bytes = 3},
                 {.reply = 3, .action = UartAction::delay, .delay_ms = 2500},
                 {.reply = 4, .action = UartAction::noise, .bytes = 7},
                 {.reply = 5, .action = UartAction::corrupt, .count = 50}};
  FaultPlan plan(config);
  EXPECT_TRUE(plan.uart_reply().drop);
  EXPECT_EQ(plan.uart_reply().keep, 3u);
  EXPECT_EQ(plan.uart_reply().delay, milliseconds(2500));
  EXPECT_EQ(plan.uart_reply().noise_bytes, 7u);
  for (int i = 0; i < 50; ++i) {
    const uint32_t flip = plan.uart_reply().flip;
    int changed = 0;
    for (unsigned byte = 0; byte < 4; ++byte) changed += (flip >> (8 * byte) & 0xFF) != 0;
    EXPECT_EQ(changed, 1) << std::hex << flip;
  }
  EXPECT_EQ(plan.uart_reply().flip, 0u);
}

// One run of a plan with chances, as text.
std::string run(uint64_t seed) {
  FaultConfig config;
  config.seed = seed;
  config.driver.push_back({.probability = 0.25});
  config.uart.push_back({.probability = 0.5, .action = UartAction::corrupt});
  FaultPlan plan(config);
  std::string text;
  for (int i = 0; i < 400; ++i) {
    text += plan.driver_request(1) != 0 ? 'x' : '.';
    text += std::to_string(plan.uart_reply().flip) + ",";
    text += std::to_string(plan.noise()) + ";";
  }
  return text;
}

TEST(FaultPlan, NodeGoesBeforeARequest) {
  FaultConfig config;
  config.node_gone_at_request = 3;
  FaultPlan plan(config);
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(plan.node_gone());
    EXPECT_EQ(plan.driver_request(1), 0);
  }
  EXPECT_TRUE(plan.node_gone());
  for (int i = 0; i < 3; ++i) EXPECT_EQ(plan.driver_request(0x10), ENODEV);
  config.node_gone_at_request = 1;
  EXPECT_TRUE(FaultPlan(config).node_gone()) << "never there";
  EXPECT_FALSE(FaultPlan(FaultConfig()).node_gone());
}

TEST(FaultPlan, SameSeedSameFaults) {
  EXPECT_EQ(run(7), run(7));
  EXPECT_NE(run(7), run(8));
}

TEST(FaultPlan, ChancesComeOutAboutRight) {
  FaultConfig config;
  config.driver = {{.probability = 0.25}};
  FaultPlan plan(config);
  int failures = 0;
  for (int i = 0; i < 4000; ++i) failures += plan.driver_request(1) != 0;
  EXPECT_GT(failures, 850);
  EXPECT_LT(failures, 1150);
  FaultConfig never_always;
  never_always.driver = {{.probability = 0, .error = EPERM}, {.probability = 1, .error = EIO}};
  FaultPlan edges(never_always);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(edges.driver_request(1), EIO);
}

// The first draws of a seed are the same on every machine: written down once.
TEST(FaultPlan, FirstDrawsAreFixed) {
  FaultConfig config;
  config.seed = 1;
  FaultPlan plan(config);
  std::vector<int> noise;
  for (int i = 0; i < 4; ++i) noise.push_back(plan.noise());
  std::mt19937_64 reference(1);
  for (const int byte : noise) EXPECT_EQ(byte, static_cast<uint8_t>(reference()));
}

}  // namespace
}  // namespace zvgsim
