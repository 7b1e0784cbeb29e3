// Trapped memory with a model that tells what was asked of it.
#ifndef TESTS_SIM_DOORS_TRAPPED_MEMORY_FIXTURE_H
#define TESTS_SIM_DOORS_TRAPPED_MEMORY_FIXTURE_H

#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "doors/trapped_memory.h"

namespace zvgsim {

constexpr size_t page_size = 4096;
constexpr size_t mapped_pages = 4;
constexpr uint64_t counter_at = 0x40;  // a register that counts how often it is read
constexpr uint64_t adder_at = 0x48;    // a register that adds what is written to it

// Storage that tells what was asked of it.
class Recorder : public AccessModel {
 public:
  void lock() override { lock_.lock(); }
  void unlock() override { lock_.unlock(); }

  uint64_t load(uint64_t offset, unsigned width) override {
    uint64_t value = 0;
    if (offset == counter_at) {
      value = ++count;
    } else {
      memcpy(&value, &bytes[offset], width);
    }
    record('r', width, offset, value);
    return value;
  }

  void store(uint64_t offset, unsigned width, uint64_t value) override {
    record('w', width, offset, value);
    if (offset == adder_at) {
      sum += value;
    } else {
      memcpy(&bytes[offset], &value, width);
    }
  }

  std::vector<std::string> take() {
    auto taken = std::move(log);
    log.clear();
    return taken;
  }

  uint8_t bytes[mapped_pages * page_size] = {};
  uint64_t count = 0;
  uint64_t sum = 0;
  bool quiet = false;
  std::vector<std::string> log;

 private:
  void record(char what, unsigned width, uint64_t offset, uint64_t value) {
    if (quiet) return;
    char line[64];
    snprintf(line, sizeof line, "%c%u 0x%llx 0x%llx", what, width,
             static_cast<unsigned long long>(offset), static_cast<unsigned long long>(value));
    log.emplace_back(line);
  }

  std::mutex lock_;
};

class TrappedMemoryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!can_trap_memory()) GTEST_SKIP() << "this machine cannot trap memory";
    memory_ = map();
    ASSERT_NE(memory_, MAP_FAILED);
    // Whatever a sanitizer had put there.
    signal(SIGSEGV, SIG_DFL);
    signal(SIGTRAP, SIG_DFL);
    for (size_t i = 0; i < sizeof model_.bytes; ++i) {
      model_.bytes[i] = static_cast<uint8_t>(0x81 + i);
    }
  }
  void TearDown() override { forget_trapped(model_); }

  uint8_t* map(size_t length = mapped_pages * page_size, int protection = PROT_READ | PROT_WRITE,
               uint64_t offset = 0) {
    return static_cast<uint8_t*>(
        map_trapped(nullptr, length, protection, MAP_SHARED, model_, offset));
  }
  template <typename Value>
  volatile Value& at(uint64_t offset) {
    return *reinterpret_cast<volatile Value*>(memory_ + offset);
  }

  template <typename Value>
  void touch(uint64_t offset) {
    [[maybe_unused]] const Value value = at<Value>(offset);
  }

  Recorder model_;
  uint8_t* memory_ = nullptr;
};

}  // namespace zvgsim

#endif  // TESTS_SIM_DOORS_TRAPPED_MEMORY_FIXTURE_H
