// The AMBA bridge, driven through the CRTC registers step by step.
#include "devices/amba/amba_bridge.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/machine.h"

namespace zvgsim {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AmbaBridgeTest : public ::testing::TestWithParam<Generation> {
 protected:
  AmbaBridgeTest() { board().write(Space::mmio, 0x103C2, 1, 3); }

  static BoardConfig config() {
    BoardConfig config;
    config.generation = GetParam();
    return config;
  }

  Board& board() { return machine_.card(); }
  void set(uint8_t index, unsigned value) {
    board().write(Space::mmio, 0x103D4, 1, index);
    board().write(Space::mmio, 0x103D5, 1, value);
  }
  uint8_t get(uint8_t index) {
    board().write(Space::mmio, 0x103D4, 1, index);
    return static_cast<uint8_t>(board().read(Space::mmio, 0x103D5, 1));
  }
  void strobe(unsigned command) {
    set(0xB0, command);
    set(0xB0, 0);
  }
  void address(uint64_t address, bool for_write) {
    for (unsigned i = 0; i < 5; ++i) {
      set(0xB2, address >> (8 * i) & 0xFF);
      set(0xB1, (1u << i) | (for_write ? 0x80 : 0));
      strobe(0x20);
    }
  }
  void bus_mode() {
    if (GetParam() == Generation::rq302) set(0xBA, 0x44);
  }
  void data(unsigned lane, unsigned value) {
    set(0xB3, value);
    set(0xB4, 0x10 | lane);
    strobe(0x10);
  }
  void enables(unsigned mask) {
    set(0xB6, mask & 0xFF);
    set(0xB5, 1);
    strobe(0x08);
    set(0xB6, mask >> 8);
    set(0xB5, 2);
    strobe(0x08);
  }
  uint8_t lane(unsigned number) {
    set(0xB7, 0x10 | number);
    strobe(0x04);
    return get(0xB8);
  }
  // A status some time later.
  uint8_t status() {
    set(0xB9, 0);
    machine_.clock().sleep(microseconds(50));
    return get(0xB9);
  }
  static uint8_t answered() { return GetParam() == Generation::rq302 ? 0xA0 : 0xE0; }

  Machine machine_{config()};
};

INSTANTIATE_TEST_SUITE_P(Generations, AmbaBridgeTest,
                         ::testing::Values(Generation::rq300, Generation::rq301, Generation::rq302),
                         [](const auto& instance) { return std::string(name(instance.param)); });

TEST_P(AmbaBridgeTest, WritesEnabledLanesOfALine) {
  for (unsigned i = 0; i < 16; ++i) board().write(Space::vram, 0x100 + i, 1, 0xEE);
  address(bus_vram_base + 0x100, true);
  bus_mode();
  set(0xB4, 0);
  strobe(0x10);
  for (unsigned i = 0; i < 16; ++i) data(i, 0x10 + i);
  enables(0x8421);
  strobe(0x80);
  EXPECT_EQ(status(), answered());
  for (unsigned i = 0; i < 16; ++i) {
    const bool enabled = i == 0 || i == 5 || i == 10 || i == 15;
    EXPECT_EQ(board().read(Space::vram, 0x100 + i, 1), enabled ? 0x10 + i : 0xEE) << i;
  }
}

TEST_P(AmbaBridgeTest, ReadsALineIntoItsLanes) {
  board().write(Space::mmio, 0x300010, 8, 0x8877665544332211);
  board().write(Space::mmio, 0x300018, 8, 0x10FFEEDDCCBBAA99);
  address(bus_mmio_base + 0x300010, false);
  bus_mode();
  strobe(0x40);
  EXPECT_EQ(status(), answered());
  for (unsigned i = 0; i < 16; ++i) EXPECT_EQ(lane(i), (0x11 * (i + 1)) & 0xFF) << i;
}

TEST_P(AmbaBridgeTest, LowAddressBitsAreTheLanes) {
  board().write(Space::vram, 0x20, 4, 0xA1B2C3D4);
  address(bus_vram_base + 0x2F, false);
  bus_mode();
  strobe(0x40);
  EXPECT_EQ(status(), answered());
  EXPECT_EQ(lane(0), 0xD4);
  EXPECT_EQ(lane(3), 0xA1);
}

TEST_P(AmbaBridgeTest, AcknowledgeEndsTheTransaction) {
  address(bus_vram_base, false);
  bus_mode();
  strobe(0x40);
  EXPECT_EQ(status(), answered());
  EXPECT_EQ(status(), answered()) << "stays until it is acknowledged";
  strobe(0x01);
  EXPECT_EQ(status(), 0);
  EXPECT_EQ(lane(0), 0) << "the data stays readable";
}

TEST_P(AmbaBridgeTest, AnswerTakesItsTime) {
  address(bus_vram_base, false);
  bus_mode();
  set(0xB0, 0x40);
  EXPECT_EQ(get(0xB9), 0) << "the bus has not answered yet";
  machine_.clock().sleep(microseconds(5));
  EXPECT_EQ(get(0xB9), answered());
}

TEST_P(AmbaBridgeTest, CommandsActOnTheRisingEdge) {
  address(bus_vram_base, true);
  bus_mode();
  enables(0x0001);
  data(0, 0x55);
  set(0xB0, 0x80);
  strobe(0x01);  // 0x80 falls, 0x01 rises
  EXPECT_EQ(status(), 0);
  EXPECT_EQ(board().read(Space::vram, 0, 1), 0x55u);
  board().write(Space::vram, 0, 1, 0);
  set(0xB0, 0x81);
  set(0xB0, 0x80);  // still up: not a second start
  EXPECT_EQ(board().read(Space::vram, 0, 1), 0x55u);
  board().write(Space::vram, 0, 1, 0);
  set(0xB0, 0x80);
  EXPECT_EQ(board().read(Space::vram, 0, 1), 0u);
}

TEST_P(AmbaBridgeTest, LaneWithoutValidBitClearsTheLine) {
  address(bus_vram_base, true);
  bus_mode();
  data(3, 0x77);
  set(0xB4, 0);
  strobe(0x10);
  data(0, 0x11);
  enables(0xFFFF);
  strobe(0x80);
  EXPECT_EQ(board().read(Space::vram, 0, 8), 0x11u);
}

TEST_P(AmbaBridgeTest, AddressBytesAreLatchedOneByOne) {
  address(bus_vram_base + 0x12345670, true);
  // Only byte 1 again: the others stay.
  set(0xB2, 0x99);
  set(0xB1, 0x80 | 0x02);
  strobe(0x20);
  // 0x8012349970 is outside video memory of 256 MiB, so take byte 3 down to 0x02.
  set(0xB2, 0x02);
  set(0xB1, 0x80 | 0x08);
  strobe(0x20);
  bus_mode();
  data(0, 0xAB);
  enables(0x0001);
  strobe(0x80);
  EXPECT_EQ(status(), answered());
  EXPECT_EQ(board().read(Space::vram, 0x02349970, 1), 0xABu);
}

TEST_P(AmbaBridgeTest, NobodyAnswersAtAnUndecodedAddress) {
  for (const uint64_t nowhere : {0x0ull, 0xFFFFF0ull, 0x2000000ull, 0x8010000000ull}) {
    SCOPED_TRACE(nowhere);
    address(nowhere, false);
    bus_mode();
    strobe(0x40);
    machine_.clock().sleep(seconds(1));
    EXPECT_EQ(status(), 0);
    address(nowhere, true);
    enables(0xFFFF);
    strobe(0x80);
    machine_.clock().sleep(seconds(1));
    EXPECT_EQ(status(), 0);
  }
}

TEST_P(AmbaBridgeTest, DirectionIsPartOfTheAddress) {
  address(bus_vram_base, false);
  bus_mode();
  data(0, 0x44);
  enables(0x0001);
  strobe(0x80);
  EXPECT_EQ(status(), 0) << "a write with a read's address";
  EXPECT_EQ(board().read(Space::vram, 0, 1), 0u);
  address(bus_vram_base, true);
  strobe(0x40);
  EXPECT_EQ(status(), 0) << "a read with a write's address";
}

TEST_P(AmbaBridgeTest, FaultKeepsTheBusSilent) {
  machine_.faults().of<AmbaFaults>().never_answers = true;
  address(bus_vram_base, false);
  bus_mode();
  strobe(0x40);
  EXPECT_EQ(status(), 0);
  machine_.faults().of<AmbaFaults>().never_answers = false;
  strobe(0x40);
  EXPECT_EQ(status(), answered());
}

TEST_P(AmbaBridgeTest, ModeGivesTheBusOnRq302Only) {
  address(bus_vram_base, false);
  strobe(0x40);
  EXPECT_EQ(status(), GetParam() == Generation::rq302 ? 0 : 0xE0);
  if (GetParam() != Generation::rq302) return;
  set(0xBA, 0x40);
  strobe(0x40);
  EXPECT_EQ(status(), 0);
  set(0xBA, 0x44);
  strobe(0x40);
  EXPECT_EQ(status(), 0xA0);
}

TEST_P(AmbaBridgeTest, ReachesDeviceRegisters) {
  // The misc output register, read over the bus: line 0x103C0, lane 12.
  address(bus_mmio_base + 0x103C0, false);
  bus_mode();
  strobe(0x40);
  EXPECT_EQ(status(), answered());
  EXPECT_EQ(lane(12), 3);
}

// The bridge's own registers are on the bus, too. A transaction that starts another one must end.
TEST_P(AmbaBridgeTest, DoesNotRunAwayWhenItReachesItself) {
  address(bus_mmio_base + 0x103D0, true);
  bus_mode();
  data(4, 0xB0);
  data(5, 0xC0);
  enables(0x0030);
  set(0xB0, 0x80);
  EXPECT_EQ(get(0xB0), 0xC0) << "written by the transaction itself";
}

TEST_P(AmbaBridgeTest, TransfersAreTheBusesInTheTrace) {
  address(bus_vram_base + 0x10, true);
  bus_mode();
  data(8, 0x99);
  enables(0x0100);
  machine_.trace().start();
  strobe(0x80);
  std::vector<std::string> bus;
  for (const Access& access : machine_.trace().entries()) {
    if (access.space == Space::bus) bus.push_back(access.text());
  }
  EXPECT_THAT(bus, ElementsAre("w1 bus 0x8000000018 0x99"));
}

}  // namespace
}  // namespace zvgsim
