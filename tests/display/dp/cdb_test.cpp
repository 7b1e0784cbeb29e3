// The PHY's configuration bus.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display/dp/dp_node.h"
#include "support/capture.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::DpNode;
using zvgtest::join;
using zvgtest::Log;
using zvgtest::repeat;

class DpCdb : public testing::Test {
 protected:
  void SetUp() override { node_.open(); }
  const zvg_dptx device_ = DpNode::device(1);
  DpNode node_;
};

const Log busy_looks = repeat(100, {"phy? 0xc", "wait 5"});

TEST_F(DpCdb, Write) {
  EXPECT_EQ(zvg_cdb_write(&device_, 0xE003, 0xABCD), 0);
  EXPECT_THAT(node_.take(), ElementsAre("r4 0x52000c", "w4 0x520000 0xe003", "w4 0x520004 0xabcd",
                                        "w4 0x520008 0x3", "w4 0x520018 0x1"));
}

TEST_F(DpCdb, Read) {
  node_.cdb_data = 0x7654FEDC;
  uint16_t data = 0;
  EXPECT_EQ(zvg_cdb_read(&device_, 0x40E7, &data), 0);
  EXPECT_EQ(data, 0xFEDC);
  EXPECT_THAT(node_.take(),
              ElementsAre("r4 0x52000c", "w4 0x520000 0x40e7", "w4 0x520008 0x2", "w4 0x520018 0x1",
                          "r4 0x52000c", "r4 0x52000c", "r4 0x520010"));
}

TEST_F(DpCdb, BusyBusIsLookedAtAHundredTimes) {
  node_.cdb_ready = false;
  uint16_t data = 0x5555;
  auto output = capture([&] { EXPECT_EQ(zvg_cdb_write(&device_, 0x4C, 0xAB), 4); });
  EXPECT_EQ(output.err, "dp 1: cdb bus is busy when write [0x4c] with 0xab\n");
  EXPECT_EQ(output.out, "");
  EXPECT_THAT(node_.folded(1), ElementsAreArray(busy_looks));
  output = capture([&] { EXPECT_EQ(zvg_cdb_read(&device_, 0x4C, &data), 4); });
  EXPECT_EQ(output.err, "dp 1: cdb bus is busy when read [0x4c]\n");
  EXPECT_THAT(node_.folded(1), ElementsAreArray(busy_looks));
  EXPECT_EQ(data, 0x5555);
}

TEST_F(DpCdb, BusThatIsReadyInTheEndIsUsed) {
  int looks = 0;
  const auto answer = node_.on_read;
  node_.on_read = [&](uint64_t offset, uint64_t* value) {
    if (offset == 0x52000C) node_.cdb_ready = ++looks == 100;
    return answer(offset, value);
  };
  EXPECT_EQ(zvg_cdb_write(&device_, 1, 2), 0);
  EXPECT_THAT(node_.folded(1),
              ElementsAreArray(join({repeat(99, {"phy? 0xc", "wait 5"}), {"cdb 0x1=0x2"}})));
}

TEST_F(DpCdb, ReadThatDoesNotCompleteIsSilent) {
  node_.on_write = [&](uint64_t offset, uint64_t) {
    if (offset == 0x520018) node_.cdb_ready = false;
  };
  uint16_t data = 0x5555;
  const auto output = capture([&] { EXPECT_EQ(zvg_cdb_read(&device_, 7, &data), 4); });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_THAT(node_.folded(1),
              ElementsAreArray(
                  join({{"phy? 0xc", "phy 0x0=0x7", "phy 0x8=0x2", "phy 0x18=0x1"}, busy_looks})));
}

TEST_F(DpCdb, AnyOtherStatusIsTheResult) {
  for (const uint32_t status : {3u, 0x80000001u}) {
    node_.cdb_word = status;
    uint16_t data = 0x5555;
    EXPECT_EQ(zvg_cdb_read(&device_, 7, &data), static_cast<int>(status));
    EXPECT_EQ(data, 0);
  }
}

TEST_F(DpCdb, ByPortCutsToSixteenBits) {
  node_.quiet = true;
  zvgDpInit(0);
  node_.quiet = false;
  uint16_t data = 0;
  EXPECT_EQ(zvgDpCdbWrite(0, 0x1E003, 0x2ABCD), 0);
  EXPECT_EQ(zvgDpCdbRead(0, 0x1E001, &data), 0);
  EXPECT_EQ(data, 4);
  EXPECT_THAT(node_.folded(0), ElementsAre("cdb 0xe003=0xabcd", "cdb? 0xe001"));
}

TEST_F(DpCdb, FirstUseSetsThePortUp) {
  node_.quiet = true;
  EXPECT_EQ(zvgDpCdbWrite(3, 1, 1), 0);
  EXPECT_EQ(node_.bytes[0x570110], 0xB8);
}

TEST_F(DpCdb, PortOutOfRange) {
  uint16_t data = 1;
  auto output = capture([&] { EXPECT_EQ(zvgDpCdbRead(4, 0, &data), -1); });
  EXPECT_EQ(output.out, "channel 4 is out of range\n");
  output = capture([&] { EXPECT_EQ(zvgDpCdbWrite(UINT32_MAX, 0, 0), -1); });
  EXPECT_EQ(output.out, "channel -1 is out of range\n");
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(node_.take(), IsEmpty());
}

}  // namespace
