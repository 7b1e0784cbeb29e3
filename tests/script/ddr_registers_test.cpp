// DDR registers by channel mask.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::RegisterNode;

class DdrRegisters : public testing::Test {
 protected:
  void start(uint32_t device_id) {
    node_.device_id = device_id;
    node_.open();
    node_.on_read = [](uint64_t offset, uint64_t* value) {
      *value = offset;
      return true;
    };
  }
  uint32_t read(unsigned mask, uint64_t address) {
    uint32_t value = 0x55555555;
    EXPECT_EQ(zvgDdrRegReadLong(mask, address, &value), 0);
    return value;
  }

  RegisterNode node_;
};

TEST_F(DdrRegisters, ControllerAddressReachesEverySelectedChannel) {
  start(0x201);
  EXPECT_EQ(read(0xF, 0x3C01B0), 0x3D81B0u);
  EXPECT_THAT(node_.take(),
              ElementsAre("r4 0x3c01b0", "r4 0x3c81b0", "r4 0x3d01b0", "r4 0x3d81b0"));
  // The address may lie in any channel's block.
  EXPECT_EQ(read(0x5, 0x3C81B0), 0x3D01B0u);
  EXPECT_THAT(node_.take(), ElementsAre("r4 0x3c01b0", "r4 0x3d01b0"));
}

TEST_F(DdrRegisters, PhyAddressReachesEverySelectedChannel) {
  start(0x201);
  EXPECT_EQ(zvgDdrRegWriteLong(0xA, 0x4FFFFC, 0x1234), 0);
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x47fffc 0x1234", "w4 0x4ffffc 0x1234"));
  EXPECT_EQ(read(0x1, 0x440000), 0x400000u);
}

TEST_F(DdrRegisters, TwoChannelsOnRq302) {
  start(0x202);
  EXPECT_EQ(read(0x3, 0x280010), 0x130010u);
  EXPECT_THAT(node_.take(), ElementsAre("r4 0x280010", "r4 0x130010"));
  EXPECT_EQ(read(0x3, 0x1C0004), 0x1C0004u);
  EXPECT_THAT(node_.take(), ElementsAre("r4 0x2c0004", "r4 0x1c0004"));
}

TEST_F(DdrRegisters, MaskBeyondTheChannelsAccessesNothing) {
  start(0x202);
  EXPECT_EQ(read(0x4, 0x280010), 0x55555555u);
  EXPECT_EQ(zvgDdrRegWriteLong(0xFFFFFFFC, 0x280010, 1), 0);
  EXPECT_EQ(read(0, 0x280010), 0x55555555u);
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(DdrRegisters, AddressesOutsideAreAccessedOnceWhateverTheMask) {
  start(0x201);
  EXPECT_EQ(read(0, 0x3E0000), 0x3E0000u);  // just past the last controller
  EXPECT_EQ(read(0xF, 0x3BFFFC), 0x3BFFFCu);
  EXPECT_EQ(zvgDdrRegWriteLong(0, 0x500000, 7), 0);  // just past the last PHY
  EXPECT_THAT(node_.take(), ElementsAre("r4 0x3e0000", "r4 0x3bfffc", "w4 0x500000 0x7"));
}

TEST_F(DdrRegisters, LookUpSearchesAllFourBasesWhateverTheCount) {
  start(0x201);
  zvg_gpu_hardware[ZVG_HW_DDR_CHANNELS] = 1;
  EXPECT_EQ(read(0x1, 0x3D8010), 0x3C0010u);
  EXPECT_EQ(read(0x1, 0x4C0020), 0x400020u);
  zvg_gpu_hardware[ZVG_HW_DDR_CHANNELS] = 0;
  EXPECT_EQ(read(0x1, 0x3D8010), 0x55555555u);
  zvg_gpu_hardware[ZVG_HW_DDR_CHANNELS] = 0xFFFFFFFF;
  EXPECT_EQ(read(0x1, 0x3D8010), 0x55555555u) << "a count below 1 is no channel";
}

TEST_F(DdrRegisters, Bit31IsFoundButStaysInTheOffset) {
  start(0x201);
  uint32_t value = 0x77;
  const auto output = capture([&] { EXPECT_EQ(zvgDdrRegReadLong(1, 0x803C0010, &value), -22); });
  EXPECT_EQ(output.err,
            "Invalid argument: offset is out of range\n"
            "zvg_ddr_ctr_read: read from [0x803c0010] failed\n");
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(DdrRegisters, ChannelRoutinesTakeOffsets) {
  start(0x201);
  uint32_t value = 0;
  EXPECT_EQ(zvg_ddr_ctr_read(0x2, 0x10, &value), 0);
  EXPECT_EQ(zvg_ddr_phy_read(0x4, 0x10, &value), 0);
  EXPECT_EQ(zvg_ddr_ctr_write(0x8, 0x10, 1), 0);
  EXPECT_EQ(zvg_ddr_phy_write(0x1, 0x10, 2), 0);
  EXPECT_THAT(node_.take(),
              ElementsAre("r4 0x3c8010", "r4 0x480010", "w4 0x3d8010 0x1", "w4 0x400010 0x2"));
}

TEST_F(DdrRegisters, FirstFailureEndsTheAccessAndIsNamed) {
  start(0x201);
  node_.result = [](bool, uint64_t offset) {
    return offset == 0x3C8010 || offset == 0x440010 ? -5 : 0;
  };
  uint32_t value = 0;
  const auto output = capture([&] {
    EXPECT_EQ(zvg_ddr_ctr_read(0xF, 0x10, &value), -5);
    EXPECT_EQ(zvg_ddr_phy_read(0xF, 0x10, &value), -5);
    EXPECT_EQ(zvg_ddr_ctr_write(0xF, 0x10, 0xAB), -5);
    EXPECT_EQ(zvg_ddr_phy_write(0xF, 0x10, 0xCD), -5);
  });
  EXPECT_EQ(output.err,
            "zvg_ddr_ctr_read: read from [0x3c8010] failed\n"
            "zvg_ddr_phy_read: read from [0x440010] failed\n"
            "zvg_ddr_ctr_write: write 0xab to [0x3c8010] failed\n"
            "zvg_ddr_phy_write: write 0xcd to [0x440010] failed\n");
  EXPECT_EQ(output.out, "");
  EXPECT_EQ(node_.take().size(), 8u) << "two accesses each";
}

}  // namespace
