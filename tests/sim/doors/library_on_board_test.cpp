// The library and the board together, through each door.
#include <gmock/gmock.h>

#include "support/board_fixture.h"

namespace zvgsim {
namespace {

using ::testing::ElementsAre;

class LibraryOnBoard : public zvgtest::BoardFixture {};

TEST_F(LibraryOnBoard, DriverReachesRegistersAndVideoMemory) {
  ASSERT_GE(zvgRwOpen(0), 0);
  EXPECT_EQ(get_device_id(), 0x202u);
  trace().start();
  EXPECT_EQ(zvgRegWriteLong(0x300000, 0x12345678), 0);
  uint16_t word = 0;
  EXPECT_EQ(zvgRegReadWord(0x300002, &word), 0);
  EXPECT_EQ(word, 0x1234);
  EXPECT_EQ(zvgVramWriteQuad(0xFFFFFF8, 0x1122334455667788), 0);
  EXPECT_EQ(peek(0xFFFFFF8, 8, Space::vram), 0x1122334455667788u);
  EXPECT_THAT(trace().take(), ElementsAre("w4 mmio 0x300000 0x12345678", "r2 mmio 0x300002 0x1234",
                                          "w8 vram 0xffffff8 0x1122334455667788"));
}

TEST_F(LibraryOnBoard, AperturesAreTheSameMemory) {
  poke(0x300004, 0xCAFE0001);
  ASSERT_GE(zvgMemOpen(machine().config().aperture.mmio_base, mmio_size,
                       machine().config().aperture.vram_base, vram_size),
            0);
  uint32_t value = 0;
  EXPECT_EQ(zvgRegReadLong(0x300004, &value), 0);
  EXPECT_EQ(value, 0xCAFE0001u);
  EXPECT_EQ(zvgVramWriteByte(0x123, 0x5A), 0);
  EXPECT_EQ(peek(0x123, 1, Space::vram), 0x5Au);
}

TEST_F(LibraryOnBoard, SerialLinkReachesBothSpacesAtEveryRate) {
  for (const int baud : {9600, 19200, 38400, 115200, 460800, 9600}) {
    SCOPED_TRACE(baud);
    ASSERT_GE(zvgSerialOpen(serial_node, baud), 0);
    EXPECT_TRUE(serial().uart().understands(baud));
    EXPECT_EQ(zvgRegWriteLong(0x300008, 0xDEADBEEF), 0);
    uint8_t byte = 0;
    EXPECT_EQ(zvgRegReadByte(0x30000B, &byte), 0);
    EXPECT_EQ(byte, 0xDE);
    EXPECT_EQ(zvgVramWriteWord(0x1002, 0xABCD), 0);
    EXPECT_EQ(peek(0x1000, 4, Space::vram), 0xABCD0000u);
    poke(0x300008, 0);
  }
  zvgClose();
  EXPECT_TRUE(serial().uart().understands(9600));
}

TEST_F(LibraryOnBoard, BridgeReachesEveryWidth) {
  for (const Generation generation : {Generation::rq301, Generation::rq302}) {
    SCOPED_TRACE(name(generation));
    BoardConfig config;
    config.generation = generation;
    power_up(config);
    ASSERT_GE(zvgRwOpen(0), 0);
    for (unsigned lane = 0; lane < 16; ++lane) {
      EXPECT_EQ(zvgAmbaWriteByte(bus_vram_base + 0x40 + lane, static_cast<uint8_t>(0xA0 + lane)),
                0);
    }
    EXPECT_EQ(peek(0x48, 8, Space::vram), 0xAFAEADACABAAA9A8u);
    uint16_t word = 0;
    uint32_t dword = 0;
    uint64_t quad = 0;
    EXPECT_EQ(zvgAmbaReadWord(bus_vram_base + 0x46, &word), 0);
    EXPECT_EQ(word, 0xA7A6);
    EXPECT_EQ(zvgAmbaReadLong(bus_vram_base + 0x4C, &dword), 0);
    EXPECT_EQ(dword, 0xAFAEADACu);
    EXPECT_EQ(zvgAmbaReadQuad(bus_vram_base + 0x40, &quad), 0);
    EXPECT_EQ(quad, 0xA7A6A5A4A3A2A1A0u);
    EXPECT_EQ(zvgAmbaWriteQuad(bus_mmio_base + 0x300008, 0x0102030405060708), 0);
    EXPECT_EQ(peek(0x300008, 8), 0x0102030405060708u);
    EXPECT_EQ(peek(0x300000, 8), 0u);
    EXPECT_EQ(zvgAmbaReadLong(0x10, &dword), -2) << "nobody decodes it";
    EXPECT_EQ(zvgAmbaWriteLong(0x10, 1), -1);
    EXPECT_EQ(zvgAmbaReadLong(bus_vram_base + 0x4C, &dword), 0) << "and the bridge recovers";
  }
}

}  // namespace
}  // namespace zvgsim
