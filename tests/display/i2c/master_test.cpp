// The I2C masters, on their registers and by the driver, and the driver's DDC read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/ioctl.h>

#include <functional>
#include <optional>

#include "support/capture.h"
#include "support/i2c_node.h"
#include "support/log.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::I2cNode;
using zvgtest::join;
using zvgtest::Log;
using zvgtest::RegisterNode;

constexpr uint64_t data_register(unsigned channel) {
  return 0x100003 + channel * 0x400;
}
constexpr uint64_t command_register(unsigned channel) {
  return 0x100004 + channel * 0x400;
}

std::string line(const char* kind, uint64_t at, int value = -1) {
  char text[64];
  snprintf(text, sizeof text, value < 0 ? "%s 0x%llx" : "%s 0x%llx 0x%x", kind,
           static_cast<unsigned long long>(at), value);
  return text;
}

class I2cRegisters : public testing::Test {
 protected:
  void SetUp() override {
    node_.on_read = [this](uint64_t at, uint64_t* value) {
      const unsigned channel = (at >> 10) & 3;
      if (at == command_register(channel)) {
        ++status_reads_;
        *value = status_ ? status_() : 0;
      } else {
        *value = next_byte_++;
      }
      return true;
    };
    node_.open_serial();
  }

  // A byte to the slave with its command, ended at the first look.
  static Log sent(unsigned channel, unsigned byte, unsigned command) {
    return {line("w1", data_register(channel), static_cast<int>(byte)),
            line("w1", command_register(channel), static_cast<int>(command)),
            line("r1", command_register(channel))};
  }
  static Log received(unsigned channel, unsigned command) {
    return {line("w1", command_register(channel), static_cast<int>(command)),
            line("r1", command_register(channel)), line("r1", data_register(channel))};
  }

  // Status reads from the n-th command on see the master busy.
  void stuck_from(unsigned command) {
    status_ = [this, command]() -> uint8_t { return commands() >= command ? 0x02 : 0; };
  }
  // Commands so far: with a master that is never busy, each is read once.
  unsigned commands() const { return status_reads_; }

  RegisterNode node_;
  std::function<uint8_t()> status_;
  unsigned status_reads_ = 0;
  uint8_t next_byte_ = 0xA0;
};

TEST_F(I2cRegisters, ReadsOneByte) {
  for (unsigned channel = 0; channel < 4; ++channel) {
    uint8_t byte = 0;
    EXPECT_EQ(zvgI2cRead(channel, 0x4C, 0x123, 1, &byte), 0u);
    EXPECT_EQ(byte, 0xA0 + channel);
    EXPECT_THAT(node_.take(),
                ElementsAreArray(join({sent(channel, 0x98, 0x90), sent(channel, 0x23, 0x10),
                                       sent(channel, 0x99, 0x90), received(channel, 0x68)})));
  }
}

TEST_F(I2cRegisters, AcknowledgesEveryByteButTheLast) {
  uint8_t bytes[4] = {};
  EXPECT_EQ(zvgI2cRead(2, 0x50, 0x10, 3, bytes), 0u);
  EXPECT_THAT(bytes, ElementsAre(0xA0, 0xA1, 0xA2, 0));
  EXPECT_THAT(node_.take(),
              ElementsAreArray(join({sent(2, 0xA0, 0x90), sent(2, 0x10, 0x10), sent(2, 0xA1, 0x90),
                                     received(2, 0x20), received(2, 0x20), received(2, 0x68)})));
}

TEST_F(I2cRegisters, WritesBytes) {
  uint8_t bytes[] = {0x11, 0x22, 0x33};
  EXPECT_EQ(zvgI2cWrite(3, 0x24, 0x107, 3, bytes), 0u);
  EXPECT_THAT(node_.take(),
              ElementsAreArray(join({sent(3, 0x48, 0x90), sent(3, 0x07, 0x10), sent(3, 0x11, 0x10),
                                     sent(3, 0x22, 0x10), sent(3, 0x33, 0x50)})));
}

TEST_F(I2cRegisters, WritesTheLowByteOfAValue) {
  EXPECT_EQ(zvgI2cWriteByte(0, 0x24, 2, 0x1C0), 0u);
  EXPECT_THAT(
      node_.take(),
      ElementsAreArray(join({sent(0, 0x48, 0x90), sent(0, 0x02, 0x10), sent(0, 0xC0, 0x50)})));
}

TEST_F(I2cRegisters, AnAddressAboveSevenBitsLosesItsTop) {
  uint8_t byte = 0;
  EXPECT_EQ(zvgI2cRead(0, 0xC1, 0, 1, &byte), 0u);
  EXPECT_THAT(node_.take(), ElementsAreArray(join({sent(0, 0x82, 0x90), sent(0, 0x00, 0x10),
                                                   sent(0, 0x83, 0x90), received(0, 0x68)})));
}

TEST_F(I2cRegisters, NothingToTransferEndsWithoutAStop) {
  for (const uint32_t count : {0u, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(zvgI2cRead(1, 0x40, 5, count, nullptr), 0u);
    EXPECT_THAT(
        node_.take(),
        ElementsAreArray(join({sent(1, 0x80, 0x90), sent(1, 0x05, 0x10), sent(1, 0x81, 0x90)})));
    EXPECT_EQ(zvgI2cWrite(1, 0x40, 5, count, nullptr), 0u);
    EXPECT_THAT(node_.take(), ElementsAreArray(join({sent(1, 0x80, 0x90), sent(1, 0x05, 0x10)})));
  }
}

TEST_F(I2cRegisters, ChannelsEndAtThree) {
  uint8_t byte = 0;
  for (const uint32_t channel : {4u, 5u, 0xFFFFFFFFu}) {
    EXPECT_EQ(zvgI2cRead(channel, 0x40, 0, 1, &byte), static_cast<uint32_t>(-1));
    EXPECT_EQ(zvgI2cWrite(channel, 0x40, 0, 1, &byte), static_cast<uint32_t>(-1));
    EXPECT_EQ(zvgI2cWriteByte(channel, 0x40, 0, 1), static_cast<uint32_t>(-1));
  }
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(I2cRegisters, AMissingAcknowledgeOfTheAddressStops) {
  status_ = [] { return 0x80; };
  uint8_t byte = 0;
  const Log expected = join({sent(0, 0x80, 0x90), {line("w1", command_register(0), 0x40)}});
  EXPECT_EQ(zvgI2cRead(0, 0x40, 0, 1, &byte), static_cast<uint32_t>(-2));
  EXPECT_THAT(node_.take(), ElementsAreArray(expected));
  EXPECT_EQ(zvgI2cWrite(0, 0x40, 0, 1, &byte), static_cast<uint32_t>(-2));
  EXPECT_THAT(node_.take(), ElementsAreArray(expected));
}

TEST_F(I2cRegisters, OtherAcknowledgesAreNotLookedAt) {
  status_ = [this] { return commands() == 1 ? 0x00 : 0x80; };
  uint8_t bytes[2] = {};
  EXPECT_EQ(zvgI2cRead(0, 0x40, 0, 2, bytes), 0u);
  status_reads_ = 0;
  EXPECT_EQ(zvgI2cWrite(0, 0x40, 0, 2, bytes), 0u);
}

// The acknowledge counts as it is once the master is idle, not while it is busy.
TEST_F(I2cRegisters, WaitsWhileBusy) {
  status_ = [this] { return status_reads_ < 4 ? 0x82 : 0x00; };
  EXPECT_EQ(zvgI2cWrite(0, 0x40, 0, 0, nullptr), 0u);
  const std::string look = line("r1", command_register(0));
  EXPECT_THAT(node_.take(),
              ElementsAreArray(join({sent(0, 0x80, 0x90),
                                     {look, "usleep 50", look, "usleep 50", look, "usleep 50"},
                                     sent(0, 0x00, 0x10)})));
}

TEST_F(I2cRegisters, TheLastLookStillCounts) {
  node_.quiet = true;
  status_ = [this] { return status_reads_ < 65536 ? 0x02 : 0x00; };
  EXPECT_EQ(zvgI2cWrite(0, 0x40, 0, 0, nullptr), 0u);
  EXPECT_EQ(node_.slept_us, 65535u * 50);
  EXPECT_EQ(status_reads_, 65537u);
}

// A transfer that hangs ends the call there, without a stop, wherever it hangs.
TEST_F(I2cRegisters, ABusThatStaysBusyTimesOut) {
  node_.quiet = true;
  uint8_t bytes[2] = {0x5A, 0x5A};
  for (unsigned command = 1; command <= 5; ++command) {
    for (const bool write : {false, true}) {
      if (write && command > 4) continue;
      status_reads_ = 0;
      node_.slept_us = 0;
      node_.accesses = 0;
      stuck_from(command);
      EXPECT_EQ(write ? zvgI2cWrite(1, 0x40, 0, 2, bytes) : zvgI2cRead(1, 0x40, 0, 2, bytes),
                static_cast<uint32_t>(-2));
      EXPECT_EQ(status_reads_, command - 1 + 65536);
      EXPECT_EQ(node_.slept_us, 65535u * 50);
      // Two writes a byte sent, one write and later one read a byte received.
      constexpr unsigned read_accesses[] = {2, 4, 6, 7, 9}, write_accesses[] = {2, 4, 6, 8};
      const unsigned others = write ? write_accesses[command - 1] : read_accesses[command - 1];
      EXPECT_EQ(node_.accesses, status_reads_ + others) << command << write;
    }
  }
}

TEST(I2cDriver, HandsTransfersToTheDriver) {
  I2cNode i2c;
  uint8_t bytes[] = {0x71, 0x21};
  EXPECT_EQ(zvgI2cWrite(5, 0x40, 0x100, 2, bytes), 0u);
  EXPECT_EQ(zvgI2cWriteByte(0, 0x41, 0x08, 0x3C4), 0u);
  i2c.device(3, 0x4C) = {{4, 0x12}, {5, 0x34}, {6, 0x56}};
  uint8_t read[3] = {};
  EXPECT_EQ(zvgI2cRead(3, 0x4C, 4, 3, read), 0u);
  EXPECT_THAT(read, ElementsAre(0x12, 0x34, 0x56));
  EXPECT_THAT(i2c.take(),
              ElementsAre("i2c w 5:40 100 7121", "i2c w 0:41 08 c4", "i2c r 3:4c 04 x3"));
}

TEST(I2cDriver, PassesTheDriversStatusOn) {
  I2cNode i2c;
  uint8_t byte = 0;
  for (const int status : {-1, -2, -3, 7}) {
    i2c.status = [status](unsigned) { return status; };
    EXPECT_EQ(zvgI2cRead(0, 0x40, 0, 1, &byte), static_cast<uint32_t>(status));
    EXPECT_EQ(zvgI2cWrite(0, 0x40, 0, 1, &byte), static_cast<uint32_t>(status));
  }
}

TEST(I2cDriver, ChannelsEndAtFive) {
  I2cNode i2c;
  uint8_t byte = 0;
  const auto output = capture([&] {
    for (const uint32_t channel : {6u, 0xFFFFFFFFu}) {
      EXPECT_EQ(zvgI2cRead(channel, 0x40, 0, 1, &byte), 4u);
      EXPECT_EQ(zvgI2cWrite(channel, 0x40, 0, 1, &byte), 4u);
      EXPECT_EQ(zvgI2cWriteByte(channel, 0x40, 0, 1), 4u);
    }
  });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_THAT(i2c.take(), IsEmpty());
}

TEST(I2cErrString, NamesTheCodes) {
  const std::pair<int, const char*> texts[] = {{0, "Succeed"},
                                               {-1, "I2c channel is not exist"},
                                               {-2, "I2c slave device is not exist"},
                                               {-3, "I2c slave device acknowledge none"},
                                               {-4, "Invalid argument"},
                                               {-5, "Unkown error"},
                                               {1, "Unkown error"},
                                               {4, "Unkown error"},
                                               {INT32_MIN, "Unkown error"},
                                               {INT32_MAX, "Unkown error"}};
  for (const auto& [code, text] : texts) EXPECT_STREQ(zvgI2cErrString(code), text) << code;
}

class Ddc : public testing::Test {
 protected:
  struct Record {
    uint32_t card, channel, reserved, result;
    uint8_t data[512];
    uint32_t count;
  };

  void SetUp() override {
    node_.on_request = [this](unsigned long number, void* bytes) {
      EXPECT_EQ(number, 0xC2146402u);
      ++requests_;
      memcpy(&sent_, bytes, sizeof sent_);
      Record record = sent_;
      record.reserved = 0x77;
      record.result = 0x1234;
      for (size_t i = 0; i < sizeof record.data; ++i) record.data[i] = static_cast<uint8_t>(i * 3);
      record.count = 256;
      memcpy(bytes, &record, sizeof record);
      return returned_;
    };
  }

  RegisterNode node_;
  Record sent_{};
  int requests_ = 0;
  int returned_ = 0;
};

TEST_F(Ddc, GivesWhatTheDriverFilledIn) {
  node_.open();
  zvgSetCard(3);
  uint32_t result = 0, count = 0;
  uint64_t data = 0, again = 0;
  EXPECT_EQ(zvgDDCRead(15, &result, &data, &count), 0);
  EXPECT_EQ(sent_.card, 3u);
  EXPECT_EQ(sent_.channel, 15u);
  EXPECT_EQ(sent_.reserved, 0u);
  EXPECT_EQ(result, 0x1234u);
  EXPECT_EQ(count, 256u);
  const auto* const bytes = reinterpret_cast<const uint8_t*>(data);
  for (size_t i = 0; i < 512; ++i) ASSERT_EQ(bytes[i], static_cast<uint8_t>(i * 3));

  // One record for all calls, whose third word goes in as 0 each time.
  EXPECT_EQ(zvgDDCRead(0, nullptr, &again, nullptr), 0);
  EXPECT_EQ(again, data);
  EXPECT_EQ(sent_.channel, 0u);
  EXPECT_EQ(sent_.reserved, 0u);
  zvgSetCard(0);
}

TEST_F(Ddc, EveryOutputMayBeMissing) {
  node_.open();
  EXPECT_EQ(zvgDDCRead(1, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(requests_, 1);
}

TEST_F(Ddc, FillsTheOutputsOfAFailedRequestToo) {
  node_.open();
  returned_ = -1;
  uint32_t result = 0, count = 0;
  uint64_t data = 0;
  EXPECT_EQ(zvgDDCRead(2, &result, &data, &count), -1);
  EXPECT_EQ(result, 0x1234u);
  EXPECT_NE(data, 0u);
  EXPECT_EQ(count, 256u);
}

TEST_F(Ddc, ChannelsEndAtFifteen) {
  node_.open();
  const auto output = capture([] {
    EXPECT_EQ(zvgDDCRead(16, nullptr, nullptr, nullptr), -22);
    EXPECT_EQ(zvgDDCRead(0xFFFFFFFF, nullptr, nullptr, nullptr), -22);
  });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_EQ(requests_, 0);
}

TEST_F(Ddc, NeedsTheDriver) {
  const auto closed = capture([] { EXPECT_EQ(zvgDDCRead(0, nullptr, nullptr, nullptr), -1); });
  EXPECT_EQ(closed.out, "ddc command is not support with current type: -1\n");
  node_.open_serial();
  uint32_t result = 99;
  const auto serial = capture([&] {
    EXPECT_EQ(zvgDDCRead(15, &result, nullptr, nullptr), -1);
    EXPECT_EQ(zvgDDCRead(16, &result, nullptr, nullptr), -22);
  });
  EXPECT_EQ(serial.out, "ddc command is not support with current type: 2\n");
  EXPECT_EQ(serial.err, "");
  EXPECT_EQ(result, 99u);
  EXPECT_EQ(requests_, 0);
  zvgClose();
}

}  // namespace
