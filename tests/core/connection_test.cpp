// The process-wide connection: open, replace, close, and what outlives it.
#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::RecordedPlatform;

constexpr uint32_t rq301_bases[] = {0x308400, 0x30AC00, 0x308000, 0x800000, 0x30A000,
                                    0x4,      0x3C0000, 0x3C8000, 0x3D0000, 0x3D8000,
                                    0x400000, 0x440000, 0x480000, 0x4C0000};
constexpr uint32_t rq302_bases[] = {0x288400, 0x28AC00, 0x288000, 0x300000, 0x28A000,
                                    0x2,      0x280000, 0x130000, 0x280000, 0x280000,
                                    0x2C0000, 0x1C0000, 0x2C0000, 0x2C0000};

// A driver that answers the two queries of an open and keeps the records.
struct Driver {
  uint32_t cards = 2;
  uint32_t device_id = 0x201;
  bool fails = false;

  int operator()(unsigned long, void* record) const {
    if (fails) {
      errno = EIO;
      return -1;
    }
    auto* const words = static_cast<uint32_t*>(record);
    words[2] = words[1] == ZVG_QUERY_CARDS ? cards : device_id;
    return 0;
  }
};

// The query record as it goes out: card, key, and an empty data area.
std::string query(uint32_t card, uint32_t key) {
  uint32_t record[34] = {card, key};
  return "ioctl 0xc0886410 " + zvgtest::hex(record, sizeof record);
}

TEST(Connection, StartsWithoutABoard) {
  EXPECT_EQ(get_s_type(), 0xFFFFFFFFu);
  EXPECT_EQ(get_device_id(), 0x201u);
  EXPECT_EQ(zvgGetCard(), 0u);
  for (int i = 0; i < 14; ++i) EXPECT_EQ(zvg_gpu_hardware[i], rq301_bases[i]) << i;
}

TEST(Connection, SetCardStoresWhateverItIsGiven) {
  zvgSetCard(0xFFFFFFFF);
  EXPECT_EQ(zvgGetCard(), 0xFFFFFFFFu);
}

TEST(Connection, ModesHaveNames) {
  EXPECT_STREQ(zvgType2Str(0), "ZVGWR");
  EXPECT_STREQ(zvgType2Str(1), "MEM");
  EXPECT_STREQ(zvgType2Str(2), "SERIAL");
  EXPECT_STREQ(zvgType2Str(3), "I2C");
  EXPECT_STREQ(zvgType2Str(4), "invalid type");
  EXPECT_STREQ(zvgType2Str(0xFFFFFFFF), "invalid type");
}

TEST(Connection, Rq302BasesReplaceTheTable) {
  EXPECT_EQ(set_rq302_reg_base(), zvg_gpu_hardware);
  for (int i = 0; i < 14; ++i) EXPECT_EQ(zvg_gpu_hardware[i], rq302_bases[i]) << i;
}

TEST(Connection, CloseWithoutABoardOnlySaysSo) {
  int result = -1;
  const auto output = capture([&] { result = zvgClose(); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output.err, "No file descriptor is opened\n");
  EXPECT_EQ(output.out, "");
}

TEST(DriverOpen, OpensTheNodeReadWriteAndAsksForTheDevice) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{};
  int fd = -1;
  const auto output = capture([&] { fd = zvgRwOpen(0); });
  EXPECT_GE(fd, 0);
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_EQ(get_s_type(), 0u);
  EXPECT_EQ(get_device_id(), 0x201u);
  EXPECT_THAT(platform.take(), ElementsAre("open /dev/zvgrw 0x2", query(0, 0)));
  zvgClose();
  EXPECT_THAT(platform.take(), ElementsAre("close"));
  EXPECT_EQ(get_s_type(), 0xFFFFFFFFu);
}

TEST(DriverOpen, QueriesCarryTheCardThatWasSelectedBefore) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{.cards = 4};
  zvgSetCard(7);
  EXPECT_GE(zvgRwOpen(3), 0);
  EXPECT_THAT(platform.take(), ElementsAre("open /dev/zvgrw 0x2", query(7, 8), query(7, 0)));
  EXPECT_EQ(zvgGetCard(), 3u);
}

TEST(DriverOpen, CardOutOfRangeFallsBackToTheFirst) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{.cards = 2};
  int fd = -1;
  const auto output = capture([&] { fd = zvgRwOpen(3); });
  EXPECT_GE(fd, 0);
  EXPECT_EQ(output.out,
            "Invalid card parameter: 0 is out of range [0, 2).\nThe current card index is 0\n");
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(zvgGetCard(), 0u);
}

TEST(DriverOpen, CardJustPastTheLastIsOutOfRange) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{.cards = 2};
  const auto output = capture([] { zvgRwOpen(2); });
  EXPECT_NE(output.out, "");
  const auto last = capture([] { zvgRwOpen(1); });
  EXPECT_EQ(last.out, "");
  EXPECT_EQ(zvgGetCard(), 1u);
}

TEST(DriverOpen, NegativeCardLeavesTheConnection) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{};
  zvgRwOpen(0);
  platform.take();
  int result = 0;
  const auto output = capture([&] { result = zvgRwOpen(-1); });
  EXPECT_EQ(result, -22);
  EXPECT_EQ(output.err, "Invalid argument card (-1)\n");
  EXPECT_EQ(output.out, "");
  EXPECT_THAT(platform.take(), IsEmpty());
  EXPECT_EQ(get_s_type(), 0u);
}

TEST(DriverOpen, MissingNodeLeavesTheConnection) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{};
  zvgRwOpen(0);
  platform.take();
  platform.on_open = [](const std::string&) { return ENOENT; };
  int result = 0;
  const auto output = capture([&] { result = zvgRwOpen(5); });
  EXPECT_EQ(result, -ENOENT);
  EXPECT_EQ(output.err, "Opening device 5 failed, No such file or directory\n");
  EXPECT_THAT(platform.take(), ElementsAre("open /dev/zvgrw 0x2"));
  EXPECT_EQ(get_s_type(), 0u);
}

TEST(DriverOpen, ReplacesTheOldConnectionAfterTheNewDescriptorExists) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{};
  const int first = zvgRwOpen(0);
  platform.take();
  const int second = zvgRwOpen(0);
  EXPECT_NE(first, second);
  EXPECT_THAT(platform.take(), ElementsAre("open /dev/zvgrw 0x2", "close", query(0, 0)));
}

TEST(DriverOpen, FailedQueriesLeaveZero) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{.fails = true};
  int fd = -1;
  const auto output = capture([&] { fd = zvgRwOpen(1); });
  EXPECT_GE(fd, 0);
  EXPECT_EQ(output.out,
            "Invalid card parameter: 0 is out of range [0, 0).\nThe current card index is 0\n");
  EXPECT_EQ(get_device_id(), 0u);
}

TEST(DriverOpen, Rq302SwitchesTheBasesForGood) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{.device_id = 0x202};
  zvgRwOpen(0);
  EXPECT_EQ(get_device_id(), 0x202u);
  for (int i = 0; i < 14; ++i) EXPECT_EQ(zvg_gpu_hardware[i], rq302_bases[i]) << i;
  platform.on_ioctl = Driver{.device_id = 0x201};
  zvgRwOpen(0);
  EXPECT_EQ(get_device_id(), 0x201u);
  EXPECT_EQ(zvg_gpu_hardware[0], 0x288400u);
}

TEST(DriverOpen, OtherDeviceIdsKeepTheBases) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{.device_id = 0x203};
  zvgRwOpen(0);
  EXPECT_EQ(get_device_id(), 0x203u);
  EXPECT_EQ(zvg_gpu_hardware[0], 0x308400u);
}

TEST(DriverOpen, CardAndDeviceOutliveTheClose) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{.device_id = 0x202};
  zvgRwOpen(1);
  zvgClose();
  EXPECT_EQ(zvgGetCard(), 1u);
  EXPECT_EQ(get_device_id(), 0x202u);
}

// A mapping that a close may take away again.
void* pages(size_t length, off_t) {
  return mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
}

TEST(MemoryOpen, MapsBothAperturesSharedAtTheirBases) {
  RecordedPlatform platform;
  platform.on_mmap = pages;
  int fd = -1;
  const auto output = capture([&] { fd = zvgMemOpen(0xE0000000, 0x2000, 0x1D0000000, 0x1000); });
  EXPECT_GE(fd, 0);
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_EQ(get_s_type(), 1u);
  const auto log = platform.take();
  // O_RDWR | O_NONBLOCK; PROT_READ | PROT_WRITE; MAP_SHARED
  EXPECT_THAT(log,
              ElementsAre("open /dev/mem 0x802", "mmap 0x2000 prot 0x3 flags 0x1 offset 0xe0000000",
                          "mmap 0x1000 prot 0x3 flags 0x1 offset 0x1d0000000"));
}

TEST(MemoryOpen, CloseUnmapsBothWithTheirSizes) {
  RecordedPlatform platform;
  platform.on_mmap = pages;
  zvgMemOpen(0, 0x3000, 0, 0x1000);
  platform.take();
  zvgClose();
  EXPECT_THAT(platform.take(), ElementsAre("munmap 0x3000", "munmap 0x1000", "close"));
}

TEST(MemoryOpen, BothLengthsZeroMapsNothing) {
  RecordedPlatform platform;
  EXPECT_GE(zvgMemOpen(0x1000, 0, 0x2000, 0), 0);
  EXPECT_THAT(platform.take(), ElementsAre("open /dev/mem 0x802"));
  uint32_t value = 7;
  const auto output = capture([&] { EXPECT_EQ(zvgRegReadLong(0, &value), -22); });
  EXPECT_EQ(output.err, "offset (0) is out of range\n");
  EXPECT_EQ(value, 0u);
  zvgClose();
  EXPECT_THAT(platform.take(), ElementsAre("close"));
}

TEST(MemoryOpen, MissingNodeLeavesTheConnection) {
  RecordedPlatform platform;
  platform.on_ioctl = Driver{};
  zvgRwOpen(0);
  platform.on_open = [](const std::string&) { return EACCES; };
  int result = 0;
  const auto output = capture([&] { result = zvgMemOpen(0, 16, 0, 16); });
  EXPECT_EQ(result, -EACCES);
  EXPECT_EQ(output.err, "Opening /dev/mem failed, Permission denied\n");
  EXPECT_EQ(get_s_type(), 0u);
}

TEST(MemoryOpen, NullMmioMappingEndsTheOpen) {
  RecordedPlatform platform;
  platform.on_mmap = [](size_t, off_t) -> void* {
    errno = EPERM;
    return nullptr;
  };
  int result = 0;
  const auto output = capture([&] { result = zvgMemOpen(0, 0x1000, 0, 0x1000); });
  EXPECT_EQ(result, -EPERM);
  EXPECT_EQ(output.err, "mmap mmio failed, Operation not permitted\n");
  EXPECT_EQ(get_s_type(), 0xFFFFFFFFu);
  EXPECT_THAT(platform.take(), ElementsAre("open /dev/mem 0x802",
                                           "mmap 0x1000 prot 0x3 flags 0x1 offset 0x0", "close"));
}

TEST(MemoryOpen, NullVramMappingLeavesTheMmioMapping) {
  RecordedPlatform platform;
  platform.on_mmap = [](size_t length, off_t offset) -> void* {
    errno = ENOMEM;
    return length == 0x1000 ? pages(length, offset) : nullptr;
  };
  int result = 0;
  const auto output = capture([&] { result = zvgMemOpen(0, 0x1000, 0, 0x2000); });
  EXPECT_EQ(result, -ENOMEM);
  EXPECT_EQ(output.err, "mmap vram failed, Cannot allocate memory\n");
  EXPECT_THAT(platform.take(),
              ElementsAre("open /dev/mem 0x802", "mmap 0x1000 prot 0x3 flags 0x1 offset 0x0",
                          "mmap 0x2000 prot 0x3 flags 0x1 offset 0x0", "close"));
  // The next connection without a register aperture does not reach the one that was left.
  zvgMemOpen(0, 0, 0, 0);
  uint8_t value = 7;
  const auto access = capture([&] { EXPECT_EQ(zvgRegReadByte(0, &value), -22); });
  EXPECT_EQ(access.err, "offset (0) is out of range\n");
}

TEST(MemoryOpen, MapFailedCountsAsASuccessButIsNotFollowed) {
  RecordedPlatform platform;
  platform.on_mmap = [](size_t, off_t) { return MAP_FAILED; };
  int fd = -1;
  const auto output = capture([&] { fd = zvgMemOpen(0, 0x1000, 0, 0x1000); });
  EXPECT_GE(fd, 0);
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(get_s_type(), 1u);
  uint32_t value = 1;
  const auto access = capture([&] {
    EXPECT_EQ(zvgRegReadLong(0x10, &value), -22);
    EXPECT_EQ(zvgVramWriteLong(0x20, 1), -22);
  });
  EXPECT_EQ(access.err, "offset (16) is out of range\noffset (32) is out of range\n");
  platform.take();
  zvgClose();
  EXPECT_THAT(platform.take(), ElementsAre("munmap 0x1000", "munmap 0x1000", "close"));
}

TEST(MemoryOpen, SizeOfAnEarlierMappingDoesNotCount) {
  RecordedPlatform platform;
  platform.on_mmap = pages;
  zvgMemOpen(0, 0x1000, 0, 0x1000);
  zvgMemOpen(0, 0, 0, 0x1000);
  uint8_t value = 0;
  const auto output = capture([&] {
    EXPECT_EQ(zvgRegReadByte(0, &value), -22);
    EXPECT_EQ(zvgVramReadByte(0, &value), 0);
  });
  EXPECT_EQ(output.err, "offset (0) is out of range\n");
}

TEST(Generation, NamesSelectTheDevice) {
  for (const char* name : {"RQ301", "rq301", "301"}) {
    EXPECT_EQ(doGetDeviceId("tool", name), 0x201) << name;
    EXPECT_EQ(get_device_id(), 0x201u) << name;
    EXPECT_EQ(zvg_gpu_hardware[0], 0x308400u) << name;
  }
  for (const char* name : {"RQ302", "rq302", "302"}) {
    memcpy(zvg_gpu_hardware, rq301_bases, sizeof rq301_bases);
    doGetDeviceId("tool", "301");
    EXPECT_EQ(doGetDeviceId("tool", name), 0x202) << name;
    EXPECT_EQ(get_device_id(), 0x202u) << name;
    EXPECT_EQ(zvg_gpu_hardware[13], 0x2C0000u) << name;
  }
  // Going back to RQ301 leaves the table as it is.
  EXPECT_EQ(doGetDeviceId("tool", "RQ301"), 0x201);
  EXPECT_EQ(zvg_gpu_hardware[0], 0x288400u);
}

// Runs in a child whose standard output is its standard error, where the matcher looks.
void name_generation(const char* generation) {
  dup2(2, 1);
  doGetDeviceId("bring-up", generation);
  _exit(0);
}

TEST(GenerationDeathTest, AnyOtherTextEndsTheProcess) {
  for (const char* name : {"RQ300", "Rq302", "", "3020", " 302"}) {
    EXPECT_EXIT(name_generation(name), testing::ExitedWithCode(1),
                "^bring-up need correct gpu type, eg: rq301, rq302\n$")
        << name;
  }
}

}  // namespace
