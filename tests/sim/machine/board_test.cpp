// The address map: storage, devices, the on-chip bus, what is decoded and what is recorded.
#include "board/board.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "devices/block_bases.h"
#include "machine/machine.h"

namespace zvgsim {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class BoardTest : public ::testing::Test {
 protected:
  Machine machine_{BoardConfig{}};
  Board& board_ = machine_.card();
};

// Answers with its offset and width, and remembers the last write.
class Echo : public Device {
 public:
  uint64_t read(uint64_t offset, unsigned width) override { return offset << 8 | width; }
  void write(uint64_t offset, unsigned width, uint64_t value) override {
    last_offset = offset;
    last_width = width;
    last_value = value;
  }
  uint64_t last_offset = 0, last_value = 0;
  unsigned last_width = 0;
};

TEST_F(BoardTest, RegistersWithoutDeviceAreLittleEndianStorage) {
  EXPECT_EQ(board_.read(Space::mmio, 0x300000, 8), 0u);
  board_.write(Space::mmio, 0x300000, 8, 0x8877665544332211);
  EXPECT_EQ(board_.read(Space::mmio, 0x300000, 1), 0x11u);
  EXPECT_EQ(board_.read(Space::mmio, 0x300002, 2), 0x4433u);
  EXPECT_EQ(board_.read(Space::mmio, 0x300003, 4), 0x77665544u);  // any alignment
  board_.write(Space::mmio, 0x300001, 1, 0xFFFFFFAB);             // only the width counts
  EXPECT_EQ(board_.read(Space::mmio, 0x300000, 4), 0x4433AB11u);
}

TEST_F(BoardTest, SpacesAreApart) {
  board_.write(Space::vram, 0x300000, 4, 0xAAAAAAAA);
  EXPECT_EQ(board_.read(Space::mmio, 0x300000, 4), 0u);
  EXPECT_EQ(board_.read(Space::vram, 0x300000, 4), 0xAAAAAAAAu);
}

TEST_F(BoardTest, DecodesToTheLastByteOfEachSpace) {
  const struct {
    Space space;
    uint64_t offset;
    unsigned width;
    bool decoded;
  } rows[] = {
      {Space::mmio, 0xFFFFFF, 1, true},    {Space::mmio, 0xFFFFFF, 2, false},
      {Space::mmio, 0x1000000, 1, false},  {Space::mmio, 0xFFFFF8, 8, true},
      {Space::mmio, UINT64_MAX, 8, false}, {Space::vram, 0xFFFFFFC, 4, true},
      {Space::vram, 0xFFFFFFD, 4, false},  {Space::vram, 0x10000000, 1, false},
      {Space::pci, 0xFFC, 4, true},        {Space::pci, 0x1000, 4, false},
      {Space::pci, 2, 4, false},           {Space::pci, 0, 2, false},
      {Space::ioport, 0xFF, 1, true},      {Space::ioport, 0x100, 1, false},
      {Space::ioport, 0xC0, 2, false},     {Space::kmem, 0, 1, false},
      {Space::bus, 0x1000000, 4, false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(board_.decodes(row.space, row.offset, row.width), row.decoded)
        << name(row.space) << " " << std::hex << row.offset << " " << row.width;
  }
}

TEST_F(BoardTest, DeviceAnswersInItsRangeOnly) {
  auto& echo = dynamic_cast<Echo&>(board_.attach(0xA00000, 0x800, std::make_unique<Echo>()));
  EXPECT_EQ(board_.read(Space::mmio, 0xA00000, 4), 4u);
  EXPECT_EQ(board_.read(Space::mmio, 0xA007FF, 1), 0x7FF01u);
  board_.write(Space::mmio, 0xA00404, 2, 0xBEEF);
  EXPECT_EQ(echo.last_offset, 0x404u);
  EXPECT_EQ(echo.last_width, 2u);
  EXPECT_EQ(echo.last_value, 0xBEEFu);
  EXPECT_EQ(board_.read(Space::mmio, 0x9FFFFF, 1), 0u);
  EXPECT_EQ(board_.read(Space::mmio, 0xA00800, 1), 0u);
}

TEST_F(BoardTest, DevicesDoNotOverlapOrStandOutside) {
  board_.attach(0xA00000, 0x800, std::make_unique<Echo>());
  EXPECT_THROW(board_.attach(0xA00400, 0x400, std::make_unique<Echo>()), std::invalid_argument);
  EXPECT_THROW(board_.attach(0xA01001, 0x400, std::make_unique<Echo>()), std::invalid_argument);
  EXPECT_THROW(board_.attach(0xA02000, 0, std::make_unique<Echo>()), std::invalid_argument);
  EXPECT_THROW(board_.attach(0xA02000, 0x3FF, std::make_unique<Echo>()), std::invalid_argument);
  EXPECT_THROW(board_.attach(0xFFFC00, 0x800, std::make_unique<Echo>()), std::invalid_argument);
  EXPECT_NO_THROW(board_.attach(0xFFFC00, 0x400, std::make_unique<Echo>()));
}

TEST_F(BoardTest, BusShowsBothSpaces) {
  const auto where = [](uint64_t address, unsigned width) {
    const auto location = Board::decode_bus(address, width);
    if (!location) return std::string("nobody");
    char text[32];
    snprintf(text, sizeof text, "%s 0x%llx", std::string(name(location->space)).c_str(),
             static_cast<unsigned long long>(location->offset));
    return std::string(text);
  };
  EXPECT_EQ(where(0x1000000, 4), "mmio 0x0");
  EXPECT_EQ(where(0x1FFFFFC, 4), "mmio 0xfffffc");
  EXPECT_EQ(where(0x1FFFFFE, 4), "nobody");
  EXPECT_EQ(where(0x2000000, 1), "nobody");
  EXPECT_EQ(where(0xFFFFFF, 1), "nobody");
  EXPECT_EQ(where(0x8000000000, 4), "vram 0x0");
  EXPECT_EQ(where(0x800FFFFFFC, 4), "vram 0xffffffc");
  EXPECT_EQ(where(0x8010000000, 4), "nobody");
  EXPECT_EQ(where(0x7FFFFFFFFF, 1), "nobody");
}

// Every pattern of byte enables, against the lanes that it may change.
TEST_F(BoardTest, BusWriteChangesEnabledLanesOnly) {
  for (unsigned enables = 0; enables < 16; ++enables) {
    board_.write(Space::vram, 0, 4, 0x11223344);
    ASSERT_TRUE(board_.bus_write(bus_vram_base, enables, 0xAABBCCDD, false));
    uint32_t expected = 0x11223344;
    for (unsigned lane = 0; lane < 4; ++lane) {
      if ((enables >> lane & 1) == 0) continue;
      const uint32_t mask = 0xFFu << (8 * lane);
      expected = (expected & ~mask) | (0xAABBCCDD & mask);
    }
    EXPECT_EQ(board_.read(Space::vram, 0, 4), expected) << "enables " << enables;
    uint32_t word = 0;
    ASSERT_TRUE(board_.bus_read(bus_vram_base, enables, &word, false));
    uint32_t lanes = 0;
    for (unsigned lane = 0; lane < 4; ++lane)
      lanes |= (enables >> lane & 1) * (0xFFu << (8 * lane));
    EXPECT_EQ(word, expected & lanes) << "enables " << enables;
  }
}

TEST_F(BoardTest, BusUsesTheWidestAccessThatEnablesAllow) {
  machine_.trace().start();
  for (const unsigned enables : {0xF, 0x3, 0xC, 0x8, 0x6, 0xB}) {
    board_.bus_write(bus_mmio_base + 0x300000, enables, 0x44332211, false);
  }
  EXPECT_THAT(machine_.trace().take(),
              ElementsAre("w4 mmio 0x300000 0x44332211",                         // 1111
                          "w2 mmio 0x300000 0x2211",                             // 0011
                          "w2 mmio 0x300002 0x4433",                             // 1100
                          "w1 mmio 0x300003 0x44",                               // 1000
                          "w1 mmio 0x300001 0x22", "w1 mmio 0x300002 0x33",      // 0110
                          "w2 mmio 0x300000 0x2211", "w1 mmio 0x300003 0x44"));  // 1011
}

TEST_F(BoardTest, NobodyAnswersBetweenTheSpaces) {
  uint32_t word = 7;
  EXPECT_FALSE(board_.bus_read(0, 0xF, &word, false));
  EXPECT_FALSE(board_.bus_write(0x8010000000, 0xF, 1, false));
  EXPECT_EQ(word, 7u);
}

TEST_F(BoardTest, TraceTellsBridgeFromOthers) {
  machine_.trace().start();
  uint32_t word;
  board_.bus_read(bus_vram_base + 8, 0xF, &word, true);
  board_.bus_read(bus_vram_base + 8, 0xF, &word, false);
  board_.bus_write(bus_mmio_base + 0x300004, 0x2, 0xAB00, true);
  EXPECT_THAT(machine_.trace().take(),
              ElementsAre("r4 bus 0x8000000008 0x0", "r4 vram 0x8 0x0", "w1 bus 0x1300005 0xab"));
}

TEST_F(BoardTest, DispatchLeavesNoTraceAndCostsNothing) {
  machine_.trace().start();
  const uint64_t before = machine_.clock().now();
  board_.dispatch_write(Space::mmio, 0x300000, 4, 5);
  EXPECT_EQ(board_.dispatch_read(Space::mmio, 0x300000, 4), 5u);
  EXPECT_EQ(machine_.clock().now(), before);
  EXPECT_THAT(machine_.trace().take(), IsEmpty());
  board_.read(Space::mmio, 0x300000, 4);
  EXPECT_EQ(machine_.clock().now(), before + VirtualClock::access_cost);
}

TEST(MachineTest, CardsHaveRegistersOfTheirOwn) {
  BoardConfig config;
  config.cards = 3;
  Machine machine(config);
  ASSERT_EQ(machine.cards(), 3u);
  machine.trace().start();
  machine.card(2).write(Space::mmio, 0x300000, 4, 9);
  EXPECT_EQ(machine.card(0).read(Space::mmio, 0x300000, 4), 0u);
  EXPECT_EQ(machine.card(2).read(Space::mmio, 0x300000, 4), 9u);
  EXPECT_THAT(machine.trace().take(),
              ElementsAre("card 2: w4 mmio 0x300000 0x9", "r4 mmio 0x300000 0x0",
                          "card 2: r4 mmio 0x300000 0x9"));
}

TEST(MachineTest, InitialValuesAreWrittenInOrderThroughTheDevices) {
  BoardConfig config;
  config.kernel = {0x1000, 0x100};
  config.registers = {{Space::mmio, 0x103C2, 1, 3},  // colour addressing
                      {Space::mmio, 0x103D4, 1, 0x20},
                      {Space::mmio, 0x103D5, 1, 0x77},
                      {Space::vram, 0x40, 8, 0x0102030405060708},
                      {Space::kmem, 0x10F8, 8, 42}};
  Machine machine(config);
  EXPECT_EQ(machine.card().read(Space::mmio, 0x103D5, 1), 0x77u);
  EXPECT_EQ(machine.card().read(Space::vram, 0x44, 4), 0x01020304u);
  uint64_t value = 0;
  ASSERT_TRUE(machine.kmem_read(0x10F8, 8, &value));
  EXPECT_EQ(value, 42u);
}

TEST(MachineTest, RegistersChangeAfterSomeReadsThroughAnyDoor) {
  BoardConfig config;
  config.registers = {{.offset = 0x300000, .value = 7, .after_reads = 3}};
  Machine machine(config);
  Board& board = machine.card();
  uint32_t word = 1;
  EXPECT_EQ(board.read(Space::mmio, 0x300000, 4), 0u);
  EXPECT_TRUE(board.bus_read(bus_mmio_base + 0x300000, 0xF, &word, false));
  EXPECT_EQ(word, 0u);
  EXPECT_EQ(board.read(Space::mmio, 0x300004, 4), 0u) << "another register's read does not count";
  EXPECT_EQ(board.read(Space::mmio, 0x300000, 4), 0u);
  EXPECT_TRUE(board.bus_read(bus_mmio_base + 0x300000, 0xF, &word, true));
  EXPECT_EQ(word, 7u);
  board.write(Space::mmio, 0x300000, 4, 9);
  EXPECT_EQ(board.read(Space::mmio, 0x300000, 4), 9u) << "it changes once";
}

TEST(MachineTest, KernelMemoryIsItsRangeAndNoMore) {
  BoardConfig config;
  config.kernel = {0xFFFF888000000000, 0x1000};
  Machine machine(config);
  uint64_t value = 1;
  EXPECT_TRUE(machine.kmem_write(0xFFFF888000000FF8, 8, 0x1122334455667788));
  EXPECT_TRUE(machine.kmem_read(0xFFFF888000000FFE, 2, &value));
  EXPECT_EQ(value, 0x1122u);
  value = 99;
  for (const uint64_t address : {0xFFFF888000000FFFull, 0xFFFF887FFFFFFFFFull,
                                 0xFFFF888000001000ull, 0ull, UINT64_MAX + 0ull}) {
    EXPECT_FALSE(machine.kmem_read(address, 2, &value)) << std::hex << address;
    EXPECT_FALSE(machine.kmem_write(address, 2, 0)) << std::hex << address;
  }
  EXPECT_EQ(value, 99u);
}

TEST(BlockBases, GenerationsHaveTheirOwn) {
  constexpr BlockBases rq301 = block_bases(Generation::rq301);
  EXPECT_EQ(rq301.system_control, 0x308400u);
  EXPECT_EQ(rq301.spi_flash, 0x30AC00u);
  EXPECT_EQ(rq301.clocks, 0x308000u);
  EXPECT_EQ(rq301.ddr_channels, 4u);
  EXPECT_THAT(rq301.ddr_controller, ElementsAre(0x3C0000, 0x3C8000, 0x3D0000, 0x3D8000));
  EXPECT_THAT(rq301.ddr_phy, ElementsAre(0x400000, 0x440000, 0x480000, 0x4C0000));
  EXPECT_EQ(block_bases(Generation::rq300).clocks, rq301.clocks);
  constexpr BlockBases rq302 = block_bases(Generation::rq302);
  EXPECT_EQ(rq302.system_control, 0x288400u);
  EXPECT_EQ(rq302.spi_flash, 0x28AC00u);
  EXPECT_EQ(rq302.clocks, 0x288000u);
  EXPECT_EQ(rq302.ddr_channels, 2u);
  EXPECT_THAT(rq302.ddr_controller, ElementsAre(0x280000, 0x130000, 0, 0));
  EXPECT_THAT(rq302.ddr_phy, ElementsAre(0x2C0000, 0x1C0000, 0, 0));
  EXPECT_EQ(device_id(Generation::rq300), 0x201u);
  EXPECT_EQ(device_id(Generation::rq301), 0x201u);
  EXPECT_EQ(device_id(Generation::rq302), 0x202u);
}

}  // namespace
}  // namespace zvgsim
