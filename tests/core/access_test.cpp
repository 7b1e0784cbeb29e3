// The access families over driver requests, and their range checks.
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::hex;
using zvgtest::RecordedPlatform;
using zvgtest::RegisterNode;

struct RegisterRecord {
  uint32_t card, bar, op, width;
  uint64_t offset, value;
};

struct KmemRecord {
  uint64_t address;
  uint32_t op, width;
  uint64_t value;
};

std::string access(uint32_t card, uint32_t bar, uint32_t op, uint32_t width, uint64_t offset,
                   uint64_t value) {
  const RegisterRecord record = {card, bar, op, width, offset, value};
  return "ioctl 0xc0206401 " + hex(&record, sizeof record);
}

std::string kmem(uint64_t address, uint32_t op, uint32_t width, uint64_t value) {
  const KmemRecord record = {address, op, width, value};
  return "ioctl 0xc0186406 " + hex(&record, sizeof record);
}

// A driver connection whose register and kernel memory requests answer with one value.
class DriverAccess : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_GE(zvgRwOpen(0), 0);
    platform_.take();
    platform_.on_ioctl = [this](unsigned long number, void* record) {
      const size_t value = number == 0xC0186406 ? 16 : 24;
      memcpy(static_cast<uint8_t*>(record) + value, &answer_, sizeof answer_);
      errno = EIO;
      return result_;
    };
  }

  RecordedPlatform platform_;
  uint64_t answer_ = 0x8877665544332211;
  int result_ = 0;
};

TEST_F(DriverAccess, RegReadsSendOneRequestOfTheirWidth) {
  zvgSetCard(3);
  uint8_t byte = 0;
  uint16_t word = 0;
  uint32_t value = 0;
  uint64_t quad = 0;
  EXPECT_EQ(zvgRegReadByte(0x10, &byte), 0);
  EXPECT_EQ(zvgRegReadWord(0x20, &word), 0);
  EXPECT_EQ(zvgRegReadLong(0x30, &value), 0);
  EXPECT_EQ(zvgRegReadQuad(0xFFFFFF, &quad), 0);
  EXPECT_EQ(byte, 0x11);
  EXPECT_EQ(word, 0x2211);
  EXPECT_EQ(value, 0x44332211u);
  EXPECT_EQ(quad, answer_);
  EXPECT_THAT(platform_.take(),
              ElementsAre(access(3, 2, 0, 1, 0x10, 0), access(3, 2, 0, 2, 0x20, 0),
                          access(3, 2, 0, 4, 0x30, 0), access(3, 2, 0, 8, 0xFFFFFF, 0)));
}

TEST_F(DriverAccess, RegWritesCarryTheWidenedValue) {
  EXPECT_EQ(zvgRegWriteByte(0x10, 0xF1), 0);
  EXPECT_EQ(zvgRegWriteWord(0x20, 0xF234), 0);
  EXPECT_EQ(zvgRegWriteLong(0x30, 0xF2345678), 0);
  EXPECT_EQ(zvgRegWriteQuad(0x40, 0xF23456789ABCDEF0), 0);
  EXPECT_THAT(platform_.take(),
              ElementsAre(access(0, 2, 1, 1, 0x10, 0xF1), access(0, 2, 1, 2, 0x20, 0xF234),
                          access(0, 2, 1, 4, 0x30, 0xF2345678),
                          access(0, 2, 1, 8, 0x40, 0xF23456789ABCDEF0)));
}

TEST_F(DriverAccess, VramUsesBarZero) {
  uint8_t byte = 0;
  uint16_t word = 0;
  uint32_t value = 0;
  uint64_t quad = 0;
  EXPECT_EQ(zvgVramReadByte(0x1, &byte), 0);
  EXPECT_EQ(zvgVramReadWord(0x2, &word), 0);
  EXPECT_EQ(zvgVramReadLong(0x4, &value), 0);
  EXPECT_EQ(zvgVramReadQuad(0xFFFFFFF, &quad), 0);
  EXPECT_EQ(zvgVramWriteByte(0x1, 0x91), 0);
  EXPECT_EQ(zvgVramWriteWord(0x2, 0x9222), 0);
  EXPECT_EQ(zvgVramWriteLong(0x4, 0x93333333), 0);
  EXPECT_EQ(zvgVramWriteQuad(0x8, 0x9444444444444444), 0);
  EXPECT_EQ(byte, 0x11);
  EXPECT_EQ(word, 0x2211);
  EXPECT_EQ(value, 0x44332211u);
  EXPECT_EQ(quad, answer_);
  EXPECT_THAT(platform_.take(),
              ElementsAre(access(0, 0, 0, 1, 0x1, 0), access(0, 0, 0, 2, 0x2, 0),
                          access(0, 0, 0, 4, 0x4, 0), access(0, 0, 0, 8, 0xFFFFFFF, 0),
                          access(0, 0, 1, 1, 0x1, 0x91), access(0, 0, 1, 2, 0x2, 0x9222),
                          access(0, 0, 1, 4, 0x4, 0x93333333),
                          access(0, 0, 1, 8, 0x8, 0x9444444444444444)));
}

TEST_F(DriverAccess, RegRejectsOffsetsPastTheSpaceWithAMessage) {
  uint8_t byte = 0xEE;
  uint16_t word = 0xEEEE;
  uint32_t value = 0xEEEEEEEE;
  uint64_t quad = 0xEE;
  const auto output = capture([&] {
    EXPECT_EQ(zvgRegReadByte(0x1000000, &byte), -22);
    EXPECT_EQ(zvgRegReadWord(0x1000000, &word), -22);
    EXPECT_EQ(zvgRegReadLong(0x1000000, &value), -22);
    EXPECT_EQ(zvgRegReadQuad(~uint64_t{0}, &quad), -22);
    EXPECT_EQ(zvgRegWriteByte(0x1000000, 1), -22);
    EXPECT_EQ(zvgRegWriteWord(0x1000000, 1), -22);
    EXPECT_EQ(zvgRegWriteLong(0x1000000, 1), -22);
    EXPECT_EQ(zvgRegWriteQuad(0x1000000, 1), -22);
  });
  std::string expected;
  for (int i = 0; i < 8; ++i) expected += "Invalid argument: offset is out of range\n";
  EXPECT_EQ(output.err, expected);
  EXPECT_EQ(output.out, "");
  EXPECT_EQ(byte, 0xEE);
  EXPECT_EQ(word, 0xEEEE);
  EXPECT_EQ(value, 0xEEEEEEEEu);
  EXPECT_EQ(quad, 0xEEu);
  EXPECT_THAT(platform_.take(), IsEmpty());
}

TEST_F(DriverAccess, VramRejectsOffsetsPastTheSpaceSilently) {
  uint8_t byte = 0xEE;
  uint16_t word = 0xEEEE;
  uint32_t value = 0xEEEEEEEE;
  uint64_t quad = 0xEE;
  const auto output = capture([&] {
    EXPECT_EQ(zvgVramReadByte(0x10000000, &byte), -22);
    EXPECT_EQ(zvgVramReadWord(0x10000000, &word), -22);
    EXPECT_EQ(zvgVramReadLong(0x10000000, &value), -22);
    EXPECT_EQ(zvgVramReadQuad(0x10000000, &quad), -22);
    EXPECT_EQ(zvgVramWriteByte(0x10000000, 1), -22);
    EXPECT_EQ(zvgVramWriteWord(0x10000000, 1), -22);
    EXPECT_EQ(zvgVramWriteLong(0x10000000, 1), -22);
    EXPECT_EQ(zvgVramWriteQuad(0x10000000, 1), -22);
  });
  EXPECT_EQ(output.err + output.out, "");
  EXPECT_EQ(byte, 0xEE);
  EXPECT_EQ(word, 0xEEEE);
  EXPECT_EQ(value, 0xEEEEEEEEu);
  EXPECT_EQ(quad, 0xEEu);
  EXPECT_THAT(platform_.take(), IsEmpty());
}

TEST_F(DriverAccess, FailedReadsStoreWhatTheRecordHolds) {
  result_ = -1;
  uint32_t value = 0;
  EXPECT_EQ(zvgRegReadLong(0, &value), -1);
  EXPECT_EQ(value, 0x44332211u);
  EXPECT_EQ(zvgRegWriteByte(0, 1), -1);
  uint16_t word = 0;
  EXPECT_EQ(zvgVramReadWord(0, &word), -1);
  EXPECT_EQ(word, 0x2211);
}

TEST_F(DriverAccess, DispatcherPassesTheDriverWhateverItIsGiven) {
  uint64_t value = 0x55;
  EXPECT_EQ(zvgMmioOperate(7, 9, 3, 0x123456789AB, &value), 0);
  EXPECT_EQ(value, answer_);
  EXPECT_THAT(platform_.take(), ElementsAre(access(0, 7, 9, 3, 0x123456789AB, 0x55)));
  result_ = -1;
  answer_ = 5;
  EXPECT_EQ(zvgMmioOperate(2, 1, 4, 0, &value), -1);
  EXPECT_EQ(value, 5u) << "the value comes back after a failed write, too";
}

TEST_F(DriverAccess, KmemRequestsNameAddressAndWidth) {
  uint8_t byte = 0;
  uint16_t word = 0;
  uint32_t value = 0;
  uint64_t quad = 0;
  EXPECT_EQ(zvgKmemReadByte(0xFFFF888000000001, &byte), 0);
  EXPECT_EQ(zvgKmemReadWord(0x2, &word), 0);
  EXPECT_EQ(zvgKmemReadLong(0x4, &value), 0);
  EXPECT_EQ(zvgKmemReadQuad(0x8, &quad), 0);
  EXPECT_EQ(zvgKmemWriteByte(0x1, 0x91), 0);
  EXPECT_EQ(zvgKmemWriteWord(0x2, 0x9222), 0);
  EXPECT_EQ(zvgKmemWriteLong(0x4, 0x93333333), 0);
  EXPECT_EQ(zvgKmemWriteQuad(0x8, 0x9444444444444444), 0);
  EXPECT_EQ(byte, 0x11);
  EXPECT_EQ(word, 0x2211);
  EXPECT_EQ(value, 0x44332211u);
  EXPECT_EQ(quad, answer_);
  EXPECT_THAT(platform_.take(),
              ElementsAre(kmem(0xFFFF888000000001, 0, 1, 0), kmem(0x2, 0, 2, 0), kmem(0x4, 0, 4, 0),
                          kmem(0x8, 0, 8, 0), kmem(0x1, 1, 1, 0x91), kmem(0x2, 1, 2, 0x9222),
                          kmem(0x4, 1, 4, 0x93333333), kmem(0x8, 1, 8, 0x9444444444444444)));
}

TEST_F(DriverAccess, FailedKmemReadsStoreTheRecordsValue) {
  result_ = -1;
  uint16_t word = 0;
  EXPECT_EQ(zvgKmemReadWord(0x2, &word), -1);
  EXPECT_EQ(word, 0x2211);
  EXPECT_EQ(zvgKmemWriteWord(0x2, 1), -1);
}

TEST(Kmem, OutsideDriverModeFailsAtTheDescriptor) {
  uint32_t value = 9;
  const auto output = capture([&] { EXPECT_EQ(zvgKmemReadLong(0, &value), -1); });
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(value, 0u);
  EXPECT_EQ(output.err + output.out, "");
}

TEST(NoConnection, AccessesAreRefused) {
  uint32_t value = 9;
  const auto output = capture([&] {
    EXPECT_EQ(zvgRegReadLong(0, &value), -22);
    EXPECT_EQ(zvgVramWriteByte(0, 1), -22);
  });
  EXPECT_EQ(output.err, "s_type (-1) is not supported\ns_type (-1) is not supported\n");
  EXPECT_EQ(value, 0u);
}

TEST(Ioport, RequestsCarryPortValueAndDirection) {
  RecordedPlatform platform;
  zvgRwOpen(0);
  platform.take();
  platform.on_ioctl = [](unsigned long, void* record) {
    static_cast<uint8_t*>(record)[1] = 0xAB;
    return 0;
  };
  uint8_t value = 0x12;
  EXPECT_EQ(zvgIoportRead(0xD4, &value), 0);
  EXPECT_EQ(value, 0xAB);
  EXPECT_EQ(zvgIoportWrite(0xD5, 0x34), 0);
  EXPECT_THAT(platform.take(), ElementsAre("ioctl 0xc0036412 d41200", "ioctl 0xc0036412 d53401"));
}

TEST(Ioport, FailedReadLeavesTheCallersByte) {
  RecordedPlatform platform;
  zvgRwOpen(0);
  platform.on_ioctl = [](unsigned long, void* record) {
    static_cast<uint8_t*>(record)[1] = 0xAB;
    errno = EPERM;
    return -1;
  };
  uint8_t value = 0x12;
  EXPECT_EQ(zvgIoportRead(0xD4, &value), -1);
  EXPECT_EQ(value, 0x12);
  EXPECT_EQ(zvgIoportWrite(0xD4, 1), -1);
}

TEST(Ioport, NeedsTheDriver) {
  RecordedPlatform platform;
  uint8_t value = 0x12;
  const auto check = [&] {
    const auto output = capture([&] {
      EXPECT_EQ(zvgIoportRead(0, &value), -22);
      EXPECT_EQ(zvgIoportWrite(0, 1), -22);
    });
    EXPECT_EQ(output.err,
              "ioport is only supported in driver mode\n"
              "ioport is only supported in driver mode\n");
    EXPECT_EQ(output.out, "");
  };
  check();
  zvgMemOpen(0, 0, 0, 0);
  check();
  zvgSerialOpen("/dev/ttyTEST", 9600);
  check();
}

TEST(MaskedWrite, KeepsTheBitsOutsideTheMask) {
  RegisterNode node;
  node.open();
  node.bytes[0x200] = 0xA5;
  EXPECT_EQ(zvgRegMskWriteByte(0x200, 0x0F, 0x33), 0);
  EXPECT_THAT(node.take(), ElementsAre("r1 0x200", "w1 0x200 0xa3"));
}

TEST(MaskedWrite, WritesAfterAFailedReadAndReturnsBoth) {
  RegisterNode node;
  node.open();
  node.result = [](bool write, uint64_t) { return write ? 0 : -1; };
  EXPECT_EQ(zvgRegMskWriteByte(0x200, 0x0F, 0xFF), -1);
  EXPECT_THAT(node.take(), ElementsAre("r1 0x200", "w1 0x200 0xf"));
  node.result = [](bool write, uint64_t) { return write ? 4 : 2; };
  EXPECT_EQ(zvgRegMskWriteByte(0x200, 0x0F, 0xFF), 6);
}

TEST(MaskedWrite, ChecksItsOffsetTwice) {
  RegisterNode node;
  node.open();
  const auto output = capture([] { EXPECT_EQ(zvgRegMskWriteByte(0x1000000, 1, 1), -22); });
  EXPECT_EQ(output.err,
            "Invalid argument: offset is out of range\nInvalid argument: offset is out of range\n");
}

TEST(RegReadLongBase, AddsBaseAndOffset) {
  RegisterNode node;
  node.open();
  node.bytes[0x308410] = 0x78;
  node.bytes[0x308413] = 0x12;
  uint32_t value = 0;
  const auto output = capture(
      [&] { value = zvgRegReadLongBase(reinterpret_cast<const uint8_t*>(0x308400), 0x10); });
  EXPECT_EQ(value, 0x12000078u);
  EXPECT_EQ(output.err + output.out, "");
  EXPECT_THAT(node.take(), ElementsAre("r4 0x308410"));
}

TEST(RegReadLongBase, ReportsTheSumOfAFailedRead) {
  RegisterNode node;
  node.open();
  uint32_t value = 1;
  const auto output =
      capture([&] { value = zvgRegReadLongBase(reinterpret_cast<const uint8_t*>(0xFFFFFF), 1); });
  EXPECT_EQ(value, 0u);
  EXPECT_EQ(output.out, "read long from 0x1000000 error\n");
  EXPECT_EQ(output.err, "Invalid argument: offset is out of range\n");
}

TEST(Crtc, FirstUseSelectsColourAddressing) {
  RegisterNode node;
  node.open();
  node.bytes[0x103D5] = 0x5A;
  uint8_t value = 0;
  EXPECT_EQ(zvgCrtcReadByte(0x11, &value), 0);
  EXPECT_EQ(value, 0x5A);
  EXPECT_THAT(node.take(),
              ElementsAre("r1 0x103cc", "w1 0x103c2 0x3", "w1 0x103d4 0x11", "r1 0x103d5"));
  EXPECT_EQ(zvgCrtcWriteByte(254, 0x77), 0);
  EXPECT_THAT(node.take(), ElementsAre("w1 0x103d4 0xfe", "w1 0x103d5 0x77"));
}

TEST(Crtc, ColourAddressingThatIsOnIsOnlyNoted) {
  RegisterNode node;
  node.open();
  node.bytes[0x103CC] = 0x67;
  EXPECT_EQ(zvgCrtcWriteByte(0, 1), 0);
  EXPECT_THAT(node.take(), ElementsAre("r1 0x103cc", "w1 0x103d4 0x0", "w1 0x103d5 0x1"));
  // Never again in the process, not even after a close.
  node.bytes[0x103CC] = 0;
  zvgClose();
  node.open();
  EXPECT_EQ(zvgCrtcWriteByte(0, 1), 0);
  EXPECT_THAT(node.take(), ElementsAre("w1 0x103d4 0x0", "w1 0x103d5 0x1"));
}

TEST(Crtc, BitsButTheLowestDoNotMakeColourAddressing) {
  RegisterNode node;
  node.open();
  node.bytes[0x103CC] = 0xFE;
  EXPECT_EQ(zvgCrtcWriteByte(0, 1), 0);
  EXPECT_THAT(node.take(),
              ElementsAre("r1 0x103cc", "w1 0x103c2 0x3", "w1 0x103d4 0x0", "w1 0x103d5 0x1"));
}

TEST(Crtc, RejectsIndex255AndAbove) {
  RegisterNode node;
  node.open();
  uint8_t value = 0x12;
  const auto output = capture([&] {
    EXPECT_EQ(zvgCrtcReadByte(255, &value), -22);
    EXPECT_EQ(zvgCrtcWriteByte(0x100, 1), -22);
  });
  EXPECT_EQ(output.err,
            "Invalid argument: offset is out of range\nInvalid argument: offset is out of range\n");
  EXPECT_EQ(value, 0x12);
  EXPECT_THAT(node.take(), IsEmpty());
}

TEST(Crtc, ReturnsTheDataAccessesResult) {
  RegisterNode node;
  node.open();
  node.bytes[0x103CC] = 1;
  node.result = [](bool, uint64_t offset) { return offset == 0x103D4 ? -1 : 0; };
  uint8_t value = 0;
  EXPECT_EQ(zvgCrtcReadByte(1, &value), 0) << "the index write's result does not count";
  node.result = [](bool, uint64_t offset) { return offset == 0x103D5 ? -1 : 0; };
  EXPECT_EQ(zvgCrtcReadByte(1, &value), -1);
  EXPECT_EQ(zvgCrtcWriteByte(1, 2), -1);
}

}  // namespace
