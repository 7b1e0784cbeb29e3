// Set-up of a transmitter, and changes of its rate and lanes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display/dp/rate_rows.h"
#include "support/capture.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using zvgtest::capture;
using zvgtest::closing;
using zvgtest::dp_block;
using zvgtest::DpNode;
using zvgtest::join;
using zvgtest::lane_change;
using zvgtest::Log;
using zvgtest::opening;
using zvgtest::phy_set_up;
using zvgtest::power_state;
using zvgtest::rate_change;
using zvgtest::repeat;
using zvgtest::text;

class DpLink : public testing::Test {
 protected:
  void SetUp() override { node_.open(); }
  const zvg_dptx device_ = DpNode::device(1);
  DpNode node_;
};

TEST_F(DpLink, InitFillsTheRecordAndSetsUp) {
  for (unsigned port = 0; port < 4; ++port) {
    zvg_dptx device;
    memset(&device, 0xCC, sizeof device);
    const auto block = static_cast<uint32_t>(dp_block(port));
    EXPECT_EQ(zvg_dptx_init(&device, nullptr, block, static_cast<int>(port)), 0);
    EXPECT_EQ(device.base, nullptr);
    EXPECT_EQ(device.block_offset, block);
    EXPECT_EQ(device.port, static_cast<int>(port));
    EXPECT_EQ(device.link_clock, 2u);
    EXPECT_EQ(device.lanes, 2u);
    EXPECT_THAT(
        node_.folded(port),
        ElementsAreArray(join({{"ctl 0x10c=0x64", "ctl 0x94=0x0", "ctl 0x80=0x0", "ctl 0x158=0x0"},
                               phy_set_up(2),
                               {"ctl 0x4=0x2", "ctl 0x80=0x1", "ctl 0x144=0x0", "ctl 0x110=0x1b8",
                                "ctl 0x94=0x1"}})));
  }
}

TEST_F(DpLink, InitSucceedsWhateverThePhyDoes) {
  node_.quiet = true;
  node_.power_acknowledge = [](uint32_t) { return false; };
  zvg_dptx device;
  capture([&] { EXPECT_EQ(zvg_dptx_init(&device, nullptr, 0x500000, 0), 0); });
  EXPECT_EQ(node_.bytes[0x510094], 1);
}

TEST_F(DpLink, InitByPort) {
  EXPECT_EQ(zvgDpInit(3), 0);
  const Log log = node_.folded(3);
  EXPECT_EQ(log.front(), "ctl 0x10c=0x64");
  EXPECT_EQ(log.back(), "ctl 0x94=0x1");
}

TEST_F(DpLink, RateChangeOfEveryRow) {
  for (const auto& row : zvgtest::rate_rows) {
    EXPECT_EQ(zvg_dptx_set_link_rate(&device_, row.code), 0);
    EXPECT_THAT(node_.folded(1), ElementsAreArray(rate_change(row.code))) << std::hex << row.code;
  }
}

TEST_F(DpLink, OtherRatesOnlyOpenAndClose) {
  for (const unsigned code : {0u, 0x08u, 0x10u, 0xFFu}) {
    EXPECT_EQ(zvg_dptx_phy_update_link_rate(&device_, code), 0);
    EXPECT_THAT(node_.folded(1), ElementsAreArray(join({opening(), closing()})));
  }
}

TEST_F(DpLink, BracketGoesOnWithoutAnAnswer) {
  node_.pll_acknowledge = false;
  node_.cdb_data = 0xFFFB;
  node_.power_acknowledge = [](uint32_t) { return false; };
  EXPECT_EQ(zvg_dptx_phy_update_link_rate(&device_, 0), 0);
  const Log no_power = repeat(50, {"phy? 0x64", "wait 1"});
  const Log no_pll = join({repeat(99, {"phy? 0x6c", "wait 1"}), {"phy? 0x6c"}});
  const Log not_settled = join({repeat(99, {"cdb? 0xe001", "wait 1"}), {"cdb? 0xe001"}});
  EXPECT_THAT(node_.folded(1), ElementsAreArray(join({{"phy 0x50=0x0", "phy 0x60=0x8"},
                                                      no_power,
                                                      {"phy 0x60=0x0", "phy 0x68=0x0"},
                                                      no_pll,
                                                      {"cdb 0xe003=0x0"},
                                                      not_settled,
                                                      {"cdb 0xe003=0x1"},
                                                      not_settled,
                                                      {"phy 0x68=0x1"},
                                                      no_pll,
                                                      {"phy 0x60=0x4"},
                                                      no_power,
                                                      {"phy 0x60=0x0", "phy 0x60=0x1"},
                                                      no_power,
                                                      {"phy 0x60=0x0", "phy 0x50=0x1"}})));
}

TEST_F(DpLink, LaneChange) {
  const struct { unsigned lanes, mask; } cases[] = {{1, 0x1}, {2, 0x3}, {4, 0xF}};
  for (const auto& c : cases) {
    zvg_dptx_reg_write(&device_, 4, 0);
    node_.take();
    EXPECT_EQ(zvg_dptx_set_lane_count(&device_, c.lanes), 0);
    EXPECT_THAT(node_.folded(1), ElementsAreArray(lane_change(c.lanes, c.mask)));
  }
}

TEST_F(DpLink, LaneCountThatIsSetWritesNothing) {
  for (const unsigned lanes : {4u, 0u, 3u}) {
    zvg_dptx_reg_write(&device_, 4, lanes);
    node_.take();
    EXPECT_EQ(zvg_dptx_set_lane_count(&device_, lanes), static_cast<int>(lanes));
    EXPECT_THAT(node_.folded(1), ElementsAre("ctl? 0x4"));
  }
}

TEST_F(DpLink, OddLaneCountUsesOneLane) {
  for (const unsigned lanes : {0u, 3u, 5u, 31u}) {
    zvg_dptx_reg_write(&device_, 4, 2);
    node_.take();
    const auto output = capture([&] { EXPECT_EQ(zvg_dptx_set_lane_count(&device_, lanes), 0); });
    EXPECT_EQ(output.out,
              text("dptx_phy_set_lane_count: lane count error %u, force to lane count 1\n", lanes));
    EXPECT_EQ(output.err, "");
    EXPECT_THAT(node_.folded(1), ElementsAreArray(lane_change(lanes, 0x1)));
  }
}

TEST_F(DpLink, LaneChangeReturnsTheLastPowerState) {
  node_.power_acknowledge = [](uint32_t request) { return request != 1; };
  EXPECT_EQ(zvg_dptx_set_lane_count(&device_, 4), 10);
  EXPECT_EQ(zvg_dptx_phy_set_lane_count(&device_, 2), 0);
}

TEST_F(DpLink, RateConversions) {
  const unsigned speeds[] = {0x06, 0x09, 0x0A, 0x0C, 0x14, 0x06, 0x06};
  for (unsigned index = 0; index < std::size(speeds); ++index) {
    EXPECT_EQ(zvg_link_clk_to_speed(index), speeds[index]);
  }
  EXPECT_EQ(zvg_link_clk_to_speed(UINT32_MAX), 0x06u);
  const struct {
    uint32_t code, index;
  } codes[] = {{0x06, 0}, {0x08, 0}, {0x09, 1}, {0x0A, 2},
               {0x0C, 3}, {0x10, 3}, {0x14, 4}, {0x1E, 5}};
  for (const auto& row : codes) {
    const auto output = capture([&] { EXPECT_EQ(zvg_speed_to_link_clk(row.code), row.index); });
    EXPECT_EQ(output.out + output.err, "");
  }
  for (const uint32_t code : {0u, 7u, 0x1Fu, 0x106u}) {
    const auto output = capture([&] { EXPECT_EQ(zvg_speed_to_link_clk(code), 0u); });
    EXPECT_EQ(output.err, text("unsupported linkrate speed: %x\n", code));
    EXPECT_EQ(output.out, "");
  }
}

}  // namespace
