// The on-chip bus bridge: every CRTC access of a transfer, in order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAreArray;
using zvgtest::RegisterNode;
using Log = std::vector<std::string>;

std::string hex_byte(unsigned value) {
  char text[8];
  snprintf(text, sizeof text, "0x%x", value);
  return text;
}

// A connection whose bridge always answers with a status and hands out the data bytes in order.
class Amba : public testing::Test {
 protected:
  void start(uint32_t device_id) {
    node_.device_id = device_id;
    node_.bytes[0x103CC] = 1;
    status_ = device_id == 0x202 ? 0xA0 : 0xE0;
    node_.open();
    uint8_t unused = 0;
    zvgCrtcReadByte(0, &unused);  // the process's one look at the addressing mode
    node_.on_read = [this](uint64_t offset, uint64_t* value) {
      if (offset != 0x103D5) return false;
      const uint8_t index = node_.bytes[0x103D4];
      if (index == 0xB9) {
        ++status_reads_;
        *value = status_reads_ > busy_reads_ ? status_ : 0x00;
      } else if (index == 0xB8) {
        *value = data_.at(next_++);
      }
      return true;
    };
    node_.take();
  }

  RegisterNode node_;
  uint8_t status_ = 0xE0;
  int busy_reads_ = 0;
  int status_reads_ = 0;
  size_t next_ = 0;
  std::vector<uint8_t> data_ = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88};
};

// Builds the log that a transfer should leave.
class Expected {
 public:
  Expected& put(unsigned index, unsigned value) {
    log_.push_back("w1 0x103d4 " + hex_byte(index));
    log_.push_back("w1 0x103d5 " + hex_byte(value));
    return *this;
  }
  Expected& get(unsigned index) {
    log_.push_back("w1 0x103d4 " + hex_byte(index));
    log_.push_back("r1 0x103d5");
    return *this;
  }
  Expected& strobe(unsigned value) { return put(0xB0, value).put(0xB0, 0); }
  Expected& sleep() {
    log_.push_back("usleep 50");
    return *this;
  }
  Expected& address(std::initializer_list<unsigned> bytes, unsigned flag) {
    unsigned select = 1;
    for (const unsigned byte : bytes) {
      put(0xB2, byte).put(0xB1, select | flag).strobe(0x20);
      select <<= 1;
    }
    return *this;
  }
  Expected& write_lane(unsigned byte, unsigned lane) {
    return put(0xB3, byte).put(0xB4, lane).strobe(0x10);
  }
  Expected& read_lane(unsigned lane) { return put(0xB7, lane).strobe(0x04).get(0xB8); }
  Expected& enables(unsigned low, unsigned high) {
    return put(0xB6, low).put(0xB5, 1).strobe(0x08).put(0xB6, high).put(0xB5, 2).strobe(0x08);
  }
  Expected& run(unsigned start) { return strobe(start).put(0xB9, 0).get(0xB9); }
  const Log& log() const { return log_; }

 private:
  Log log_;
};

TEST_F(Amba, LongWriteOnRq301) {
  start(0x201);
  EXPECT_EQ(zvgAmbaWriteLong(0x8012345674, 0xA1B2C3D4), 0);
  Expected expected;
  expected.address({0x70, 0x56, 0x34, 0x12, 0x80}, 0x80)
      .put(0xB4, 0)
      .strobe(0x10)
      .write_lane(0xD4, 0x14)
      .write_lane(0xC3, 0x15)
      .write_lane(0xB2, 0x16)
      .write_lane(0xA1, 0x17)
      .enables(0xF0, 0x00)
      .run(0x80)
      .strobe(0x01);
  EXPECT_THAT(node_.take(), ElementsAreArray(expected.log()));
}

TEST_F(Amba, LongReadOnRq301) {
  start(0x201);
  uint32_t value = 0;
  EXPECT_EQ(zvgAmbaReadLong(0x100000C, &value), 0);
  EXPECT_EQ(value, 0x44332211u);
  Expected expected;
  expected.address({0x00, 0x00, 0x00, 0x01, 0x00}, 0)
      .run(0x40)
      .read_lane(0x1C)
      .read_lane(0x1D)
      .read_lane(0x1E)
      .read_lane(0x1F)
      .run(0x40)
      .strobe(0x01);
  EXPECT_THAT(node_.take(), ElementsAreArray(expected.log()));
}

TEST_F(Amba, Rq302SetsItsModeAfterTheAddress) {
  start(0x202);
  EXPECT_EQ(zvgAmbaWriteByte(0x1000000, 0x5A), 0);
  Expected write;
  write.address({0, 0, 0, 1, 0}, 0x80)
      .put(0xBA, 0x44)
      .put(0xB4, 0)
      .strobe(0x10)
      .write_lane(0x5A, 0x10)
      .enables(0x01, 0x00)
      .run(0x80)
      .strobe(0x01);
  EXPECT_THAT(node_.take(), ElementsAreArray(write.log()));
  uint8_t value = 0;
  EXPECT_EQ(zvgAmbaReadByte(0x1000000, &value), 0);
  EXPECT_EQ(value, 0x11);
  Expected read;
  read.address({0, 0, 0, 1, 0}, 0).put(0xBA, 0x44).run(0x40).read_lane(0x10).run(0x40).strobe(0x01);
  EXPECT_THAT(node_.take(), ElementsAreArray(read.log()));
}

struct LaneCase {
  unsigned width;
  unsigned low_address;
  unsigned first_lane;
  unsigned enables_low;
  unsigned enables_high;
};

class AmbaLanes : public Amba, public testing::WithParamInterface<LaneCase> {};

TEST_P(AmbaLanes, WriteUsesTheLanesOfItsWidth) {
  const LaneCase& c = GetParam();
  start(0x201);
  const uint64_t address = 0x1000020 + c.low_address;
  const uint64_t value = 0x8877665544332211;
  switch (c.width) {
    case 1:
      EXPECT_EQ(zvgAmbaWriteByte(address, static_cast<uint8_t>(value)), 0);
      break;
    case 2:
      EXPECT_EQ(zvgAmbaWriteWord(address, static_cast<uint16_t>(value)), 0);
      break;
    case 4:
      EXPECT_EQ(zvgAmbaWriteLong(address, static_cast<uint32_t>(value)), 0);
      break;
    case 8:
      EXPECT_EQ(zvgAmbaWriteQuad(address, value), 0);
      break;
  }
  Expected expected;
  expected.address({0x20, 0, 0, 1, 0}, 0x80).put(0xB4, 0).strobe(0x10);
  for (unsigned k = 0; k < c.width; ++k) {
    expected.write_lane(0x11 * (k + 1), (k + 0x10) | c.first_lane);
  }
  expected.enables(c.enables_low, c.enables_high).run(0x80).strobe(0x01);
  EXPECT_THAT(node_.take(), ElementsAreArray(expected.log()));
}

TEST_P(AmbaLanes, ReadUsesTheLanesOfItsWidth) {
  const LaneCase& c = GetParam();
  start(0x201);
  const uint64_t address = 0x1000020 + c.low_address;
  uint8_t byte = 0;
  uint16_t word = 0;
  uint32_t value = 0;
  uint64_t quad = 0;
  switch (c.width) {
    case 1:
      EXPECT_EQ(zvgAmbaReadByte(address, &byte), 0);
      EXPECT_EQ(byte, 0x11);
      break;
    case 2:
      EXPECT_EQ(zvgAmbaReadWord(address, &word), 0);
      EXPECT_EQ(word, 0x2211);
      break;
    case 4:
      EXPECT_EQ(zvgAmbaReadLong(address, &value), 0);
      EXPECT_EQ(value, 0x44332211u);
      break;
    case 8:
      EXPECT_EQ(zvgAmbaReadQuad(address, &quad), 0);
      EXPECT_EQ(quad, 0x8877665544332211u);
      break;
  }
  Expected expected;
  expected.address({0x20, 0, 0, 1, 0}, 0).run(0x40);
  for (unsigned k = 0; k < c.width; ++k) expected.read_lane((k + 0x10) | c.first_lane);
  expected.run(0x40).strobe(0x01);
  EXPECT_THAT(node_.take(), ElementsAreArray(expected.log()));
}

INSTANTIATE_TEST_SUITE_P(
    EveryWidth, AmbaLanes,
    testing::Values(LaneCase{1, 0, 0, 0x01, 0x00}, LaneCase{1, 7, 7, 0x80, 0x00},
                    LaneCase{1, 8, 8, 0x00, 0x01}, LaneCase{1, 15, 15, 0x00, 0x80},
                    LaneCase{2, 0, 0, 0x03, 0x00}, LaneCase{2, 6, 6, 0xC0, 0x00},
                    LaneCase{2, 7, 6, 0xC0, 0x00}, LaneCase{2, 14, 14, 0x00, 0xC0},
                    LaneCase{4, 0, 0, 0x0F, 0x00}, LaneCase{4, 6, 4, 0xF0, 0x00},
                    LaneCase{4, 8, 8, 0x00, 0x0F}, LaneCase{4, 15, 12, 0x00, 0xF0},
                    LaneCase{8, 0, 0, 0xFF, 0x00}, LaneCase{8, 7, 0, 0xFF, 0x00},
                    LaneCase{8, 8, 8, 0x00, 0xFF}, LaneCase{8, 12, 8, 0x00, 0xFF}),
    [](const auto& instance) {
      return "Width" + std::to_string(instance.param.width) + "At" +
             std::to_string(instance.param.low_address);
    });

TEST_F(Amba, StatusIsComparedByItsHighNibble) {
  start(0x201);
  status_ = 0xEF;
  EXPECT_EQ(zvgAmbaWriteByte(0, 1), 0);
  EXPECT_EQ(status_reads_, 1);
}

TEST_F(Amba, WaitsWithASleepAfterEveryFurtherLook) {
  start(0x201);
  busy_reads_ = 2;
  EXPECT_EQ(zvgAmbaWriteByte(0, 1), 0);
  const Log log = node_.take();
  Expected tail;
  tail.get(0xB9).get(0xB9).sleep().get(0xB9).sleep().strobe(0x01);
  ASSERT_GE(log.size(), tail.log().size());
  EXPECT_THAT(Log(log.end() - static_cast<long>(tail.log().size()), log.end()),
              ElementsAreArray(tail.log()));
}

TEST_F(Amba, MatchOnTheFourteenthRepeatIsInTime) {
  start(0x201);
  busy_reads_ = 14;  // the first look and thirteen repeats
  EXPECT_EQ(zvgAmbaWriteByte(0, 1), 0);
  EXPECT_EQ(status_reads_, 15);
}

TEST_F(Amba, MatchOnTheFifteenthRepeatIsATimeout) {
  start(0x201);
  busy_reads_ = 15;
  EXPECT_EQ(zvgAmbaWriteByte(0, 1), -1);
  EXPECT_EQ(status_reads_, 16);
  EXPECT_EQ(node_.slept_us, 15u * 50);
}

TEST_F(Amba, DeadBridgeTimesOutAfterFifteenRepeats) {
  start(0x201);
  busy_reads_ = 1000;
  EXPECT_EQ(zvgAmbaWriteLong(0, 1), -1);
  EXPECT_EQ(status_reads_, 16);
  EXPECT_EQ(node_.slept_us, 750u);
  uint32_t value = 0x77;
  EXPECT_EQ(zvgAmbaReadLong(0, &value), -2);
  EXPECT_EQ(value, 0x77u) << "nothing is stored";
  EXPECT_EQ(status_reads_, 32);
  EXPECT_EQ(node_.take().back(), "usleep 50") << "a timeout is not acknowledged";
}

TEST_F(Amba, ReadThatDoesNotEndTimesOutAfterItsData) {
  start(0x201);
  uint8_t value = 0x77;
  node_.on_read = [this](uint64_t offset, uint64_t* out) {
    if (offset != 0x103D5) return false;
    if (node_.bytes[0x103D4] == 0xB9) *out = ++status_reads_ == 1 ? 0xE0 : 0;
    return true;
  };
  EXPECT_EQ(zvgAmbaReadByte(0, &value), -2);
  EXPECT_EQ(value, 0x77);
}

TEST_F(Amba, GenerationsWaitForTheirOwnStatus) {
  start(0x201);
  status_ = 0xA0;
  EXPECT_EQ(zvgAmbaWriteByte(0, 1), -1);
  start(0x202);
  status_ = 0xE0;
  EXPECT_EQ(zvgAmbaWriteByte(0, 1), -1);
}

TEST_F(Amba, MaskedWriteKeepsTheBitsOutsideTheMask) {
  start(0x201);
  data_ = {0xA5};
  EXPECT_EQ(zvgAmbaMskWriteByte(0x1000005, 0x0F, 0x33), 0);
  Expected expected;
  expected.address({0, 0, 0, 1, 0}, 0)
      .run(0x40)
      .read_lane(0x15)
      .run(0x40)
      .strobe(0x01)
      .address({0, 0, 0, 1, 0}, 0x80)
      .put(0xB4, 0)
      .strobe(0x10)
      .write_lane(0xA3, 0x15)
      .enables(0x20, 0x00)
      .run(0x80)
      .strobe(0x01);
  EXPECT_THAT(node_.take(), ElementsAreArray(expected.log()));
}

TEST_F(Amba, MaskedWriteReturnsBothResults) {
  start(0x201);
  busy_reads_ = 1000;
  EXPECT_EQ(zvgAmbaMskWriteByte(0, 1, 1), -2 | -1);
}

}  // namespace
