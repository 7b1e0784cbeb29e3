// The sampling loop, on a thread of its own as its callers run it.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sanitizer/asan_interface.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <sstream>

#include "doors/platform.h"
#include "support/capture.h"
#include "support/recorded_platform.h"
#include "support/scratch.h"
#include "util_zvg.h"

namespace {

// Called whenever a table was opened.
std::function<void()> g_on_table;

}  // namespace

// Visible, so that the library finds this one before libc's.
extern "C" [[gnu::visibility("default")]] FILE* fopen(const char* path, const char* mode) {
  static auto* const real =
      reinterpret_cast<FILE* (*)(const char*, const char*)>(dlsym(RTLD_NEXT, "fopen"));
  FILE* const file = real(path, mode);
  if (g_on_table && strstr(path, ".dat") != nullptr) g_on_table();
  return file;
}

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

// Cancelling --------------------------------------------------------------------------------

namespace fs = std::filesystem;

size_t open_descriptors() {
  return static_cast<size_t>(
      std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

size_t columns(const std::string& row) {
  return static_cast<size_t>(std::count(row.begin(), row.end(), '\t')) + 1;
}

// How many rows every table has below its header; all of them whole.
std::vector<size_t> rows(const zvgtest::Scratch& scratch) {
  std::vector<size_t> counts;
  for (const auto& entry : fs::directory_iterator("Monitor_Data_t")) {
    const std::string text = scratch.read(entry.path().string());
    EXPECT_THAT(text, testing::EndsWith("\n")) << entry;
    std::istringstream lines(text);
    std::string header, row;
    std::getline(lines, header);
    counts.push_back(0);
    for (; std::getline(lines, row); ++counts.back()) {
      EXPECT_EQ(columns(row), columns(header)) << entry;
    }
  }
  return counts;
}

// Moments of a pass: each of its register reads, and each table just opened. The first pass opens
// every table twice, for the header and for the row.
constexpr unsigned reads = 2 + 7 * 29 + 6 * 11 + 9 * 25;
constexpr unsigned tables = 22;
constexpr unsigned first_pass = reads + 2 * tables;
constexpr unsigned second_pass = reads + tables;

// The sanitizer does not notice that a cancelled thread left its functions, and would take what the
// thread does in its end for a use of their variables.
struct ForgetsLeftFunctions {
  ~ForgetsLeftFunctions() {
    constexpr uintptr_t deeper_than_they_went = 0x10000;
    [[maybe_unused]] const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    ASAN_UNPOISON_MEMORY_REGION(reinterpret_cast<void*>(here - deeper_than_they_went),
                                deeper_than_they_went);
  }
};

void* sampling(void* suffix) {
  const ForgetsLeftFunctions at_the_end;
  return zvg_thread_rq302monitor(suffix);
}

class CancelledSampling : public testing::Test {
 protected:
  void SetUp() override {
    node_.on_read = [this](uint64_t, uint64_t* value) {
      *value = 0xFFFFFFFF;  // all ports have new data
      count_moment();
      return true;
    };
    g_on_table = [this] { count_moment(); };
    zvgsim::set_sleeper([this](uint64_t) {
      if (++sleeps_ == cancelled_sleep_) pthread_cancel(pthread_self());
      if (sleeps_ == 5) pthread_exit(nullptr);  // it was not cancelled
    });
    node_.open();
    node_.quiet = true;
  }
  void TearDown() override {
    g_on_table = nullptr;
    zvgsim::set_sleeper([](uint64_t) {});
  }

  // Runs a thread until it ends. Returns what it ended with.
  void* run(void* (*body)(void*) = sampling) {
    char suffix[] = "t";
    void* result = nullptr;
    moments_ = sleeps_ = 0;
    capture([&] {
      pthread_t thread;
      ASSERT_EQ(pthread_create(&thread, nullptr, body, suffix), 0);
      pthread_join(thread, &result);
    });
    return result;
  }

  unsigned cancelled_moment_ = 0;  // counted from 1
  unsigned cancelled_sleep_ = 0;   // as well

 private:
  void count_moment() {
    if (++moments_ == cancelled_moment_) pthread_cancel(pthread_self());
  }

  zvgtest::RegisterNode node_;
  unsigned moments_ = 0;
  unsigned sleeps_ = 0;
};

TEST_F(CancelledSampling, EndsAfterAWholePass) {
  std::vector<unsigned> moments = {1, 2, reads / 2, reads, first_pass + 1, first_pass + reads};
  for (unsigned i = 1; i <= 2 * tables; ++i) moments.push_back(reads + i);
  for (unsigned i = 1; i <= tables; ++i) moments.push_back(first_pass + reads + i);
  ASSERT_EQ(moments.back(), first_pass + second_pass);
  for (const unsigned moment : moments) {
    const zvgtest::Scratch scratch;
    cancelled_moment_ = moment;
    const size_t before = open_descriptors();
    EXPECT_EQ(run(), PTHREAD_CANCELED) << moment;
    EXPECT_EQ(open_descriptors(), before) << moment;
    const size_t passes = moment <= first_pass ? 1 : 2;
    EXPECT_EQ(rows(scratch), std::vector<size_t>(tables, passes)) << moment;
  }
}

TEST_F(CancelledSampling, EndsInItsSleep) {
  for (const unsigned sleep : {1u, 2u, 3u}) {
    const zvgtest::Scratch scratch;
    fs::create_directory("Monitor_Data_t");
    cancelled_sleep_ = sleep;
    EXPECT_EQ(run(), PTHREAD_CANCELED);
    EXPECT_EQ(rows(scratch), std::vector<size_t>(sleep > 1 ? tables : 0, sleep - 1));
  }
}

TEST_F(CancelledSampling, IsUpToTheThreadsOwner) {
  const zvgtest::Scratch scratch;
  cancelled_moment_ = 1;
  EXPECT_EQ(run([](void* suffix) {
              pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
              return sampling(suffix);
            }),
            nullptr);
  EXPECT_EQ(rows(scratch), std::vector<size_t>(tables, 4));
}

}  // namespace
