// The bus and the monitor on it, byte by byte.
#include "board/i2c_bus.h"

#include <gtest/gtest.h>

#include "devices/monitor/monitor.h"

namespace zvgsim {
namespace {

std::vector<uint8_t> ramp(size_t size) {
  std::vector<uint8_t> bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i ^ i >> 8);
  return bytes;
}

class I2cBusTest : public ::testing::Test {
 protected:
  void plug(size_t size) { bus_.attach(std::make_unique<Monitor>(ramp(size))); }
  I2cBus bus_;
};

TEST_F(I2cBusTest, EmptyBusPullsUp) {
  EXPECT_FALSE(bus_.start(0x50, false));
  EXPECT_FALSE(bus_.write(0));
  EXPECT_EQ(bus_.read(), 0xFF);
  bus_.stop();
}

TEST_F(I2cBusTest, SequentialReadGoesOnAndWraps) {
  plug(256);
  ASSERT_TRUE(bus_.start(0x50, false));
  ASSERT_TRUE(bus_.write(0xFE));
  ASSERT_TRUE(bus_.start(0x50, true));
  EXPECT_EQ(bus_.read(), 0xFE);
  EXPECT_EQ(bus_.read(), 0xFF);
  EXPECT_EQ(bus_.read(), 0x00) << "the offset is 8 bits";
  bus_.stop();
  ASSERT_TRUE(bus_.start(0x50, true));
  EXPECT_EQ(bus_.read(), 0x01) << "the offset outlives a stop";
}

TEST_F(I2cBusTest, SegmentLastsUntilTheStop) {
  plug(512);
  ASSERT_TRUE(bus_.start(0x30, false));
  ASSERT_TRUE(bus_.write(1));
  ASSERT_TRUE(bus_.start(0x50, false));
  ASSERT_TRUE(bus_.write(0x10));
  ASSERT_TRUE(bus_.start(0x50, true));
  EXPECT_EQ(bus_.read(), 0x10 ^ 1);
  bus_.stop();
  ASSERT_TRUE(bus_.start(0x50, false));
  ASSERT_TRUE(bus_.write(0x10));
  ASSERT_TRUE(bus_.start(0x50, true));
  EXPECT_EQ(bus_.read(), 0x10);
}

TEST_F(I2cBusTest, SegmentPointerIsNotReadable) {
  plug(512);
  EXPECT_FALSE(bus_.start(0x30, true));
  EXPECT_EQ(bus_.read(), 0xFF);
}

TEST_F(I2cBusTest, WriteNeedsASelectedDevice) {
  plug(128);
  ASSERT_TRUE(bus_.start(0x50, false));
  bus_.stop();
  EXPECT_FALSE(bus_.write(3));
}

TEST_F(I2cBusTest, UnheardAddressesReachNobody) {
  plug(128);
  bus_.unheard = [](uint8_t address) { return address == 0x50; };
  EXPECT_FALSE(bus_.start(0x50, false));
  bus_.unheard = nullptr;
  EXPECT_TRUE(bus_.start(0x50, false));
}

}  // namespace
}  // namespace zvgsim
