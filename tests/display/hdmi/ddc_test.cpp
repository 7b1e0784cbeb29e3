// HDMI DDC: bus set-up and single bytes.
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

class HdmiDdc : public testing::Test {
 protected:
  void SetUp() override { node_.open(); }

  // Both status registers read as this.
  void status(uint8_t ddc, uint8_t phy) {
    node_.on_read = [=, this](uint64_t at, uint64_t* value) {
      const uint64_t reg = at & 0xFFFF;
      if (reg != 0x0105 && reg != 0x0108) return false;
      *value = reg == 0x0105 ? ddc : phy;
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

Log read_set_up(unsigned hdmi, unsigned slave, unsigned offset) {
  return {write1(hdmi, 0x0105, 3), write1(hdmi, 0x7E00, slave), write1(hdmi, 0x7E01, offset),
          write1(hdmi, 0x0185, 3), write1(hdmi, 0x7E04, 0x01)};
}

Log write_set_up(unsigned hdmi, unsigned slave, unsigned offset, unsigned value) {
  return {write1(hdmi, 0x0105, 3),     write1(hdmi, 0x7E00, slave), write1(hdmi, 0x7E01, offset),
          write1(hdmi, 0x7E02, value), write1(hdmi, 0x0185, 3),     write1(hdmi, 0x7E04, 0x10)};
}

TEST_F(HdmiDdc, InitSetsStandardMode) {
  node_.bytes[base(1) + 0x7E07] = 0x5F;
  EXPECT_EQ(zvgHdmiDDCInit(1), 0);
  EXPECT_THAT(node_.take(), ElementsAreArray(Log{write1(1, 0x7E0C, 0x04), write1(1, 0x7E0B, 0x01),
                                                 write1(1, 0x7E0E, 0x0E), write1(1, 0x7E0D, 0x01),
                                                 read1(1, 0x7E07), write1(1, 0x7E07, 0x57)}));
  for (const unsigned reg : {0x7E0Cu, 0x7E0Bu, 0x7E0Eu, 0x7E0Du, 0x7E07u}) {
    fail_access(true, base(1) + reg);
    EXPECT_EQ(zvgHdmiDDCInit(1), -1) << reg;
    EXPECT_EQ(node_.take().size(), 6u);
  }
}

TEST_F(HdmiDdc, ReadsAByte) {
  for (unsigned hdmi = 0; hdmi < 4; ++hdmi) {
    status(0x02, 0);
    node_.bytes[base(hdmi) + 0x7E03] = 0xA7;
    uint8_t byte = 0;
    EXPECT_EQ(zvgHdmiDDCRead(hdmi, 0x150, 0x1F3, &byte), 0);
    EXPECT_EQ(byte, 0xA7);
    EXPECT_THAT(node_.take(), ElementsAreArray(join({read_set_up(hdmi, 0x50, 0xF3),
                                                     {read1(hdmi, 0x0105), read1(hdmi, 0x7E03)}})));
  }
}

TEST_F(HdmiDdc, ReadLooksEveryFiveMicroseconds) {
  node_.quiet = true;
  status(0, 0x02);  // the PHY's status does not count
  uint8_t byte = 0x55;
  EXPECT_EQ(zvgHdmiDDCRead(0, 0x50, 0, &byte), -2);
  EXPECT_EQ(status_reads_, 65534);
  EXPECT_EQ(node_.slept_us, 65534u * 5);
  EXPECT_EQ(byte, 0x55);
}

TEST_F(HdmiDdc, ReadErrors) {
  uint8_t byte = 0x55;
  status(0x01, 0);
  EXPECT_EQ(zvgHdmiDDCRead(0, 0x50, 0, &byte), -19);
  status(0x03, 0);
  EXPECT_EQ(zvgHdmiDDCRead(0, 0x50, 0, &byte), 0) << "done beats error";
  fail_access(false, base(0) + 0x7E03);
  EXPECT_EQ(zvgHdmiDDCRead(0, 0x50, 0, &byte), -1);
  fail_access(false, base(0) + 0x0105);
  const auto output = capture([&] { EXPECT_EQ(zvgHdmiDDCRead(0, 0x50, 0, &byte), -1); });
  EXPECT_EQ(output.out, "hdmi 0:i2c read status faield\n");
  EXPECT_EQ(output.err, "");
}

TEST_F(HdmiDdc, FailedSetUpOfAReadIsReported) {
  for (const unsigned reg : {0x0105u, 0x7E00u, 0x7E01u, 0x0185u, 0x7E04u}) {
    fail_access(true, base(2) + reg);
    uint8_t byte = 0;
    const auto output = capture([&] { EXPECT_EQ(zvgHdmiDDCRead(2, 0x50, 9, &byte), -1); });
    EXPECT_EQ(output.out, "hdmi 2:i2c config failed\n");
    EXPECT_THAT(node_.take(), ElementsAreArray(read_set_up(2, 0x50, 9)));
  }
}

TEST_F(HdmiDdc, WritePollsThePhysStatus) {
  status(0, 0x02);
  EXPECT_EQ(zvgHdmiDDCWrite(1, 0x37, 0x151, 0x16E), 0);
  EXPECT_THAT(node_.take(),
              ElementsAreArray(join({write_set_up(1, 0x37, 0x51, 0x6E), {read1(1, 0x0108)}})));
}

TEST_F(HdmiDdc, WriteLooksEveryMillisecond) {
  node_.quiet = true;
  status(0x02, 0);  // the DDC's own status does not count
  EXPECT_EQ(zvgHdmiDDCWrite(0, 0x50, 0, 0), -2);
  EXPECT_EQ(status_reads_, 65534);
  EXPECT_EQ(node_.slept_us, 65534u * 1000);
}

TEST_F(HdmiDdc, WriteGoesOnAfterAFailedSetUp) {
  status(0, 0x02);
  for (const unsigned reg : {0x0105u, 0x7E00u, 0x7E01u, 0x7E02u, 0x0185u, 0x7E04u}) {
    fail_access(true, base(0) + reg);
    const auto output = capture([] { EXPECT_EQ(zvgHdmiDDCWrite(0, 0x50, 1, 2), -1); });
    EXPECT_EQ(output.out, "");
    EXPECT_THAT(node_.take(),
                ElementsAreArray(join({write_set_up(0, 0x50, 1, 2), {read1(0, 0x0108)}})));
  }
}

TEST_F(HdmiDdc, WriteErrors) {
  status(0, 0x01);
  EXPECT_EQ(zvgHdmiDDCWrite(0, 0x50, 0, 0), -19);
  fail_access(false, base(0) + 0x0108);
  const auto output = capture([] { EXPECT_EQ(zvgHdmiDDCWrite(0, 0x50, 0, 0), -1); });
  EXPECT_EQ(output.out, "hdmi 0:i2c read status faield\n");
}

TEST_F(HdmiDdc, OnlyTheWriteTakesAnyTransmitter) {
  uint8_t byte = 0x55;
  EXPECT_EQ(zvgHdmiDDCInit(4), -22);
  EXPECT_EQ(zvgHdmiDDCRead(4, 0x50, 0, &byte), -22);
  EXPECT_EQ(byte, 0x55);
  EXPECT_THAT(node_.take(), IsEmpty());
  status(0, 0x02);
  EXPECT_EQ(zvgHdmiDDCWrite(7, 0x50, 0, 0), 0);
  EXPECT_THAT(node_.take(),
              ElementsAreArray(join({write_set_up(7, 0x50, 0, 0), {read1(7, 0x0108)}})));
}

}  // namespace
