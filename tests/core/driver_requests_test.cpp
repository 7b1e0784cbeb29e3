// The driver's request contract: every record byte for byte.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using zvgtest::capture;
using zvgtest::hex;
using zvgtest::RecordedPlatform;

std::string repeat(const std::string& text, size_t count) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

class DriverRequests : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_GE(zvgRwOpen(0), 0);
    platform_.take();
    zvgSetCard(2);
  }

  // Makes every request fill its record with bytes counting from first, then end with result.
  void answer(int result, uint8_t first = 1) {
    platform_.on_ioctl = [result, first](unsigned long number, void* record) {
      auto* const bytes = static_cast<uint8_t*>(record);
      for (size_t i = 0; i < ((number >> 16) & 0x3FFF); ++i) {
        bytes[i] = static_cast<uint8_t>(first + i);
      }
      errno = EIO;
      return result;
    };
  }

  RecordedPlatform platform_;
};

constexpr char generic[] =
    "01000000020000000300000004000000887766554433"
    "2211";

TEST_F(DriverRequests, GenericOperationsPassTheirNumbersOn) {
  constexpr uint64_t value = 0x1122334455667788;
  struct {
    int (*call)(uint32_t, uint32_t, uint32_t, uint32_t, uint64_t);
    const char* number;
  } const operations[] = {
      {zvg3DOperate, "0xc0186407"},   {zvg2DOperate, "0xc0186408"},  {zvgDacOperate, "0xc0186409"},
      {zvgHDMIOperate, "0xc018640a"}, {zvgDvoOperate, "0xc018640b"}, {zvgSpiOperate, "0xc018640e"},
  };
  for (const auto& operation : operations) {
    EXPECT_EQ(operation.call(1, 2, 3, 4, value), 0);
    EXPECT_THAT(platform_.take(),
                ElementsAre(std::string("ioctl ") + operation.number + " " + generic));
  }
  platform_.on_ioctl = [](unsigned long, void*) { return -1; };
  for (const auto& operation : operations) EXPECT_EQ(operation.call(0, 0, 0, 0, 0), -1);
  platform_.on_ioctl = [](unsigned long, void*) { return 5; };
  for (const auto& operation : operations) EXPECT_EQ(operation.call(0, 0, 0, 0, 0), 5);
}

TEST_F(DriverRequests, DdrOperationHandsOverALongZeroedRecord) {
  EXPECT_EQ(zvgDDROperate(1, 2, 3, 4, 0x1122334455667788), 0);
  EXPECT_THAT(platform_.take(),
              ElementsAre("ioctl 0xc214640c " + (generic + repeat("00", 532 - 24))));
}

TEST_F(DriverRequests, QuerySendsOnlyTheFirstByteAndCopiesEverythingBack) {
  uint8_t buffer[128];
  memset(buffer, 0xEE, sizeof buffer);
  answer(0, 0);
  EXPECT_EQ(zvgQueryOperate(11, buffer), 0);
  EXPECT_THAT(platform_.take(),
              ElementsAre("ioctl 0xc0886410 020000000b000000ee" + repeat("00", 127)));
  for (int i = 0; i < 128; ++i) EXPECT_EQ(buffer[i], 8 + i);
}

TEST_F(DriverRequests, FailedQueryAlsoCopiesBack) {
  uint8_t buffer[128] = {};
  answer(-1, 0);
  EXPECT_EQ(zvgQueryOperate(9, buffer), -1);
  EXPECT_EQ(buffer[0], 8);
  EXPECT_EQ(buffer[127], 135);
}

TEST_F(DriverRequests, QueryIntSendsTheLowByteAndStoresOnSuccess) {
  answer(0, 0);
  uint32_t value = 0x12345614;
  EXPECT_EQ(zvgQueryInt(11, &value), 0);
  EXPECT_EQ(value, 0x0B0A0908u);
  EXPECT_THAT(platform_.take(),
              ElementsAre("ioctl 0xc0886410 020000000b00000014" + repeat("00", 127)));
}

TEST_F(DriverRequests, QueryIntLeavesTheValueAfterAFailure) {
  answer(-1);
  uint32_t value = 77;
  EXPECT_EQ(zvgQueryInt(0, &value), -1);
  EXPECT_EQ(value, 77u);
}

TEST_F(DriverRequests, VersionsComeInOrder) {
  answer(0);
  uint32_t a = 0, b = 0, c = 0, d = 0;
  EXPECT_EQ(zvgKrtcoreVer(&a, &b, &c, &d), 0);
  EXPECT_EQ(a, 0x04030201u);
  EXPECT_EQ(b, 0x08070605u);
  EXPECT_EQ(c, 0x0C0B0A09u);
  EXPECT_EQ(d, 0x100F0E0Du);
  EXPECT_THAT(platform_.take(), ElementsAre("ioctl 0xc0106403 " + repeat("00", 16)));
}

TEST_F(DriverRequests, VersionsSkipNullPointersAndStoreAfterAFailure) {
  answer(-1);
  EXPECT_EQ(zvgKrtcoreVer(nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(platform_.take().size(), 1u);
  uint32_t c = 0;
  EXPECT_EQ(zvgKrtcoreVer(nullptr, nullptr, &c, nullptr), -1);
  EXPECT_EQ(c, 0x0C0B0A09u);
}

TEST_F(DriverRequests, PciNamesCardZeroWhateverIsSelected) {
  uint32_t value = 0xAABBCCDD;
  answer(0);
  EXPECT_EQ(zvgPciRead(0x10, &value), 0);
  EXPECT_EQ(value, 0x100F0E0Du);
  EXPECT_THAT(platform_.take(), ElementsAre("ioctl 0xc0106404 000000000000000010000000ddccbbaa"));
}

TEST_F(DriverRequests, PciReadStoresAfterAFailure) {
  uint32_t value = 1;
  answer(-1);
  EXPECT_EQ(zvgPciRead(0x10, &value), -1);
  EXPECT_EQ(value, 0x100F0E0Du);
}

TEST_F(DriverRequests, PciWrite) {
  EXPECT_EQ(zvgPciWrite(0x44, 0x01020304), 0);
  EXPECT_THAT(platform_.take(), ElementsAre("ioctl 0xc0106404 000000000100000044000000"
                                            "04030201"));
  platform_.on_ioctl = [](unsigned long, void*) { return -1; };
  EXPECT_EQ(zvgPciWrite(0, 0), -1);
}

TEST_F(DriverRequests, InfoGoesOutInTheCallersRecord) {
  zvg_info info = {9, 8, 7, 6};
  EXPECT_EQ(zvgInfoRead(&info), 0);
  EXPECT_THAT(platform_.take(), ElementsAre("ioctl 0xc0106405 02000000080000000700000006000000"));
  answer(-1);
  EXPECT_EQ(zvgInfoRead(&info), -1);
  EXPECT_EQ(info.card, 0x04030201u);
  EXPECT_EQ(info.free, 0x100F0E0Du);
}

TEST_F(DriverRequests, DumpVramFreeSendsCommandFive) {
  const auto quiet = capture([] { EXPECT_EQ(zvgDumpVramFree(), 0); });
  EXPECT_EQ(quiet.out + quiet.err, "");
  EXPECT_THAT(platform_.take(),
              ElementsAre("ioctl 0xc0506411 0200000005000000" + repeat("00", 72)));
  platform_.on_ioctl = [](unsigned long, void*) { return -1; };
  const auto output = capture([] { EXPECT_EQ(zvgDumpVramFree(), -1); });
  EXPECT_EQ(output.out, "card 2: dump vram node failed\n");
  EXPECT_EQ(output.err, "");
}

// The I2C record: card, bus, device, register, op, length, 512 bytes of data, result.
std::string i2c(uint32_t bus, uint32_t device, uint32_t reg, uint32_t op, uint32_t length,
                const std::vector<uint8_t>& data = {}) {
  uint32_t head[] = {2, bus, device, reg, op, length};
  uint8_t rest[516] = {};
  std::copy(data.begin(), data.end(), rest);
  return "ioctl 0xc21c640f " + hex(head, sizeof head) + hex(rest, sizeof rest);
}

TEST_F(DriverRequests, I2cWriteCarriesTheData) {
  uint8_t data[] = {0xAA, 0xBB, 0xCC};
  platform_.on_ioctl = [](unsigned long, void* record) {
    const uint32_t status = 17;
    memcpy(static_cast<uint8_t*>(record) + 536, &status, sizeof status);
    return 0;
  };
  EXPECT_EQ(zvgI2cOperate(5, 0x4C, 0x12, 1, 3, data), 17);
  EXPECT_THAT(platform_.take(), ElementsAre(i2c(5, 0x4C, 0x12, 1, 3, {0xAA, 0xBB, 0xCC})));
}

TEST_F(DriverRequests, I2cReadBringsTheDataBack) {
  answer(0, 0);
  uint8_t data[5] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
  const int result = zvgI2cOperate(0, 0x50, 0, 0, 4, data);
  EXPECT_EQ(static_cast<uint32_t>(result), 0x1B1A1918u);  // the record's last word
  EXPECT_THAT(data, ElementsAre(24, 25, 26, 27, 0xEE));
  EXPECT_THAT(platform_.take(), ElementsAre(i2c(0, 0x50, 0, 0, 4)));
}

TEST_F(DriverRequests, I2cReadOfNothingCopiesNothing) {
  answer(0, 0);
  uint8_t data[1] = {0xEE};
  EXPECT_EQ(static_cast<uint32_t>(zvgI2cOperate(0, 0x50, 0, 0, 0, data)), 0x1B1A1918u);
  EXPECT_EQ(data[0], 0xEE);
  EXPECT_EQ(static_cast<uint32_t>(zvgI2cOperate(0, 0x50, 0, 1, 0, nullptr)), 0x1B1A1918u);
}

TEST_F(DriverRequests, OtherI2cOperationsPassThroughWithoutCopies) {
  answer(0, 0);
  uint8_t data[2] = {0xEE, 0xEE};
  zvgI2cOperate(1, 2, 3, 7, 2, data);
  EXPECT_THAT(data, ElementsAre(0xEE, 0xEE));
  EXPECT_THAT(platform_.take(), ElementsAre(i2c(1, 2, 3, 7, 2)));
}

TEST_F(DriverRequests, FailedI2cIsReportedAndLeavesTheData) {
  answer(-1);
  uint8_t data[2] = {0xEE, 0xEE};
  const auto output = capture([&] {
    EXPECT_EQ(zvgI2cOperate(0, 0x50, 0, 0, 2, data), -1);
    EXPECT_EQ(zvgI2cOperate(0, 0x50, 0, 1, 2, data), -1);
  });
  EXPECT_EQ(output.out, "ioctl zvg_ioctl_i2c error\nioctl zvg_ioctl_i2c error\n");
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(data, ElementsAre(0xEE, 0xEE));
}

TEST_F(DriverRequests, I2cLengthIsClampedToTheRecord) {
  std::vector<uint8_t> data(600, 0x5A);
  zvgI2cOperate(0, 1, 2, 1, 600, data.data());
  EXPECT_THAT(platform_.take(), ElementsAre(i2c(0, 1, 2, 1, 512, std::vector<uint8_t>(512, 0x5A))));
}

TEST(DriverRequestsWithoutADriver, FailAtTheDescriptor) {
  EXPECT_EQ(zvg3DOperate(0, 0, 0, 0, 0), -1);
  EXPECT_EQ(errno, EBADF);
  uint32_t value = 3;
  EXPECT_EQ(zvgQueryInt(0, &value), -1);
  EXPECT_EQ(value, 3u);
  EXPECT_EQ(zvgPciWrite(0, 0), -1);
}

}  // namespace
