// The frame composer's timing, register by register.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display/hdmi/hdmi_log.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using zvgtest::Log;
using zvgtest::read1;
using zvgtest::RegisterNode;

constexpr uint64_t composer(unsigned hdmi) {
  return ((hdmi + 0x11) << 16) + 0x1001;
}

class HdmiMode : public testing::Test {
 protected:
  void SetUp() override { node_.open(); }

  void program(unsigned hdmi, std::initializer_list<uint8_t> registers) {
    uint64_t at = composer(hdmi);
    for (const uint8_t value : registers) node_.bytes[at++] = value;
  }

  RegisterNode node_;
};

TEST_F(HdmiMode, ReadsSixteenRegistersInOrder) {
  uint32_t mode[9];
  zvgHdmiModeRead(1, mode);
  Log expected;
  for (unsigned reg = 0x1001; reg <= 0x1010; ++reg) expected.push_back(read1(1, reg));
  EXPECT_THAT(node_.take(), ElementsAreArray(expected));
}

TEST_F(HdmiMode, FillsTheTimingRecordAndNoMore) {
  // 1920x1080: blank 280/45, delays 88/4, widths 44/5, clock word 0x02449C.
  program(0, {0x80, 0x07, 0x18, 0x01, 0x38, 0x04, 0x2D, 0x58, 0x00, 0x2C, 0x00, 0x04, 0x05, 0x9C,
              0x44, 0x02});
  uint32_t mode[10];
  mode[9] = 0x77;
  EXPECT_EQ(zvgHdmiModeRead(0, mode), 0x02449Cu);
  EXPECT_THAT(mode, ElementsAre(0x02449C, 1920, 2008, 2052, 2200, 1080, 1084, 1089, 1125, 0x77));
}

TEST_F(HdmiMode, HighBytesAreMasked) {
  program(3, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
              0xFF, 0xFF});
  uint32_t mode[9];
  EXPECT_EQ(zvgHdmiModeRead(3, mode), 0xFFFFFFu);
  EXPECT_THAT(
      mode, ElementsAre(0xFFFFFF, 0x1FFF, 0x1FFF + 0x1FFF, 0x1FFF + 0x1FFF + 0x3FF, 0x1FFF + 0x1FFF,
                        0x1FFF, 0x1FFF + 0xFF, 0x1FFF + 0xFF + 0xFF, 0x1FFF + 0xFF));
}

TEST_F(HdmiMode, EachRegisterHasItsOwnPlace) {
  // One register non-zero at a time: which words of the record it moves, and by how much.
  struct {
    unsigned reg;
    std::array<uint32_t, 9> mode;
  } const cases[] = {
      {0x1001, {0, 1, 1, 1, 1, 0, 0, 0, 0}},     {0x1002, {0, 256, 256, 256, 256, 0, 0, 0, 0}},
      {0x1003, {0, 0, 0, 0, 1, 0, 0, 0, 0}},     {0x1004, {0, 0, 0, 0, 256, 0, 0, 0, 0}},
      {0x1005, {0, 0, 0, 0, 0, 1, 1, 1, 1}},     {0x1006, {0, 0, 0, 0, 0, 256, 256, 256, 256}},
      {0x1007, {0, 0, 0, 0, 0, 0, 0, 0, 1}},     {0x1008, {0, 0, 1, 1, 0, 0, 0, 0, 0}},
      {0x1009, {0, 0, 256, 256, 0, 0, 0, 0, 0}}, {0x100A, {0, 0, 0, 1, 0, 0, 0, 0, 0}},
      {0x100B, {0, 0, 0, 256, 0, 0, 0, 0, 0}},   {0x100C, {0, 0, 0, 0, 0, 0, 1, 1, 0}},
      {0x100D, {0, 0, 0, 0, 0, 0, 0, 1, 0}},     {0x100E, {1, 0, 0, 0, 0, 0, 0, 0, 0}},
      {0x100F, {0x100, 0, 0, 0, 0, 0, 0, 0, 0}}, {0x1010, {0x10000, 0, 0, 0, 0, 0, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    node_.bytes.clear();
    node_.bytes[composer(0) + c.reg - 0x1001] = 1;
    uint32_t mode[9];
    zvgHdmiModeRead(0, mode);
    EXPECT_THAT(mode, ElementsAreArray(c.mode)) << std::hex << c.reg;
  }
}

TEST_F(HdmiMode, TakesAnyTransmitter) {
  uint32_t mode[9];
  zvgHdmiModeRead(7, mode);
  EXPECT_EQ(node_.take().front(), "r1 0x181001");
}

}  // namespace
