// Memory mode: loads and stores through a mapping, and what is refused before them.
#include <gtest/gtest.h>
#include <string.h>
#include <sys/mman.h>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using zvgtest::capture;
using zvgtest::RecordedPlatform;

constexpr size_t size = 0x1000;

// Two apertures of a page each, whose bytes the test sees. A page that may not be touched follows.
class Aperture : public testing::Test {
 protected:
  void SetUp() override {
    for (uint8_t** space : {&mmio_, &vram_}) {
      auto* const pages = static_cast<uint8_t*>(
          mmap(nullptr, 2 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
      ASSERT_NE(pages, MAP_FAILED);
      ASSERT_EQ(mprotect(pages + size, size, PROT_NONE), 0);
      *space = pages;
    }
    platform_.on_mmap = [this](size_t, off_t offset) { return offset == 0 ? mmio_ : vram_; };
    ASSERT_GE(zvgMemOpen(0, size, 0x1000000, size), 0);
    platform_.take();
  }

  RecordedPlatform platform_;
  uint8_t* mmio_ = nullptr;
  uint8_t* vram_ = nullptr;
};

TEST_F(Aperture, ReadsEveryWidth) {
  const uint64_t pattern = 0x8877665544332211;
  memcpy(mmio_ + 0x10, &pattern, sizeof pattern);
  uint8_t byte = 0;
  uint16_t word = 0;
  uint32_t value = 0;
  uint64_t quad = 0;
  EXPECT_EQ(zvgRegReadByte(0x10, &byte), 0);
  EXPECT_EQ(zvgRegReadWord(0x10, &word), 0);
  EXPECT_EQ(zvgRegReadLong(0x10, &value), 0);
  EXPECT_EQ(zvgRegReadQuad(0x10, &quad), 0);
  EXPECT_EQ(byte, 0x11);
  EXPECT_EQ(word, 0x2211);
  EXPECT_EQ(value, 0x44332211u);
  EXPECT_EQ(quad, pattern);
  EXPECT_TRUE(platform_.take().empty()) << "an access makes no system call";
}

TEST_F(Aperture, WritesExactlyTheirBytes) {
  EXPECT_EQ(zvgVramWriteByte(0x20, 0x11), 0);
  EXPECT_EQ(zvgVramWriteWord(0x30, 0x2211), 0);
  EXPECT_EQ(zvgVramWriteLong(0x40, 0x44332211), 0);
  EXPECT_EQ(zvgVramWriteQuad(0x50, 0x8877665544332211), 0);
  const uint8_t bytes[] = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0};
  EXPECT_EQ(memcmp(vram_ + 0x20, "\x11\0", 2), 0);
  EXPECT_EQ(memcmp(vram_ + 0x30, "\x11\x22\0", 3), 0);
  EXPECT_EQ(memcmp(vram_ + 0x40, "\x11\x22\x33\x44\0", 5), 0);
  EXPECT_EQ(memcmp(vram_ + 0x50, bytes, 9), 0);
  EXPECT_EQ(mmio_[0x20], 0) << "the spaces are separate";
}

TEST_F(Aperture, UnalignedOffsetsWork) {
  EXPECT_EQ(zvgRegWriteQuad(0x101, 0x0102030405060708), 0);
  uint32_t value = 0;
  EXPECT_EQ(zvgRegReadLong(0x103, &value), 0);
  EXPECT_EQ(value, 0x03040506u);
}

TEST_F(Aperture, OtherWidthsAreFourBytes) {
  const uint64_t pattern = 0x8877665544332211;
  memcpy(mmio_, &pattern, sizeof pattern);
  for (const uint32_t width : {0u, 3u, 5u, 16u}) {
    uint64_t value = 0;
    EXPECT_EQ(zvgMmioOperate(2, 0, width, 0, &value), 0);
    EXPECT_EQ(value, 0x44332211u) << width;
  }
  uint64_t value = 0xAAAAAAAAAAAAAAAA;
  EXPECT_EQ(zvgMmioOperate(2, 1, 3, 0, &value), 0);
  EXPECT_EQ(memcmp(mmio_, "\xAA\xAA\xAA\xAA\x55", 5), 0);
}

TEST_F(Aperture, LastBytesAreInRangeAndOneFurtherIsNot) {
  uint8_t byte = 0;
  uint16_t word = 0;
  uint32_t value = 0;
  uint64_t quad = 0;
  EXPECT_EQ(zvgRegReadByte(size - 1, &byte), 0);
  EXPECT_EQ(zvgRegReadWord(size - 2, &word), 0);
  EXPECT_EQ(zvgRegReadLong(size - 4, &value), 0);
  EXPECT_EQ(zvgRegReadQuad(size - 8, &quad), 0);
  const auto output = capture([&] {
    EXPECT_EQ(zvgRegReadByte(size, &byte), -22);
    EXPECT_EQ(zvgRegReadWord(size - 1, &word), -22);
    EXPECT_EQ(zvgRegReadLong(size - 3, &value), -22);
    EXPECT_EQ(zvgRegReadQuad(size - 7, &quad), -22);
    EXPECT_EQ(zvgVramWriteLong(size - 3, 1), -22);
  });
  EXPECT_EQ(output.err,
            "offset (4096) is out of range\noffset (4095) is out of range\n"
            "offset (4093) is out of range\noffset (4089) is out of range\n"
            "offset (4093) is out of range\n");
  EXPECT_EQ(output.out, "");
}

TEST_F(Aperture, OffsetsThatWouldWrapAreOutOfRange) {
  uint64_t value = 0;
  const auto output =
      capture([&] { EXPECT_EQ(zvgMmioOperate(2, 0, 4, ~uint64_t{0} - 1, &value), -22); });
  EXPECT_EQ(output.err, "offset (-2) is out of range\n");
}

TEST_F(Aperture, RejectsInTheOrderBarOffsetOp) {
  uint64_t value = 0x55;
  auto output = capture([&] { EXPECT_EQ(zvgMmioOperate(1, 9, 4, size, &value), -22); });
  EXPECT_EQ(output.err, "bar (1) is out of range\n");
  output = capture([&] { EXPECT_EQ(zvgMmioOperate(2, 9, 4, size, &value), -22); });
  EXPECT_EQ(output.err, "offset (4096) is out of range\n");
  output = capture([&] { EXPECT_EQ(zvgMmioOperate(0, 9, 4, 0, &value), -22); });
  EXPECT_EQ(output.err, "op (9) is out of range\n");
  output = capture([&] { EXPECT_EQ(zvgMmioOperate(0xFFFFFFFF, 0, 4, 0, &value), -22); });
  EXPECT_EQ(output.err, "bar (-1) is out of range\n");
  EXPECT_EQ(value, 0x55u);
}

TEST_F(Aperture, FailedReadYieldsZero) {
  uint32_t value = 7;
  capture([&] { EXPECT_EQ(zvgRegReadLong(size, &value), -22); });
  EXPECT_EQ(value, 0u);
}

}  // namespace
