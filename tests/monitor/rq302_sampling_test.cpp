// The sampling loop, on a thread of its own as its callers run it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string.h>

#include <algorithm>

#include "doors/platform.h"
#include "support/capture.h"
#include "support/recorded_platform.h"
#include "support/scratch.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using zvgtest::capture;

// Runs the loop until it has made so many samples; it then ends where it sleeps. Returns what it
// printed and, in *sleeps, the microseconds of every sleep before a sample.
std::string sample(unsigned count, std::vector<uint64_t>* sleeps) {
  char suffix[] = "t";
  zvgsim::set_sleeper([&](uint64_t nanoseconds) {
    if (sleeps->size() == count) pthread_exit(nullptr);
    sleeps->push_back(nanoseconds / 1000);
  });
  const auto output = capture([&] {
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, zvg_thread_rq302monitor, suffix), 0);
    pthread_join(thread, nullptr);
  });
  zvgsim::set_sleeper([](uint64_t) {});
  EXPECT_EQ(output.err, "");
  return output.out;
}

std::string pass_text(bool first) {
  return std::string("data_update: 0\r\n") + (first ? "creat file OK!\r\n" : "") +
         "folderName1: Monitor_Data_t\r\n";
}

TEST(SamplingLoop, SleepsSamplesAndCounts) {
  const zvgtest::Scratch scratch;
  zvgtest::RegisterNode node;
  node.open();
  std::vector<uint64_t> sleeps;
  EXPECT_EQ(sample(3, &sleeps), "log_cycles: 250 ms\n\r" + pass_text(true) + "cycle times :1\n\r" +
                                    pass_text(false) + "cycle times :2\n\r" + pass_text(false) +
                                    "cycle times :3\n\r");
  EXPECT_THAT(sleeps, ElementsAre(250000, 250000, 250000));
  const auto log = node.take();
  EXPECT_EQ(log.size(), 3 * (2u + 7 * 29 + 6 * 11 + 9 * 25));
  EXPECT_TRUE(std::none_of(log.begin(), log.end(), [](auto& line) { return line[0] == 'w'; }))
      << "the measuring period stays as it was";
}

TEST(SamplingLoop, PassesTheSampleNumberOn) {
  const zvgtest::Scratch scratch;
  zvgtest::RegisterNode node;
  node.on_read = [](uint64_t, uint64_t* value) {
    *value = 1;  // new data of the first port
    return true;
  };
  node.open();
  std::vector<uint64_t> sleeps;
  sample(3, &sleeps);
  const std::string table = scratch.read("Monitor_Data_t/PCIE_M.dat");
  EXPECT_THAT(table, testing::StartsWith("time\t"));
  EXPECT_THAT(table, testing::HasSubstr("\n0\t 1\t"));
  EXPECT_THAT(table, testing::HasSubstr("\n1\t 1\t"));
  EXPECT_THAT(table, testing::HasSubstr("\n2\t 1\t"));
}

TEST(SamplingLoop, PrintsADotEveryThousandSamples) {
  const zvgtest::Scratch scratch;
  zvgtest::RegisterNode node;
  node.open();
  node.quiet = true;
  std::vector<uint64_t> sleeps;
  const std::string text = sample(2001, &sleeps);
  const std::string dot = ".\n\r";
  EXPECT_THAT(text, testing::HasSubstr("cycle times :1000\n\r.\n\rdata_update"));
  EXPECT_THAT(text, testing::HasSubstr("cycle times :2000\n\r.\n\rdata_update"));
  const size_t first = text.find(dot);
  EXPECT_EQ(text.find(dot, text.find(dot, first + 1) + 1), std::string::npos);
}

TEST(SamplingLoop, OverASerialLineSetsThePeriodAndDoesNotSleep) {
  const zvgtest::Scratch scratch;
  zvgtest::RecordedPlatform platform;
  platform.on_read = [](uint8_t* buffer, size_t) -> ssize_t {
    const uint32_t word = __builtin_bswap32(299999999);
    memcpy(buffer, &word, 4);
    return 4;
  };
  ASSERT_GE(zvgSerialOpen("/dev/ttyTEST", 9600), 0);
  platform.take();
  std::vector<uint64_t> sleeps;
  const std::string text = sample(2, &sleeps);
  EXPECT_THAT(text, testing::StartsWith("now_cycly_time: 299999999\nlog_cycles: 0 ms\n\r"
                                        "data_update: 11e1a2ff\r\n"));
  EXPECT_THAT(text, testing::HasSubstr("cycle times :2\n\r"));
  EXPECT_THAT(sleeps, ElementsAre(0, 0));
  auto log = platform.take();
  log.resize(12);
  EXPECT_THAT(
      log, ElementsAre("tcflush 0", "write fe0f000128880811e1a300",  //
                       "tcflush 0", "write fe0f000128880000000014",  //
                       "tcflush 0", "write fd0f000128880800000000", "select 2.000000",
                       "read 4",  //
                       "tcflush 0", "write fd0f000128880400000000", "select 2.000000", "read 4"));
}

}  // namespace
