// The I2C masters and the memories behind them: on their registers, and as the library sees them
// through every door.
#include <gtest/gtest.h>

#include "devices/i2c/i2c_settings.h"
#include "support/board_fixture.h"
#include "util_zvg.h"

namespace zvgsim {
namespace {

using zvgtest::BoardFixture;
using zvgtest::Door;

class I2cBuses : public BoardFixture {
 protected:
  BoardConfig config() override {
    BoardConfig config;
    config.of<I2cSettings>().memories = {{0, 0x54, {0x11, 0x22, 0x33}}};
    return config;
  }

  void pass(uint64_t time) { clock().sleep(time); }
};

constexpr uint32_t master = 0x100000;

TEST_F(I2cBuses, MasterTakesTheTimeOfTheWires) {
  poke(master + 3, 0x54 << 1, 1);
  poke(master + 4, 0x90, 1);
  EXPECT_EQ(peek(master + 4, 1), 0x42u);  // busy, the bus is taken
  pass(microseconds(99));
  EXPECT_EQ(peek(master + 4, 1), 0x42u);
  pass(microseconds(3));
  EXPECT_EQ(peek(master + 4, 1), 0x40u);
  poke(master + 3, 1, 1);
  poke(master + 4, 0x50, 1);
  pass(microseconds(110));
  EXPECT_EQ(peek(master + 4, 1), 0x00u) << "released by the stop";
}

TEST_F(I2cBuses, MasterRunsAtItsPrescalersRate) {
  EXPECT_EQ(peek(master, 2), 107u);  // 54 MHz by 5 x 108: 100 kHz
  poke(master, 26, 2);               // 400 kHz
  poke(master + 3, 0x54 << 1, 1);
  poke(master + 4, 0x90, 1);
  pass(microseconds(24));
  EXPECT_EQ(peek(master + 4, 1) & 2, 2u);
  pass(microseconds(2));
  EXPECT_EQ(peek(master + 4, 1) & 2, 0u);
}

TEST_F(I2cBuses, MasterReportsAMissingAcknowledge) {
  poke(master + 3, 0x22 << 1, 1);
  poke(master + 4, 0x90, 1);
  pass(milliseconds(1));
  EXPECT_EQ(peek(master + 4, 1), 0xC0u);
  poke(master + 4, 0x40, 1);
  pass(milliseconds(1));
  EXPECT_EQ(peek(master + 4, 1) & 0x40, 0u);
}

TEST_F(I2cBuses, ADisabledMasterDoesNothing) {
  poke(master + 2, 0, 1);
  poke(master + 3, 0x54 << 1, 1);
  poke(master + 4, 0x90, 1);
  EXPECT_EQ(peek(master + 4, 1), 0u);
}

TEST_F(I2cBuses, LibraryReadsAndWritesInEveryMode) {
  for (const Door door : {Door::driver, Door::aperture, Door::uart}) {
    SCOPED_TRACE(name(door));
    open_through(door, 9600);
    uint8_t bytes[3] = {};
    EXPECT_EQ(zvgI2cRead(0, 0x54, 0, 3, bytes), 0u);
    EXPECT_EQ(bytes[0], 0x11);
    EXPECT_EQ(bytes[2], 0x33);
    uint8_t written[] = {0xAB, 0xCD};
    EXPECT_EQ(zvgI2cWrite(0, 0x54, 0x80, 2, written), 0u);
    EXPECT_EQ(zvgI2cRead(0, 0x54, 0x80, 2, bytes), 0u);
    EXPECT_EQ(bytes[0] << 8 | bytes[1], 0xABCD);
    EXPECT_EQ(static_cast<int>(zvgI2cRead(0, 0x55, 0, 1, bytes)), -2);
    EXPECT_EQ(static_cast<int>(zvgI2cRead(1, 0x54, 0, 1, bytes)), -2);
    written[0] = written[1] = 0;
    EXPECT_EQ(zvgI2cWrite(0, 0x54, 0x80, 2, written), 0u);
  }
}

TEST_F(I2cBuses, FaultsOfTheBus) {
  uint8_t byte = 0;
  faults().of<I2cFaults>().list = {{.bus = 0, .address = 0x54, .nack = true}};
  for (const Door door : {Door::driver, Door::aperture, Door::uart}) {
    SCOPED_TRACE(name(door));
    open_through(door, 9600);
    EXPECT_EQ(static_cast<int>(zvgI2cRead(0, 0x54, 0, 1, &byte)), -2);
  }
  // A byte in the middle: the driver says so, on the registers nobody looks.
  faults().of<I2cFaults>().list = {{.bus = 0, .address = 0x54, .nack_at_byte = 2}};
  open_through(Door::driver);
  EXPECT_EQ(static_cast<int>(zvgI2cWriteByte(0, 0x54, 0, 1)), -3);
  open_through(Door::uart, 9600);
  EXPECT_EQ(zvgI2cWriteByte(0, 0x54, 0, 1), 0u);
  faults().of<I2cFaults>().list = {{.bus = 0, .hangs = true}};
  const uint64_t begin = clock().now();
  EXPECT_EQ(static_cast<int>(zvgI2cRead(0, 0x54, 0, 1, &byte)), -2);
  EXPECT_GE(clock().now() - begin, milliseconds(3276));
  faults().of<I2cFaults>().list.clear();
  EXPECT_EQ(zvgI2cRead(0, 0x54, 0, 1, &byte), 0u);
}

}  // namespace
}  // namespace zvgsim
