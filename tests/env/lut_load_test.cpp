// The lookup-table command.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "env/scarce_memory.h"
#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::RecordedPlatform;

class LutLoad : public testing::Test {
 protected:
  void SetUp() override {
    fd_ = zvgRwOpen(0);
    ASSERT_GE(fd_, 0);
    platform_.take();
    platform_.on_ioctl = [this](unsigned long number, void* record) {
      EXPECT_EQ(number, 0xC0206413u);
      request_ = *static_cast<zvg_crtc_lut*>(record);
      const auto* const entries =
          reinterpret_cast<const uint16_t*>(static_cast<uintptr_t>(request_.red));
      EXPECT_EQ(request_.green, request_.red + 512);
      EXPECT_EQ(request_.blue, request_.red + 1024);
      for (size_t c = 0; c < 3; ++c) {
        std::copy(entries + c * 256, entries + (c + 1) * 256, sent_[c].begin());
      }
      ++requests_;
      return result_;
    };
  }
  int load(const std::string& command) {
    int result = 0;
    requests_ = 0;
    output_ = capture([&] { result = zvg_lut_load(fd_, command.c_str()); }).out;
    return result;
  }
  // Whether what was sent is what a setting gives.
  bool sent(const zvg_color_setting& setting) {
    std::array<std::array<uint16_t, 256>, 3> expected;
    for (auto& channel : expected) {
      for (unsigned i = 0; i < 256; ++i) channel[i] = static_cast<uint16_t>(i * 256);
    }
    colorramp_fill(expected[0].data(), expected[1].data(), expected[2].data(), 256, &setting);
    return requests_ == 1 && request_.crtc == setting.crtc && request_.size == 256 &&
           sent_ == expected;
  }

  RecordedPlatform platform_;
  int fd_ = -1;
  int result_ = 0;
  int requests_ = 0;
  zvg_crtc_lut request_{};
  std::array<std::array<uint16_t, 256>, 3> sent_{};
  std::string output_;
};

TEST_F(LutLoad, Commands) {
  const struct {
    const char* command;
    zvg_color_setting setting;
  } cases[] = {
      {"0", {0, 6500, {1, 1, 1}, 1}},
      {"3 br 0.5", {3, 6500, {1, 1, 1}, 0.5f}},
      {"1 ga 2.2:1.8:0.9", {1, 6500, {2.2f, 1.8f, 0.9f}, 1}},
      {"2 ct 3450", {2, 3450, {1, 1, 1}, 1}},
      {"0 ct 5000 br 0.8 ga 1.1:1.2:1.3", {0, 5000, {1.1f, 1.2f, 1.3f}, 0.8f}},
      {" \t2,ga1:2:3,br.5,ct 1000\r\n", {2, 1000, {1, 2, 3}, 0.5f}},
      {"0 ct 25099", {0, 25099, {1, 1, 1}, 1}},
      {"0x1 ct 4000", {0, 4000, {1, 1, 1}, 1}},         // a decimal number: 0
      {"1\nnebr 0.25", {1, 6500, {1, 1, 1}, 0.25f}},    // found inside another word
      {"0 br 0.5 br 0.7", {0, 6500, {1, 1, 1}, 0.5f}},  // the first one counts
      {"ga 1:1:1 br 0.5", {0, 6500, {1, 1, 1}, 0.5f}},  // the first word is no number: 0
  };
  for (const auto& c : cases) {
    EXPECT_EQ(load(c.command), 0) << c.command;
    EXPECT_TRUE(sent(c.setting)) << c.command;
    EXPECT_EQ(output_, "") << c.command;
  }
}

TEST_F(LutLoad, HalfBrightnessHalvesEveryEntry) {
  load("0 br 0.5");
  for (unsigned i = 0; i < 256; ++i) EXPECT_EQ(sent_[1][i], i * 128);
  EXPECT_EQ(sent_[0][255], 32640);
}

TEST_F(LutLoad, RefusedCommandsSendNothing) {
  const std::string range = "[ERROR]crtc_id is out of range.\n";
  const std::string gamma = "[ERROR] Can't get gamma value.\n";
  const std::string brightness = "[ERROR] Can't get brightness value.\n";
  const std::string temperature = "[ERROR] Can't get color temperature value.\n";
  const struct {
    std::string command;
    int result;
    std::string text;
  } cases[] = {
      {std::string(256, ' '), -1, "[ERROR]cmdline is too long.\n"},
      {"0" + std::string(300, ' '), -1, "[ERROR]cmdline is too long.\n"},
      {std::string(255, ' '), -1, range},
      {"", -1, range},
      {"4", -1, range},
      {"-1", -1, range},
      {"99999999999999999999", -1, range},
      {"4294967296", -1, range},
      {"0 ga 2.2", -22, gamma},
      {"0 ga 2.2:1.8", -22, gamma},
      {"0 ga 2.2 1.8 1.0", -22, gamma},
      {"0 ga", -22, gamma},
      {"0 br", -22, brightness},
      {"0 br x ga 1:1:1", -22, brightness},
      {"0 ct warm", -22, temperature},
      {"0 ga br ct", -22, gamma},
      {"0 br ct", -22, brightness},
      {"0 ct 999", -22, "[ERROR] color temperature 999 is out of range [1000, 25099].\n"},
      {"0 ct 25100", -22, "[ERROR] color temperature 25100 is out of range [1000, 25099].\n"},
      {"0 ct -6500", -22, "[ERROR] color temperature -6500 is out of range [1000, 25099].\n"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(load(c.command), c.result) << c.command;
    EXPECT_EQ(output_, c.text) << c.command;
    EXPECT_EQ(requests_, 0) << c.command;
  }
  EXPECT_THAT(platform_.take(), IsEmpty());
}

TEST_F(LutLoad, LongestCommand) {
  EXPECT_EQ(load("2" + std::string(254, ' ')), 0);
  EXPECT_TRUE(sent({2, 6500, {1, 1, 1}, 1}));
}

TEST_F(LutLoad, RequestsResultIsReturnedUnchanged) {
  for (const int result : {-1, 7}) {
    result_ = result;
    EXPECT_EQ(load("0"), result);
    EXPECT_EQ(output_, "");
  }
}

// The driver may leave anything in a record that it also writes.
TEST_F(LutLoad, WhatTheDriverLeavesInTheRecordIsNotFreed) {
  const auto record_requests = platform_.on_ioctl;
  std::array<uint16_t, 256> entries_of_nobody{};
  for (const uint64_t left : {uint64_t{reinterpret_cast<uintptr_t>(entries_of_nobody.data())},
                              uint64_t{0}, uint64_t{0xFFFFFFFFFFFFFFF0}}) {
    platform_.on_ioctl = [&](unsigned long number, void* record) {
      const int result = record_requests(number, record);
      *static_cast<zvg_crtc_lut*>(record) = {9, 9, left, left, left};
      return result;
    };
    EXPECT_EQ(load("2"), 0);
    EXPECT_EQ(requests_, 1);
  }
}

#if defined(ZVG_SCARCE_MEMORY)
// Two allocations are needed; none of them may be missing.
TEST_F(LutLoad, WithoutMemoryNothingIsSent) {
  using zvgtest::ScarceMemory;
  constexpr zvg_color_setting setting = {0, 6500, {1, 1, 1}, 1};
  for (const unsigned failing : {1u, 2u}) {
    for (const auto lasts : {ScarceMemory::Lasts::once, ScarceMemory::Lasts::for_ever}) {
      zvg_crtc_lut* lut = nullptr;
      int result = 0, gamma = 0, error = 0;
      uint8_t command[] = "1 br 0.5";
      const auto output = capture([&] {
        {
          const ScarceMemory scarce(failing, lasts);
          lut = zvg_set_color(&setting);
        }
        {
          const ScarceMemory scarce(failing, lasts);
          result = zvg_lut_load(fd_, "0");
          error = errno;
        }
        const ScarceMemory scarce(failing, lasts);
        gamma = zvgCrtcGammaSet(command);
      });
      EXPECT_EQ(lut, nullptr);
      EXPECT_EQ(result, -1);
      EXPECT_EQ(error, ENOMEM);
      EXPECT_EQ(gamma, -1);
      EXPECT_EQ(output.out + output.err, "");
    }
  }
  EXPECT_EQ(requests_, 0);
  EXPECT_THAT(platform_.take(), IsEmpty());
}
#endif

TEST_F(LutLoad, GammaOfTheOpenConnection) {
  uint8_t command[] = "1 br 0.5";
  EXPECT_EQ(zvgCrtcGammaSet(command), 0);
  EXPECT_EQ(requests_, 1);
  EXPECT_EQ(request_.crtc, 1u);
  zvgClose();
  EXPECT_EQ(zvgCrtcGammaSet(command), -1);
  EXPECT_EQ(requests_, 1);
}

}  // namespace
