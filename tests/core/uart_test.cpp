// Register access frames on the serial line.
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
using zvgtest::RecordedPlatform;

// A serial connection whose board answers with the given words, one a read.
class Uart : public testing::Test {
 protected:
  void SetUp() override {
    platform_.on_read = [this](uint8_t* buffer, size_t size) -> ssize_t {
      if (replies_.empty() || size < 4) return 0;
      const uint32_t word = __builtin_bswap32(replies_.front());
      replies_.erase(replies_.begin());
      memcpy(buffer, &word, 4);
      return 4;
    };
    ASSERT_GE(zvgSerialOpen("/dev/ttyTEST", 9600), 0);
    platform_.take();
  }

  RecordedPlatform platform_;
  std::vector<uint32_t> replies_;
};

const std::string wait = "select 2.000000";
const std::string room = "room 2.000000";

TEST_F(Uart, ByteWriteShiftsTheByteIntoItsLane) {
  EXPECT_EQ(zvgUartWriteByte(0x1000003, 0x5A), 0);
  EXPECT_EQ(zvgUartWriteByte(0x1000000, 0x5B), 0);
  EXPECT_EQ(zvgUartWriteByte(0x1000001, 0x5C), 0);
  EXPECT_EQ(zvgUartWriteByte(0x1000002, 0x5D), 0);
  EXPECT_THAT(platform_.take(),
              ElementsAre("write fe080001000000"
                          "5a000000",
                          "write fe0100010000000000005b", "write fe02000100000000005c00",
                          "write fe040001000000005d0000"));
}

TEST_F(Uart, WordWriteShiftsByTheUpperHalf) {
  EXPECT_EQ(zvgUartWriteWord(0x1000000, 0x1234), 0);
  EXPECT_EQ(zvgUartWriteWord(0x1000002, 0x1234), 0);
  // An odd address selects the same half and drops its lowest bit.
  EXPECT_EQ(zvgUartWriteWord(0x1000003, 0x1234), 0);
  EXPECT_THAT(platform_.take(),
              ElementsAre("write fe03000100000000001234", "write fe0c000100000012340000",
                          "write fe0c000100000012340000"));
}

TEST_F(Uart, LongWriteCarriesTheWholeWord) {
  EXPECT_EQ(zvgUartWriteLong(0x8012345677, 0x89ABCDEF), 0);
  EXPECT_THAT(platform_.take(), ElementsAre("write fe0f801234567489abcdef"));
}

TEST_F(Uart, QuadWriteSendsTwoFramesAndReturnsTheSecondsSize) {
  EXPECT_EQ(zvgUartWriteQuad(0x1000010, 0x1122334455667788), 11);
  EXPECT_THAT(platform_.take(),
              ElementsAre("write fe0f000100001055667788", "write fe0f000100001411223344"));
}

TEST_F(Uart, QuadWriteCarriesIntoTheUpperAddressByte) {
  EXPECT_EQ(zvgUartWriteQuad(0x80FFFFFFFC, 0x1), 11);
  EXPECT_THAT(platform_.take(),
              ElementsAre("write fe0f80fffffffc00000001", "write fe0f810000000000000000"));
}

TEST_F(Uart, ByteReadTakesItsLane) {
  replies_ = {0xAABBCCDD, 0xAABBCCDD, 0xAABBCCDD, 0xAABBCCDD};
  const uint8_t expected[] = {0xDD, 0xCC, 0xBB, 0xAA};
  for (unsigned lane = 0; lane < 4; ++lane) {
    uint8_t value = 0;
    EXPECT_EQ(zvgUartReadByte(0x1000100 + lane, &value), 0);
    EXPECT_EQ(value, expected[lane]);
  }
  EXPECT_THAT(platform_.take(), ElementsAre("write fd01000100010000000000", wait, "read 4",
                                            "write fd02000100010000000000", wait, "read 4",
                                            "write fd04000100010000000000", wait, "read 4",
                                            "write fd08000100010000000000", wait, "read 4"));
}

TEST_F(Uart, WordReadTakesItsHalf) {
  replies_ = {0xAABBCCDD, 0xAABBCCDD};
  uint16_t low = 0, high = 0;
  EXPECT_EQ(zvgUartReadWord(0x1000100, &low), 0);
  EXPECT_EQ(zvgUartReadWord(0x1000102, &high), 0);
  EXPECT_EQ(low, 0xCCDD);
  EXPECT_EQ(high, 0xAABB);
  EXPECT_THAT(platform_.take(), ElementsAre("write fd03000100010000000000", wait, "read 4",
                                            "write fd0c000100010000000000", wait, "read 4"));
}

TEST_F(Uart, NarrowReadsAreNotMasked) {
  replies_ = {0xAABBCCDD, 0xAABBCCDD};
  uint64_t value = 0;
  EXPECT_EQ(zvgUartOperate(0, 1, 0x1000001, &value), 0);
  EXPECT_EQ(value, 0xAABBCCu);
  EXPECT_EQ(zvgUartOperate(0, 2, 0x1000000, &value), 0);
  EXPECT_EQ(value, 0xAABBCCDDu);
}

TEST_F(Uart, LongReadGivesTheWord) {
  replies_ = {0x01020304};
  uint32_t value = 0;
  EXPECT_EQ(zvgUartReadLong(0x8000000010, &value), 0);
  EXPECT_EQ(value, 0x01020304u);
  EXPECT_THAT(platform_.take(), ElementsAre("write fd0f800000001000000000", wait, "read 4"));
}

TEST_F(Uart, QuadReadYieldsOnlyTheUpperWord) {
  replies_ = {0x11111111, 0x22222222};
  uint64_t value = ~uint64_t{0};
  EXPECT_EQ(zvgUartReadQuad(0x1000020, &value), 0);
  EXPECT_EQ(value, 0x22222222u);
  EXPECT_THAT(platform_.take(), ElementsAre("write fd0f000100002000000000", wait, "read 4",
                                            "write fd0f000100002400000000", wait, "read 4"));
}

TEST_F(Uart, OtherWidthsAreHandledAsFour) {
  replies_ = {0x55667788};
  uint64_t value = 0x1122334455667788;
  EXPECT_EQ(zvgUartOperate(1, 3, 0x1000000, &value), 0);
  EXPECT_EQ(zvgUartOperate(0, 16, 0x1000000, &value), 0);
  EXPECT_EQ(value, 0x55667788u);
  EXPECT_THAT(platform_.take(), ElementsAre("write fe0f000100000055667788",
                                            "write fd0f000100000000000000", wait, "read 4"));
}

TEST_F(Uart, AnyOperationButZeroIsAWrite) {
  uint64_t value = 1;
  EXPECT_EQ(zvgUartOperate(2, 4, 0x1000000, &value), 0);
  EXPECT_EQ(zvgUartOperate(-1, 4, 0x1000000, &value), 0);
  EXPECT_THAT(platform_.take(),
              ElementsAre("write fe0f000100000000000001", "write fe0f000100000000000001"));
}

TEST_F(Uart, NoReplyIsATimeout) {
  platform_.on_select = [] { return 0; };
  uint32_t value = 5;
  int result = 0;
  const auto output = capture([&] { result = zvgUartReadLong(0x1000000, &value); });
  EXPECT_EQ(result, -1);
  EXPECT_EQ(value, 0u);
  EXPECT_EQ(output.err, "uart receive data timeout!\n");
  EXPECT_EQ(output.out, "");
  EXPECT_THAT(platform_.take(), ElementsAre("write fd0f000100000000000000", wait));
}

TEST_F(Uart, FailedWaitIsReported) {
  platform_.on_select = [] {
    errno = EINTR;
    return -1;
  };
  uint16_t value = 0;
  const auto output = capture([&] { EXPECT_EQ(zvgUartReadWord(0x1000000, &value), -1); });
  EXPECT_EQ(output.err, "select() failed: Interrupted system call\n");
}

TEST_F(Uart, FailedReadIsReported) {
  platform_.on_read = [](uint8_t*, size_t) -> ssize_t {
    errno = EIO;
    return -1;
  };
  uint8_t value = 0;
  const auto output = capture([&] { EXPECT_EQ(zvgUartReadByte(0x1000000, &value), -1); });
  EXPECT_EQ(output.err, "read() failed: Input/output error\n");
}

TEST_F(Uart, FailedWriteReturnsItsResult) {
  platform_.on_write = [](const std::vector<uint8_t>&) -> ssize_t {
    errno = ENODEV;
    return -1;
  };
  uint32_t value = 0;
  const auto output = capture([&] {
    EXPECT_EQ(zvgUartReadLong(0x1000000, &value), -1);
    EXPECT_EQ(zvgUartWriteLong(0x1000000, 1), -1);
  });
  EXPECT_EQ(output.err, "write() failed: No such device\nwrite() failed: No such device\n");
  EXPECT_EQ(platform_.take().size(), 2u) << "no wait follows a frame that did not go out";
}

// What a write returns: bytes taken, or the negative of an errno.
std::function<ssize_t(const std::vector<uint8_t>&)> takes(std::vector<ssize_t> results) {
  return [results = std::move(results), call = size_t{0}](const std::vector<uint8_t>&) mutable {
    const ssize_t result = results.at(call++);
    if (result >= 0) return result;
    errno = static_cast<int>(-result);
    return ssize_t{-1};
  };
}

TEST_F(Uart, FrameThatIsTakenInPiecesIsFinished) {
  platform_.on_write = takes({4, 1, 6});
  const auto output = capture([] { EXPECT_EQ(zvgUartWriteLong(0x1000000, 0x12345678), 0); });
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(platform_.take(), ElementsAre("write fe0f000100000012345678", room,
                                            "write 00000012345678", room, "write 000012345678"));
}

TEST_F(Uart, FrameWaitsForAFullLine) {
  platform_.on_write = takes({-EAGAIN, 11, -EAGAIN, 11});
  replies_ = {5};
  uint32_t value = 0;
  const auto output = capture([&] {
    EXPECT_EQ(zvgUartWriteLong(0x1000000, 1), 0);
    EXPECT_EQ(zvgUartReadLong(0x1000000, &value), 0);
  });
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(value, 5u);
  EXPECT_THAT(platform_.take(),
              ElementsAre("write fe0f000100000000000001", room, "write fe0f000100000000000001",
                          "write fd0f000100000000000000", room, "write fd0f000100000000000000",
                          wait, "read 4"));
}

TEST_F(Uart, QuadWriteInPiecesReturnsTheFrameSizeToo) {
  platform_.on_write = takes({11, 5, 6});
  EXPECT_EQ(zvgUartWriteQuad(0x1000000, 1), 11);
}

TEST_F(Uart, LineThatStaysFullFailsTheFrame) {
  platform_.on_write = takes({-EAGAIN});
  platform_.on_room = [] { return 0; };
  const auto output = capture([] { EXPECT_EQ(zvgUartWriteLong(0x1000000, 1), -1); });
  EXPECT_EQ(output.err, "write() failed: Resource temporarily unavailable\n");
  EXPECT_THAT(platform_.take(), ElementsAre("write fe0f000100000000000001", room));
}

TEST_F(Uart, LineThatFailsWithinAFrameFailsIt) {
  platform_.on_write = takes({4, -EIO});
  const auto output = capture([] { EXPECT_EQ(zvgUartWriteLong(0x1000000, 1), -1); });
  EXPECT_EQ(output.err, "write() failed: Input/output error\n");
}

// A signal fails a frame of which nothing is out; one that is half out is finished.
TEST_F(Uart, SignalLeavesNoHalfFrame) {
  platform_.on_write = takes({-EINTR, 4, -EINTR, 7});
  const auto output = capture([] {
    EXPECT_EQ(zvgUartWriteLong(0x1000000, 1), -1);
    EXPECT_EQ(zvgUartWriteLong(0x1000000, 1), 0);
  });
  EXPECT_EQ(output.err, "write() failed: Interrupted system call\n");
}

TEST_F(Uart, SignalDoesNotEndTheWaitForRoom) {
  platform_.on_write = takes({4, 0, 7});
  int waits = 0;
  platform_.on_room = [&] {
    errno = EINTR;
    return ++waits == 1 ? -1 : 1;
  };
  const auto output = capture([] { EXPECT_EQ(zvgUartWriteLong(0x1000000, 1), 0); });
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(waits, 2);
}

TEST_F(Uart, QuadReadSaysWhenTheSecondReplyIsMissing) {
  replies_ = {0x11111111};
  int selects = 0;
  platform_.on_select = [&] { return ++selects == 1 ? 1 : 0; };
  uint64_t value = 0;
  const auto output = capture([&] { EXPECT_EQ(zvgUartReadQuad(0x1000000, &value), -1); });
  EXPECT_EQ(output.err, "uart receive data timeout!\nserial does not respond\n");
}

TEST_F(Uart, QuadReadWithoutAFirstReplyIsAPlainTimeout) {
  platform_.on_select = [] { return 0; };
  uint64_t value = 0;
  const auto output = capture([&] { EXPECT_EQ(zvgUartReadQuad(0x1000000, &value), -1); });
  EXPECT_EQ(output.err, "uart receive data timeout!\n");
}

TEST_F(Uart, FailedSecondFrameOfAQuadWriteReturnsItsResult) {
  int writes = 0;
  platform_.on_write = [&](const std::vector<uint8_t>& bytes) -> ssize_t {
    errno = EIO;
    return ++writes == 2 ? -1 : static_cast<ssize_t>(bytes.size());
  };
  const auto output = capture([] { EXPECT_EQ(zvgUartWriteQuad(0x1000000, 1), -1); });
  EXPECT_EQ(output.err, "write() failed: Input/output error\n");
}

TEST_F(Uart, FailedSecondFrameOfAQuadReadReturnsItsResult) {
  replies_ = {1};
  int writes = 0;
  platform_.on_write = [&](const std::vector<uint8_t>& bytes) -> ssize_t {
    errno = EIO;
    return ++writes == 2 ? -1 : static_cast<ssize_t>(bytes.size());
  };
  uint64_t value = 0;
  const auto output = capture([&] { EXPECT_EQ(zvgUartReadQuad(0x1000000, &value), -1); });
  EXPECT_EQ(output.err, "write() failed: Input/output error\n");
}

TEST_F(Uart, ReplyInPiecesIsPutTogether) {
  std::vector<std::vector<uint8_t>> pieces = {{0x01}, {0x02, 0x03}, {0x04}};
  platform_.on_read = [&](uint8_t* buffer, size_t) -> ssize_t {
    const auto piece = pieces.front();
    pieces.erase(pieces.begin());
    memcpy(buffer, piece.data(), piece.size());
    return static_cast<ssize_t>(piece.size());
  };
  uint32_t value = 0;
  EXPECT_EQ(zvgUartReadLong(0x1000000, &value), 0);
  EXPECT_EQ(value, 0x01020304u);
}

TEST_F(Uart, HalfAReplyIsNoReply) {
  int reads = 0;
  platform_.on_read = [&](uint8_t* buffer, size_t) -> ssize_t {
    buffer[0] = buffer[1] = 0xAA;
    return ++reads == 1 ? 2 : 0;
  };
  uint32_t value = 5;
  const auto output = capture([&] { EXPECT_EQ(zvgUartReadLong(0x1000000, &value), -1); });
  EXPECT_EQ(output.err, "uart receive data timeout!\n");
  EXPECT_EQ(value, 0u);
}

TEST_F(Uart, FamilyDoesNotDiscardInput) {
  replies_ = {1};
  uint32_t value = 0;
  zvgUartReadLong(0x1000000, &value);
  for (const auto& line : platform_.take()) EXPECT_NE(line.substr(0, 7), "tcflush");
}

TEST_F(Uart, RegisterFamilyDiscardsInputAndAddsTheBase) {
  replies_ = {0x12345678};
  uint32_t value = 0;
  EXPECT_EQ(zvgRegReadLong(0x308400, &value), 0);
  EXPECT_EQ(value, 0x12345678u);
  EXPECT_THAT(platform_.take(),
              ElementsAre("tcflush 0", "write fd0f000130840000000000", wait, "read 4"));
}

TEST_F(Uart, RegisterFamilyTakesAnyOffset) {
  replies_ = {1};
  uint8_t value = 0;
  const auto output = capture([&] { EXPECT_EQ(zvgRegReadByte(0x1000000, &value), 0); });
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(platform_.take(),
              ElementsAre("tcflush 0", "write fd01000200000000000000", wait, "read 4"));
}

TEST_F(Uart, VramFamilyLandsOnItsBusAddress) {
  replies_ = {0xAABBCCDD};
  uint32_t value = 0;
  EXPECT_EQ(zvgVramReadLong(0x10, &value), 0);
  EXPECT_EQ(value, 0xAABBCCDDu);
  EXPECT_EQ(zvgVramWriteByte(0x10000001, 0x77), 0);
  EXPECT_THAT(platform_.take(), ElementsAre("tcflush 0", "write fd0f800000001000000000", wait,
                                            "read 4", "tcflush 0", "write fe02801000000000007700"));
}

TEST_F(Uart, DispatcherIgnoresTheBarAndDropsTheResult) {
  platform_.on_select = [] { return 0; };
  uint64_t value = 9;
  int result = -1;
  const auto output = capture([&] { result = zvgMmioOperate(1, 0, 4, 0, &value); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output.err, "uart receive data timeout!\n");
  EXPECT_EQ(zvgRegWriteQuad(0x40, 1), 0) << "11 from the link is 0 here";
}

TEST_F(Uart, FailedReadStoresZeroAndSucceeds) {
  platform_.on_select = [] { return 0; };
  uint32_t value = 9;
  capture([&] { EXPECT_EQ(zvgRegReadLong(0, &value), 0); });
  EXPECT_EQ(value, 0u);
}

TEST(UartWithoutALine, FailsAtTheDescriptor) {
  uint32_t value = 1;
  const auto output = capture([&] { EXPECT_EQ(zvgUartReadLong(0, &value), -1); });
  EXPECT_EQ(output.err, "write() failed: Bad file descriptor\n");
}

}  // namespace
