// The microcontroller: reset, requests over its shared page, and the EDID fetched through it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>

#include "support/capture.h"
#include "support/log.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::join;
using zvgtest::Log;
using zvgtest::RegisterNode;

static_assert(sizeof(zvg_mcu_request) == 16 && offsetof(zvg_mcu_request, second_selector) == 0 &&
              offsetof(zvg_mcu_request, first_selector) == 1 &&
              offsetof(zvg_mcu_request, offset) == 2 && offsetof(zvg_mcu_request, length) == 4 &&
              offsetof(zvg_mcu_request, buffer) == 8);

class Mcu : public testing::Test {
 protected:
  void SetUp() override {
    for (size_t i = 0; i < edid_.size(); ++i) edid_[i] = static_cast<uint8_t>(i * 7);
    edid_[126] = 0;
    node_.on_read = [this](uint64_t at, uint64_t* value) {
      switch (at) {
        case 0x3FF00:
          *value = alive_ ? 0xDEADBEEF : 0xDEADBEEE;
          return true;
        case 0x3FF1C:
          *value = ++done_reads_ > busy_reads_ ? 0x55AA55AA : 0x55AA55AB;
          return true;
        case 0x3FF12:
          *value = status_ ? status_() : 0;
          return true;
        default:
          if (at < 0x3FF80) return false;
          *value = edid_.at(node_.bytes[0x3FF1A] + (at - 0x3FF80));
          return true;
      }
    };
    node_.open();
  }

  static Log request(unsigned offset, unsigned selectors, unsigned looks = 1) {
    char target[32], start[32];
    snprintf(target, sizeof target, "w1 0x3ff20 0x%x", selectors);
    snprintf(start, sizeof start, "w1 0x3ff1a 0x%x", offset);
    Log log = {"r4 0x3ff00",
               "w1 0x3ff11 0x1",
               "w4 0x3ff14 0x50",
               "w1 0x3ff10 0x0",
               target,
               "w1 0x3ff19 0x80",
               start,
               "w1 0x3ff13 0xaa",
               "usleep 5000",
               "r4 0x3ff1c"};
    for (unsigned i = 1; i < looks; ++i) {
      log.push_back("usleep 1000");
      log.push_back("r4 0x3ff1c");
    }
    log.push_back("r1 0x3ff12");
    return log;
  }
  static Log fifo(unsigned count) {
    Log log;
    for (unsigned i = 0; i < count; ++i) {
      char text[32];
      snprintf(text, sizeof text, "r1 0x%x", 0x3FF80 + i);
      log.push_back(text);
    }
    return log;
  }
  static Log rearm() { return {"w4 0x3ff1c 0x0"}; }

  RegisterNode node_;
  bool alive_ = true;
  unsigned busy_reads_ = 0;
  unsigned done_reads_ = 0;
  std::function<uint8_t()> status_;
  std::vector<uint8_t> edid_ = std::vector<uint8_t>(256);
};

TEST_F(Mcu, ARunningControllerIsNotReset) {
  EXPECT_EQ(ResetMcu(0x1AB, 0xDEADBEEF, 0x1CD, 0x1F, 0x25), 0);
  EXPECT_THAT(node_.take(), ElementsAre("r4 0x3ff00", "w1 0x3ff11 0xab", "w4 0x3ff14 0xdeadbeef",
                                        "w1 0x3ff10 0xcd", "w1 0x3ff20 0x5f"));
}

TEST_F(Mcu, AControllerThatDoesNotRunIsReset) {
  alive_ = false;
  EXPECT_EQ(ResetMcu(1, 2, 3, 4, 5), 0);
  EXPECT_THAT(node_.take(),
              ElementsAre("r4 0x3ff00", "w4 0x308068 0xffffff00", "w4 0x308068 0xffffff08",
                          "usleep 1000000", "w1 0x3ff11 0x1", "w4 0x3ff14 0x2", "w1 0x3ff10 0x3",
                          "w1 0x3ff20 0x54"));
}

TEST_F(Mcu, ResetReturnsTheLastWritesResult) {
  for (const uint64_t failing : {0x3FF11u, 0x3FF14u, 0x3FF10u, 0x3FF20u}) {
    node_.result = [failing](bool, uint64_t at) { return at == failing ? -1 : 0; };
    EXPECT_EQ(ResetMcu(1, 2, 3, 4, 5), failing == 0x3FF20 ? -1 : 0);
    EXPECT_EQ(node_.take().size(), 5u);
  }
}

TEST_F(Mcu, FifoReadsAByteARegister) {
  edid_[0] = 0xAA, edid_[1] = 0xBB;
  uint8_t bytes[3] = {};
  EXPECT_EQ(zvg_dp_mcu_fifo_read(bytes, 2), 2);
  EXPECT_THAT(bytes, ElementsAre(0xAA, 0xBB, 0));
  EXPECT_THAT(node_.take(), ElementsAreArray(fifo(2)));
  for (const int count : {0, -1, INT32_MIN}) EXPECT_EQ(zvg_dp_mcu_fifo_read(bytes, count), 0);
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(Mcu, ARequestIsRungWaitedForAndCopied) {
  busy_reads_ = 2;
  uint8_t bytes[4] = {};
  zvg_mcu_request request_record = {0x12, 0x3A, 0x20, 0xFF, 3, 0xFFFF, bytes};
  EXPECT_EQ(zvg_mcu_handle(&request_record), 3);
  EXPECT_THAT(bytes, ElementsAre(edid_[0x20], edid_[0x21], edid_[0x22], 0));
  EXPECT_THAT(node_.take(), ElementsAreArray(join({request(0x20, 0x2A, 3), fifo(3), rearm()})));
}

TEST_F(Mcu, AFailedTransferCopiesNothing) {
  status_ = [] { return 0x04; };
  uint8_t bytes[4] = {};
  zvg_mcu_request request_record = {0, 0, 0, 0, 4, 0, bytes};
  EXPECT_EQ(zvg_mcu_handle(&request_record), -32);
  EXPECT_THAT(bytes, Each(0));
  EXPECT_THAT(node_.take(), ElementsAreArray(join({request(0, 0), rearm()})));
  status_ = [] { return 0xFB; };  // only bit 2 counts
  EXPECT_EQ(zvg_mcu_handle(&request_record), 4);
}

TEST_F(Mcu, FetchesABaseBlockAlone) {
  uint8_t out[512];
  memset(out, 0x5A, sizeof out);
  uint32_t length = 0;
  EXPECT_EQ(mcu_i2c_get_edid(3, 9, out, &length), out);
  EXPECT_EQ(length, 128u);
  EXPECT_EQ(memcmp(out, edid_.data(), 128), 0);
  EXPECT_EQ(out[128], 0x5A);
  EXPECT_THAT(node_.take(), ElementsAreArray(join({request(0, 0x93), fifo(128), rearm()})));
}

TEST_F(Mcu, FetchesOneExtensionWhateverTheCount) {
  for (const unsigned extensions : {1u, 2u, 255u}) {
    edid_[126] = static_cast<uint8_t>(extensions);
    std::vector<uint8_t> out(256 * 128 + 1, 0x5A);
    uint32_t length = 0;
    const auto output = capture([&] { mcu_i2c_get_edid(1, 2, out.data(), &length); });
    EXPECT_EQ(output.out + output.err, "");
    EXPECT_EQ(length, (extensions + 1) * 128);
    EXPECT_EQ(memcmp(out.data(), edid_.data(), 256), 0);
    EXPECT_EQ(out[length], 0x5A);
    for (uint32_t i = 256; i < length; ++i) ASSERT_EQ(out[i], 0);
    EXPECT_THAT(node_.take(), ElementsAreArray(join({request(0, 0x21), fifo(128), rearm(),
                                                     request(0x80, 0x21), fifo(128), rearm()})));
  }
}

TEST_F(Mcu, SaysWhichBlockFailed) {
  uint8_t out[256];
  uint32_t length = 0;
  status_ = [] { return 0x04; };
  const auto first = capture([&] { EXPECT_EQ(mcu_i2c_get_edid(0, 0, out, &length), out); });
  EXPECT_EQ(first.out, "read edid failed-\n");
  EXPECT_EQ(first.err, "");
  EXPECT_EQ(length, 128u);

  edid_[126] = 1;
  status_ = [this] { return node_.bytes[0x3FF1A] == 0x80 ? 0x04 : 0x00; };
  const auto second = capture([&] { mcu_i2c_get_edid(0, 0, out, &length); });
  EXPECT_EQ(second.out, "read edid failed--\n");
  EXPECT_EQ(second.err, "");
  EXPECT_EQ(length, 256u);
  EXPECT_EQ(memcmp(out, edid_.data(), 128), 0);
}

}  // namespace
