// The PHY: power states, set-up, reset and drive levels.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display/dp/rate_rows.h"
#include "support/capture.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::DpNode;
using zvgtest::join;
using zvgtest::Log;
using zvgtest::phy_set_up;
using zvgtest::power_state;
using zvgtest::repeat;
using zvgtest::text;

class DpPhy : public testing::Test {
 protected:
  void SetUp() override { node_.open(); }
  const zvg_dptx device_ = DpNode::device(0);
  DpNode node_;
};

TEST_F(DpPhy, PowerStates) {
  for (unsigned state = 0; state < 4; ++state) {
    EXPECT_EQ(zvg_dptx_phy_power(&device_, state), 0);
    EXPECT_THAT(node_.folded(0), ElementsAreArray(power_state(state)));
  }
  for (const unsigned state : {4u, 5u, UINT32_MAX})
    EXPECT_EQ(zvg_dptx_phy_power(&device_, state), 9);
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(DpPhy, PowerAcknowledgeIsFiveBitsOfItsRegister) {
  node_.on_read = [](uint64_t offset, uint64_t* value) {
    *value = offset == 0x500064 ? 0xFFFFFFE4 : 0;
    return true;
  };
  EXPECT_EQ(zvg_dptx_phy_power(&device_, 2), 0);
  EXPECT_EQ(zvg_dptx_phy_power(&device_, 3), 10);
}

TEST_F(DpPhy, PowerWithoutAcknowledgeWaitsAfterEachOfFiftyLooks) {
  node_.power_acknowledge = [](uint32_t) { return false; };
  EXPECT_EQ(zvg_dptx_phy_power(&device_, 1), 10);
  EXPECT_THAT(node_.folded(0),
              ElementsAreArray(
                  join({{"phy 0x60=0x2"}, repeat(50, {"phy? 0x64", "wait 1"}), {"phy 0x60=0x0"}})));
}

TEST_F(DpPhy, SetUpForEveryLinkClock) {
  for (unsigned index = 0; index < 6; ++index) {
    int result = -1;
    const auto output = capture([&] { result = zvg_dptx_phy_init(&device_, index); });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(output.out + output.err, "");
    EXPECT_THAT(node_.folded(0), ElementsAreArray(phy_set_up(index))) << index;
  }
}

TEST_F(DpPhy, SetUpForceNothingForAnUnknownLinkClock) {
  for (const unsigned index : {6u, UINT32_MAX}) {
    const auto output = capture([&] { EXPECT_EQ(zvg_dptx_phy_init(&device_, index), 0); });
    EXPECT_EQ(output.err, text("error: ref_clk=%d is not supported yet! force to 1.62G\n",
                               static_cast<int>(index)));
    EXPECT_EQ(output.out, "");
    EXPECT_THAT(node_.folded(0), ElementsAreArray(phy_set_up(6)));
  }
}

Log replace(Log log, const std::string& line, const Log& by) {
  const auto at = std::find(log.begin(), log.end(), line);
  EXPECT_NE(at, log.end());
  const auto next = log.erase(at);
  log.insert(next, by.begin(), by.end());
  return log;
}

TEST_F(DpPhy, SetUpGoesOnWithoutTheCommonBlock) {
  node_.common_ready = false;
  const auto output = capture([&] { EXPECT_EQ(zvg_dptx_phy_init(&device_, 2), 0); });
  EXPECT_EQ(output.out, "zvg_dptx_phy_init 1419: common_ready_ack status 4 is error\n");
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(node_.folded(0), ElementsAreArray(replace(
                                   phy_set_up(2), "phy? 0x44",
                                   join({repeat(499, {"phy? 0x44", "wait 1"}), {"phy? 0x44"}}))));
}

TEST_F(DpPhy, SetUpGoesOnWithoutThePll) {
  node_.pll_acknowledge = false;
  const auto output = capture([&] { EXPECT_EQ(zvg_dptx_phy_init(&device_, 2), 0); });
  EXPECT_EQ(output.out, "zvg_dptx_phy_init 1424: lane_pll_ack status 4 is error\n");
  EXPECT_THAT(node_.folded(0), ElementsAreArray(replace(
                                   phy_set_up(2), "phy? 0x6c",
                                   join({repeat(499, {"phy? 0x6c", "wait 1"}), {"phy? 0x6c"}}))));
}

TEST_F(DpPhy, SetUpReturnsTheLastPowerState) {
  const std::string a2 = "zvg_dptx_phy_init 1430: dptx_phy_power_a2 status 10 is error\n";
  const std::string a0 = "zvg_dptx_phy_init 1435: dptx_phy_power_a0 status 10 is error\n";
  const struct {
    uint32_t refused;
    int result;
    std::string out;
  } cases[] = {{4, 0, a2}, {1, 10, a0}, {4 | 1, 10, a2 + a0}};
  for (const auto& c : cases) {
    node_.power_acknowledge = [&](uint32_t request) { return (request & c.refused) == 0; };
    const auto output = capture([&] { EXPECT_EQ(zvg_dptx_phy_init(&device_, 0), c.result); });
    EXPECT_EQ(output.out, c.out);
    const Log log = node_.folded(0);
    EXPECT_EQ(log[log.size() - 2], "phy 0x50=0x1");
    EXPECT_EQ(log[log.size() - 1], "phy 0x54=0xf");
  }
}

TEST_F(DpPhy, Reset) {
  EXPECT_EQ(zvg_dptx_phy_reset(&device_, 0), 0);
  EXPECT_THAT(node_.folded(0),
              ElementsAre("phy 0x50=0x0", "phy 0x4c=0x0", "phy 0x48=0x0", "phy 0x40=0x0"));
  EXPECT_EQ(zvg_dptx_phy_reset(&device_, 1), 0);
  EXPECT_THAT(node_.folded(0), ElementsAre("phy 0x60=0x0", "phy 0x68=0x0", "phy 0x4c=0x0",
                                           "phy 0x48=0x0", "phy 0x40=0x0"));
  for (const int which : {2, -1}) EXPECT_EQ(zvg_dptx_phy_reset(&device_, which), 5);
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(DpPhy, DriveLevelsAreWrittenInverted) {
  zvg_dptx_set_voltage_swing(&device_, 0, 1, 2, 3);
  zvg_dptx_set_preemphasis(&device_, 7, 4, 5, 0xFFFFFFFE);
  EXPECT_THAT(node_.folded(0),
              ElementsAre("phy 0xb0=0xffffffff", "phy 0xb4=0xfffffffe", "phy 0xb8=0xfffffffd",
                          "phy 0xbc=0xfffffffc", "phy 0xa0=0xfffffffc", "phy 0xa4=0xffffffff",
                          "phy 0xa8=0xfffffffe", "phy 0xac=0xfffffffd"));
}

TEST_F(DpPhy, LevelsOfAllLanesAreWrittenRaw) {
  EXPECT_EQ(zvg_dptx_phy_set_vswing_all(&device_, 0x12345678), 0);
  EXPECT_EQ(zvg_dptx_phy_set_preemphasis_all(&device_, 2), 0);
  EXPECT_THAT(node_.folded(0),
              ElementsAre("phy 0xb0=0x12345678", "phy 0xb4=0x12345678", "phy 0xb8=0x12345678",
                          "phy 0xbc=0x12345678", "phy 0xa0=0x2", "phy 0xa4=0x2", "phy 0xa8=0x2",
                          "phy 0xac=0x2"));
}

}  // namespace
