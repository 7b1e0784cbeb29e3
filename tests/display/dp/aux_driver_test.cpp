// AUX transfers through the kernel driver, and the panel's self-test that is made of them.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>

#include <map>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::RecordedPlatform;

constexpr unsigned long aux_request = 0xC214640C;

struct Record {
  uint32_t zero, port, operation, address, length;
  uint8_t data[512];
};

class DpAuxDriver : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_GE(zvgRwOpen(0), 0);
    platform_.take();
    platform_.on_ioctl = [this](unsigned long number, void* record) {
      EXPECT_EQ(number, aux_request);
      Record& r = *static_cast<Record*>(record);
      requests_.push_back(r);
      if (failing_.count(r.address) != 0 && r.operation == failing_[r.address]) {
        errno = EIO;
        return -1;
      }
      for (uint32_t i = 0; r.operation == 1 && i < r.length; ++i) r.data[i] = dpcd_[r.address + i];
      if (r.operation == 0) dpcd_[r.address] = r.data[0];
      if (r.operation == 2) {
        r.length = edid_count_;
        memset(r.data, 0xED, sizeof r.data);
      }
      return 0;
    };
  }
  // The requests as "operation port address length first byte of data".
  std::vector<std::string> taken() {
    std::vector<std::string> lines;
    for (const Record& r : requests_) {
      EXPECT_EQ(r.zero, 0u);
      char line[64];
      snprintf(line, sizeof line, "%u %u 0x%x %u 0x%x", r.operation, r.port, r.address, r.length,
               r.data[0]);
      lines.push_back(line);
      for (int i = 1; i < 512; ++i) EXPECT_EQ(r.data[i], 0);
    }
    requests_.clear();
    return lines;
  }

  RecordedPlatform platform_;
  std::vector<Record> requests_;
  std::map<uint32_t, uint8_t> dpcd_;
  std::map<uint32_t, uint32_t> failing_;  // address, operation
  uint32_t edid_count_ = 256;
};

TEST_F(DpAuxDriver, Reads) {
  dpcd_ = {{0x202, 0x77}, {0x203, 0x88}};
  uint8_t byte = 0;
  EXPECT_EQ(zvgDpAuxRead(1, 0x202, &byte), 0);
  EXPECT_EQ(byte, 0x77);
  uint8_t bytes[17];
  memset(bytes, 0xCC, sizeof bytes);
  EXPECT_EQ(zvgDpAuxReadBuf(3, 0x202, bytes, 16), 0);
  EXPECT_EQ(bytes[1], 0x88);
  EXPECT_EQ(bytes[15], 0);
  EXPECT_EQ(bytes[16], 0xCC);
  EXPECT_EQ(zvgDpAuxReadBuf(9, 0x202, bytes, 0), 0) << "no port is checked";
  EXPECT_THAT(taken(), ElementsAre("1 1 0x202 1 0x0", "1 3 0x202 16 0x0", "1 9 0x202 0 0x0"));
}

TEST_F(DpAuxDriver, SeventeenBytesAreRefusedBeforeTheRequest) {
  uint8_t bytes[17];
  auto output = capture([&] { EXPECT_EQ(zvgDpAuxReadBuf(0, 0, bytes, 17), -1); });
  EXPECT_EQ(output.out, "size 17 is out of range\n");
  EXPECT_EQ(output.err, "");
  output = capture([&] { EXPECT_EQ(zvgDpAuxReadBuf(0, 0, bytes, UINT32_MAX), -1); });
  EXPECT_EQ(output.out, "size -1 is out of range\n");
  EXPECT_THAT(platform_.take(), IsEmpty());
}

TEST_F(DpAuxDriver, FailedReadKeepsTheBuffer) {
  failing_ = {{0x10, 1}};
  uint8_t byte = 0xCC;
  EXPECT_EQ(zvgDpAuxRead(0, 0x10, &byte), -1);
  EXPECT_EQ(byte, 0xCC);
}

TEST_F(DpAuxDriver, Write) {
  EXPECT_EQ(zvgDpAuxWrite(2, 0x100, 0x314), 0);
  failing_ = {{0x101, 0}};
  EXPECT_EQ(zvgDpAuxWrite(2, 0x101, 4), -1);
  EXPECT_THAT(taken(), ElementsAre("0 2 0x100 1 0x14", "0 2 0x101 1 0x4"));
}

TEST_F(DpAuxDriver, Edid) {
  uint8_t bytes[513];
  memset(bytes, 0xCC, sizeof bytes);
  uint32_t length = 7;
  EXPECT_EQ(zvgDpAuxEdidGet(3, bytes, &length), 0);
  EXPECT_EQ(length, 256u);
  EXPECT_EQ(bytes[255], 0xED);
  EXPECT_EQ(bytes[256], 0xCC);
  EXPECT_THAT(taken(), ElementsAre("2 3 0x0 0 0x0"));
  edid_count_ = 600;
  EXPECT_EQ(zvgDpAuxEdidGet(3, bytes, &length), 0);
  EXPECT_EQ(length, 512u) << "the record holds no more";
  EXPECT_EQ(bytes[512], 0xCC);
  failing_ = {{0, 2}};
  length = 7;
  EXPECT_EQ(zvgDpAuxEdidGet(3, bytes, &length), -1);
  EXPECT_EQ(length, 7u);
}

TEST_F(DpAuxDriver, NoConnectionIsTheRequestsFailure) {
  zvgClose();
  uint8_t byte = 0;
  EXPECT_EQ(zvgDpAuxRead(0, 0, &byte), -1);
  EXPECT_EQ(zvgDpAuxWrite(0, 0, 0), -1);
}

TEST_F(DpAuxDriver, SelfTestSwitches) {
  dpcd_ = {{0x701, 0x10}, {0x10A, 0x01}};
  EXPECT_EQ(zvgEdpSelfTestSet(3, 1), 0);
  EXPECT_THAT(taken(), ElementsAre("1 3 0x701 1 0x0", "1 3 0x10a 1 0x0", "0 3 0x10a 1 0x80"));
  EXPECT_EQ(zvgEdpSelfTestSet(3, 0), 0);
  EXPECT_THAT(taken(), ElementsAre("1 3 0x701 1 0x0", "1 3 0x10a 1 0x0", "0 3 0x10a 1 0x0"));
}

TEST_F(DpAuxDriver, SelfTestThatIsInItsStateStaysThere) {
  dpcd_ = {{0x701, 0xFF}};
  for (const uint32_t state : {0u, 1u}) {
    dpcd_[0x10A] = state != 0 ? 0xFF : 0x7F;
    const auto output = capture([&] { EXPECT_EQ(zvgEdpSelfTestSet(0, state), 0); });
    EXPECT_EQ(output.out, "eDP state is same as state" + std::to_string(state));
    EXPECT_EQ(output.err, "");
  }
  EXPECT_EQ(requests_.size(), 4u);
}

TEST_F(DpAuxDriver, PanelWithoutSelfTest) {
  dpcd_ = {{0x701, 0xEF}};
  const auto output = capture([&] { EXPECT_EQ(zvgEdpSelfTestSet(1, 0x101), -1); });
  EXPECT_EQ(output.out, "Panel self test incapable to enable, Failed to set state1\n");
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(requests_.size(), 1u);
}

TEST_F(DpAuxDriver, SelfTestFailures) {
  dpcd_ = {{0x701, 0x10}};
  for (const uint32_t address : {0x701u, 0x10Au}) {
    failing_ = {{address, 1}};
    const auto output = capture([&] { EXPECT_EQ(zvgEdpSelfTestSet(0, 1), -22); });
    EXPECT_EQ(output.out, "Failed to read DPCD register 0x10a\n");
  }
  failing_ = {{0x10A, 0}};
  const auto output = capture([&] { EXPECT_EQ(zvgEdpSelfTestSet(0, 1), -22); });
  EXPECT_EQ(output.out, "Failed to write edp self test mode\n");
  EXPECT_EQ(output.err, "");
}

}  // namespace
