// The DDR PHYs and registers that change by themselves, as the board has them.
#include <gmock/gmock.h>

#include "devices/block_bases.h"
#include "support/board_fixture.h"

namespace zvgsim {
namespace {

class DdrPhyTest : public zvgtest::BoardFixture {
 protected:
  uint64_t read(uint64_t offset, unsigned width = 4) {
    return machine().card().read(Space::mmio, offset, width);
  }
  void write(uint64_t offset, uint64_t value) {
    machine().card().write(Space::mmio, offset, 4, value);
  }
};

TEST_F(DdrPhyTest, SelectRegisterChoosesTheBlockOfItsChannelAlone) {
  for (const Generation generation : {Generation::rq301, Generation::rq302}) {
    SCOPED_TRACE(name(generation));
    BoardConfig config;
    config.generation = generation;
    power_up(config);
    const BlockBases bases = block_bases(generation);
    for (unsigned channel = 0; channel < bases.ddr_channels; ++channel) {
      EXPECT_EQ(read(bases.ddr_phy[channel] + 0x40), 0x10u) << "block 0, register 0x10";
      write(bases.system_control + 0x110 + 4 * channel, 0xC);
      EXPECT_EQ(read(bases.ddr_phy[channel] + 0x40), 0x0C000010u);
      EXPECT_EQ(read(bases.ddr_phy[channel] + 0x3FFFC), 0x0C00FFFFu);
    }
  }
}

TEST_F(DdrPhyTest, BlocksKeepTheirRegistersWhileOthersAreShown) {
  const BlockBases bases = block_bases(Generation::rq302);
  const uint64_t select = bases.system_control + 0x110;
  write(select, 5);
  write(bases.ddr_phy[0], 0x12345678);
  write(select, 7);
  EXPECT_EQ(read(bases.ddr_phy[0]), 0x07000000u);
  write(select, 5);
  EXPECT_EQ(read(bases.ddr_phy[0]), 0x12345678u);
  EXPECT_EQ(read(bases.ddr_phy[0] + 2, 2), 0x1234u);
}

TEST_F(DdrPhyTest, RegisterChangesAfterItsReads) {
  BoardConfig config;
  config.registers.push_back({Space::mmio, 0x300000, 4, 0x1, 0});
  config.registers.push_back({Space::mmio, 0x300000, 4, 0x2, 3});
  power_up(config);
  EXPECT_EQ(read(0x300004), 0u);  // another register's reads do not count
  EXPECT_EQ(read(0x300000), 1u);
  EXPECT_EQ(read(0x300000), 1u);
  EXPECT_EQ(read(0x300000), 1u);
  EXPECT_EQ(read(0x300000), 2u);
  write(0x300000, 9);
  EXPECT_EQ(read(0x300000), 9u) << "it changes once";
}

}  // namespace
}  // namespace zvgsim
