// HDMI PHY: register access over its I2C master, reset, start, end, hot-plug sense.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display/hdmi/hdmi_log.h"
#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::join;
using zvgtest::Log;
using zvgtest::read1;
using zvgtest::RegisterNode;
using zvgtest::write1;

constexpr uint64_t base(unsigned hdmi) {
  return (hdmi + 0x11) << 16;
}

class HdmiPhy : public testing::Test {
 protected:
  void SetUp() override { node_.open(); }

  // The status register reads as the given values in turn, then as the last one.
  void status(uint64_t offset, std::vector<uint8_t> values) {
    node_.on_read = [this, offset, values, i = size_t{0}](uint64_t at, uint64_t* value) mutable {
      if (at != offset) return false;
      *value = values[std::min(i++, values.size() - 1)];
      ++status_reads_;
      return true;
    };
  }
  void fail_access(bool write, uint64_t offset) {
    node_.result = [=](bool is_write, uint64_t at) {
      return is_write == write && at == offset ? -1 : 0;
    };
  }

  RegisterNode node_;
  int status_reads_ = 0;
};

Log set_up(unsigned hdmi, unsigned reg, unsigned high, unsigned low, unsigned operation) {
  return {write1(hdmi, 0x0108, 3),    write1(hdmi, 0x3020, 0x69), write1(hdmi, 0x3021, reg),
          write1(hdmi, 0x3022, high), write1(hdmi, 0x3023, low),  write1(hdmi, 0x3026, operation)};
}

TEST_F(HdmiPhy, ReadsARegister) {
  for (unsigned hdmi = 0; hdmi < 4; ++hdmi) {
    status(base(hdmi) + 0x0108, {0, 0x02});
    node_.bytes[base(hdmi) + 0x3024] = 0x12;
    node_.bytes[base(hdmi) + 0x3025] = 0x34;
    uint16_t value = 0;
    EXPECT_EQ(zvgHdmiPhyRead(hdmi, 0x106, &value), 0);
    EXPECT_EQ(value, 0x1234);
    EXPECT_THAT(node_.take(),
                ElementsAreArray(join({set_up(hdmi, 0x06, 0, 0, 0x01),
                                       {read1(hdmi, 0x0108), "usleep 1000", read1(hdmi, 0x0108),
                                        read1(hdmi, 0x3025), read1(hdmi, 0x3024)}})));
  }
}

TEST_F(HdmiPhy, WritesARegister) {
  status(base(2) + 0x0108, {0x02});
  EXPECT_EQ(zvgHdmiPhyWrite(2, 0x15, 0x7ABCD), 0);
  EXPECT_THAT(node_.take(),
              ElementsAreArray(join({set_up(2, 0x15, 0xAB, 0xCD, 0x10), {read1(2, 0x0108)}})));
}

TEST_F(HdmiPhy, RejectsTransmittersAboveThree) {
  uint16_t value = 0x55;
  uint8_t hpd = 0x55;
  const auto output = capture([&] {
    EXPECT_EQ(zvgHdmiPhyRead(4, 0, &value), -22);
    EXPECT_EQ(zvgHdmiPhyWrite(4, 0, 0), -22);
    EXPECT_EQ(zvgHdmiPhyReset(4), -22);
    EXPECT_EQ(zvgHdmiPhyStart(4), -22);
    EXPECT_EQ(zvgHdmiPhyEnd(4), -22);
    EXPECT_EQ(zvgHdmiHpdSense(0xFFFFFFFF, &hpd), -22);
  });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_EQ(value, 0x55);
  EXPECT_EQ(hpd, 0x55);
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(HdmiPhy, AnyFailedSetUpWriteEndsTheOperation) {
  for (const unsigned reg : {0x0108u, 0x3020u, 0x3021u, 0x3022u, 0x3023u, 0x3026u}) {
    fail_access(true, base(1) + reg);
    uint16_t value = 0x55;
    const auto output = capture([&] {
      EXPECT_EQ(zvgHdmiPhyRead(1, 7, &value), -1);
      EXPECT_EQ(zvgHdmiPhyWrite(1, 7, 0x1234), -1);
    });
    EXPECT_EQ(output.out, "hdmi 1:i2c config failed\nhdmi 1:i2c config failed\n");
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(value, 0x55);
    EXPECT_THAT(node_.take(),
                ElementsAreArray(join({set_up(1, 7, 0, 0, 0x01), set_up(1, 7, 0x12, 0x34, 0x10)})))
        << "every write is made, and no wait follows";
  }
}

TEST_F(HdmiPhy, ControllerErrorIsMinus19) {
  status(base(0) + 0x0108, {0, 0x01});
  EXPECT_EQ(zvgHdmiPhyWrite(0, 0, 0), -19);
  uint16_t value = 0;
  EXPECT_EQ(zvgHdmiPhyRead(0, 0, &value), -19);
}

TEST_F(HdmiPhy, DoneBeatsError) {
  status(base(0) + 0x0108, {0x03});
  EXPECT_EQ(zvgHdmiPhyWrite(0, 0, 0), 0);
}

TEST_F(HdmiPhy, OtherStatusBitsAreNotLookedAt) {
  status(base(0) + 0x0108, {0xFC, 0xFE});
  EXPECT_EQ(zvgHdmiPhyWrite(0, 0, 0), 0);
  EXPECT_EQ(status_reads_, 2);
}

TEST_F(HdmiPhy, TimesOutAfter65534StatusReads) {
  node_.quiet = true;
  status(base(0) + 0x0108, {0});
  EXPECT_EQ(zvgHdmiPhyWrite(0, 0, 0), -2);
  EXPECT_EQ(status_reads_, 65534);
  EXPECT_EQ(node_.slept_us, 65534u * 1000) << "the last read is slept after, too";
}

TEST_F(HdmiPhy, LastStatusReadStillCounts) {
  node_.quiet = true;
  std::vector<uint8_t> values(65533, 0);
  values.push_back(0x02);
  status(base(0) + 0x0108, values);
  EXPECT_EQ(zvgHdmiPhyWrite(0, 0, 0), 0);
  EXPECT_EQ(status_reads_, 65534);
}

TEST_F(HdmiPhy, UnreadableStatusIsReported) {
  fail_access(false, base(3) + 0x0108);
  const auto output = capture([] { EXPECT_EQ(zvgHdmiPhyWrite(3, 0, 0), -1); });
  EXPECT_EQ(output.out, "hdmi 3:i2c read status faield\n");
  EXPECT_EQ(output.err, "");
}

TEST_F(HdmiPhy, ReadReturnsBothDataResults) {
  status(base(0) + 0x0108, {0x02});
  uint16_t value = 0;
  fail_access(false, base(0) + 0x3024);
  EXPECT_EQ(zvgHdmiPhyRead(0, 0, &value), -1);
  fail_access(false, base(0) + 0x3025);
  EXPECT_EQ(zvgHdmiPhyRead(0, 0, &value), -1);
}

TEST_F(HdmiPhy, ResetIsAPulseOfAMillisecond) {
  EXPECT_EQ(zvgHdmiPhyReset(3), 0);
  EXPECT_THAT(node_.take(),
              ElementsAreArray(Log{write1(3, 0x4005, 1), "usleep 1000", write1(3, 0x4005, 0)}));
  node_.result = [](bool, uint64_t) { return -1; };
  EXPECT_EQ(zvgHdmiPhyReset(3), -1);
  EXPECT_EQ(node_.take().size(), 3u);
}

TEST_F(HdmiPhy, StartMasksPowersDownAndResets) {
  node_.bytes[base(1) + 0x3029] = 0xFF;
  node_.bytes[base(1) + 0x3006] = 0xF0;
  node_.bytes[base(1) + 0x3000] = 0xCF;
  EXPECT_EQ(zvgHdmiPhyStart(1), 0);
  EXPECT_THAT(node_.take(), ElementsAreArray(Log{
                                read1(1, 0x3029), write1(1, 0x3029, 0xF7), read1(1, 0x3006),
                                write1(1, 0x3006, 0xF1), read1(1, 0x3000), write1(1, 0x3000, 0xF7),
                                write1(1, 0x4005, 1), "usleep 1000", write1(1, 0x4005, 0)}));
}

TEST_F(HdmiPhy, StartReturnsEveryResult) {
  for (const unsigned reg : {0x3029u, 0x3006u, 0x3000u, 0x4005u}) {
    fail_access(true, base(1) + reg);
    EXPECT_EQ(zvgHdmiPhyStart(1), -1) << reg;
    EXPECT_EQ(node_.take().size(), 9u) << "it goes on after a failure";
  }
}

TEST_F(HdmiPhy, EndPowersUpAndUnmasksOnceLocked) {
  status(base(0) + 0x3004, {0xFE, 0xFE, 0x01});
  node_.bytes[base(0) + 0x3006] = 0xFF;
  EXPECT_EQ(zvgHdmiPhyEnd(0), 0);
  EXPECT_THAT(node_.take(),
              ElementsAreArray(Log{write1(0, 0x3000, 0x2E), read1(0, 0x3004), "usleep 1000",
                                   read1(0, 0x3004), "usleep 1000", read1(0, 0x3004),
                                   read1(0, 0x3006), write1(0, 0x3006, 0xFE)}));
}

TEST_F(HdmiPhy, EndReturnsItsResults) {
  status(base(0) + 0x3004, {0x01});
  fail_access(true, base(0) + 0x3000);
  EXPECT_EQ(zvgHdmiPhyEnd(0), -1);
  fail_access(true, base(0) + 0x3006);
  EXPECT_EQ(zvgHdmiPhyEnd(0), -1);
}

TEST_F(HdmiPhy, EndGivesUpAfterAThousandLooks) {
  struct {
    uint8_t clocks;
    const char* text;
  } const cases[] = {
      {0x00, "PHY PLL not locked: PCLK_ON=0,TMDSCLK_ON=0\n"},
      {0x40, "PHY PLL not locked: PCLK_ON=1,TMDSCLK_ON=0\n"},
      {0x20, "PHY PLL not locked: PCLK_ON=0,TMDSCLK_ON=1\n"},
      {0xFF, "PHY PLL not locked: PCLK_ON=1,TMDSCLK_ON=1\n"},
  };
  node_.quiet = true;
  for (const auto& c : cases) {
    status(base(2) + 0x3004, {0});
    status_reads_ = 0;
    node_.slept_us = 0;
    node_.bytes[base(2) + 0x4006] = c.clocks;
    const uint8_t mask = node_.bytes[base(2) + 0x3006] = 0xFF;
    const auto output = capture([] { EXPECT_EQ(zvgHdmiPhyEnd(2), -1); });
    EXPECT_EQ(output.out, c.text);
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(status_reads_, 1000);
    EXPECT_EQ(node_.slept_us, 1000000u);
    EXPECT_EQ(node_.bytes[base(2) + 0x3006], mask) << "the interrupt stays masked";
  }
}

TEST_F(HdmiPhy, HotPlugNeedsAReceiver) {
  struct {
    uint8_t status;
    uint8_t hpd;
  } const cases[] = {{0x00, 0}, {0x02, 0}, {0x0F, 0}, {0x10, 0}, {0x12, 1},
                     {0x82, 1}, {0xF0, 0}, {0xFF, 1}, {0x0E, 0}};
  for (const auto& c : cases) {
    node_.bytes[base(1) + 0x3004] = c.status;
    uint8_t hpd = 0x55;
    EXPECT_EQ(zvgHdmiHpdSense(1, &hpd), 0);
    EXPECT_EQ(hpd, c.hpd) << int{c.status};
  }
  node_.take();
  uint8_t hpd = 0x55;
  zvgHdmiHpdSense(3, &hpd);
  EXPECT_THAT(node_.take(), ElementsAreArray(Log{read1(3, 0x3004)}));
  node_.result = [](bool, uint64_t) { return -1; };
  EXPECT_EQ(zvgHdmiHpdSense(3, &hpd), -1);
  EXPECT_EQ(hpd, 0);
}

}  // namespace
