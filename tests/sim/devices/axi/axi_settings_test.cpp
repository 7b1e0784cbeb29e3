// The section [axi] of a board file.
#include "devices/axi/axi_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/board_file_fixture.h"

namespace zvgsim {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST_F(BoardFileTest, AxiMonitors) {
  const AxiSettings axi = load(R"(
generation = "rq301"
[axi]
seed = 7
period_cycles = 1000
[[axi.port]]
name = "3D0_AXI0"
load = "bursty"
timeout_every = 3
data_update = false
[[axi.port]]
name = "VGA_h0"
)")
                              .of<AxiSettings>();
  EXPECT_EQ(axi.seed, 7u);
  EXPECT_EQ(axi.period_cycles, 1000u);
  ASSERT_EQ(axi.ports.size(), 2u);
  EXPECT_EQ(axi.ports[0].name, "3D0_AXI0");
  EXPECT_EQ(axi.ports[0].load, AxiLoad::bursty);
  EXPECT_EQ(axi.ports[0].timeout_every, 3u);
  EXPECT_FALSE(axi.ports[0].data_update);
  EXPECT_EQ(axi.ports[1].load, AxiLoad::saturated) << "as the port usually is";
  EXPECT_TRUE(axi.ports[1].data_update);

  EXPECT_THAT(problems("[axi]\nperiod_cycles = 0\n"),
              ElementsAre("2: axi.period_cycles: expected a number from 1 to 0xFFFFFFFF, found 0"));
  EXPECT_THAT(problems("[[axi.port]]\nname = \"PCIE\"\n"),
              ElementsAre(HasSubstr("expected the name of a port: PCIE_M 2D 3D0")))
      << "of the generation";
  EXPECT_THAT(problems("[[axi.port]]\nload = \"idle\"\n"),
              ::testing::Contains(HasSubstr("expected the name of a port")));
  EXPECT_THAT(problems("[[axi.port]]\nname = \"2D\"\nload = \"heavy\"\n"),
              ElementsAre("3: axi.port[0].load: expected \"idle\", \"bursty\" or \"saturated\", "
                          "found \"heavy\""));
}

}  // namespace
}  // namespace zvgsim
