// The AXI monitors of both generations, as the bus fills them.
#include <gmock/gmock.h>

#include "devices/axi/axi_ports.h"
#include "devices/axi/axi_settings.h"
#include "devices/axi/axi_traffic.h"
#include "support/board_fixture.h"

namespace zvgsim {
namespace {

constexpr uint64_t control = 0x288800;
constexpr uint64_t timeouts = 0x288804;
constexpr uint64_t period = 0x288808;
constexpr uint64_t updates = 0x288FDC;
constexpr uint64_t period_ns = milliseconds(100);

constexpr uint64_t pcie_m = 0x288878;   // bit 0
constexpr uint64_t gpu_3d0 = 0x288948;  // bit 2, saturated
constexpr uint64_t vga_h0 = 0x288B50;   // bit 7

class AxiMonitorTest : public zvgtest::BoardFixture {
 protected:
  void power(BoardConfig config, Generation generation = Generation::rq302) {
    config.generation = generation;
    power_up(config);
  }
  void pass_periods(unsigned count) { clock().sleep(count * period_ns); }
};

TEST_F(AxiMonitorTest, FirstPeriodBringsTheFirstCounts) {
  EXPECT_EQ(peek(control), 20u);
  EXPECT_EQ(peek(period), 60'000'000u);
  clock().sleep(period_ns - 1);
  EXPECT_EQ(peek(updates), 0u);
  EXPECT_EQ(peek(gpu_3d0), 0u);
  clock().sleep(1);
  EXPECT_EQ(peek(updates), 0x3FFFFFu);
  EXPECT_GT(peek(gpu_3d0), 0u);
}

TEST_F(AxiMonitorTest, FlagsAreClearedByTheirReading) {
  pass_periods(1);
  EXPECT_EQ(peek(updates), 0x3FFFFFu);
  EXPECT_EQ(peek(updates), 0u);
  pass_periods(3);
  EXPECT_EQ(peek(updates), 0x3FFFFFu);
}

TEST_F(AxiMonitorTest, CountsStayUntilThePeriodIsOver) {
  pass_periods(2);
  const uint64_t first = peek(gpu_3d0 + 4 * 7);
  clock().sleep(period_ns / 2);
  EXPECT_EQ(peek(gpu_3d0 + 4 * 7), first);
  clock().sleep(period_ns / 2);
  EXPECT_NE(peek(gpu_3d0 + 4 * 7), first);
}

TEST_F(AxiMonitorTest, SamePowerUpCountsTheSame) {
  const auto run = [this](uint64_t seed) {
    BoardConfig config;
    config.of<AxiSettings>().seed = seed;
    power(config);
    pass_periods(3);
    return peek(gpu_3d0 + 4 * 7);
  };
  const uint64_t first = run(5);
  EXPECT_EQ(run(5), first);
  EXPECT_NE(run(6), first);
}

TEST_F(AxiMonitorTest, ControlStopsAndPeriodStretches) {
  poke(control, 0);
  pass_periods(5);
  EXPECT_EQ(peek(updates), 0u);
  poke(control, 20);
  poke(period, 300'000'000);
  pass_periods(4);
  EXPECT_EQ(peek(updates), 0u);
  pass_periods(1);
  EXPECT_EQ(peek(updates), 0x3FFFFFu);
  EXPECT_GT(peek(gpu_3d0), 270'000'000u) << "a saturated port is active nearly all the time";
}

TEST_F(AxiMonitorTest, LoadsDiffer) {
  const auto sum = [this](AxiLoad load, uint64_t register_offset) {
    BoardConfig config;
    config.of<AxiSettings>().ports = {{"PCIE_M", load, 0, true}};
    power(config);
    uint64_t total = 0;
    for (int i = 0; i < 600; ++i) {
      pass_periods(1);
      total += peek(register_offset) / 1000;
    }
    return total;
  };
  const uint64_t bytes = pcie_m + 4 * 7;
  const uint64_t idle = sum(AxiLoad::idle, bytes);
  const uint64_t bursty = sum(AxiLoad::bursty, bytes);
  const uint64_t saturated = sum(AxiLoad::saturated, bytes);
  EXPECT_LT(idle * 20, bursty);
  EXPECT_LT(bursty * 5 / 4, saturated);
}

TEST_F(AxiMonitorTest, TimeoutsAndMissingUpdatesAreThePortsOwn) {
  BoardConfig config;
  config.of<AxiSettings>().ports = {{"3D0", AxiLoad::saturated, 3, true},
                                    {"VGA_h0", AxiLoad::idle, 1, false}};
  power(config);
  pass_periods(1);
  EXPECT_EQ(peek(timeouts), 0x80u);
  EXPECT_EQ(peek(updates), 0x3FFF7Fu);
  pass_periods(2);
  EXPECT_EQ(peek(timeouts), 0x84u);
  pass_periods(1);
  EXPECT_EQ(peek(timeouts), 0x80u);
}

TEST_F(AxiMonitorTest, Rq302RegistersHoldTheirFields) {
  pass_periods(4);
  const AxiTraffic write =
      axi_traffic(AxiLoad::saturated, AxiDirection::write, 1, 2, 4, 60'000'000);
  const AxiTraffic read = axi_traffic(AxiLoad::saturated, AxiDirection::read, 1, 2, 4, 60'000'000);
  const auto halves = [](uint64_t high, uint64_t low) { return high << 16 | low; };
  const uint64_t expected[26] = {std::max(write.active, read.active),
                                 write.active,
                                 read.active,
                                 write.transactions,
                                 read.transactions,
                                 write.latency,
                                 write.transactions,
                                 write.bytes,
                                 write.outstanding,
                                 write.full_beats,
                                 write.partial_beats,
                                 write.bursts,
                                 write.singles,
                                 write.bandwidth_max,
                                 halves(write.latency_max, write.latency_min),
                                 halves(write.outstanding_max, write.outstanding_min),
                                 write.data_cycles,
                                 read.latency,
                                 read.transactions,
                                 read.data_cycles,
                                 read.outstanding,
                                 read.bursts,
                                 read.singles,
                                 read.bandwidth_max,
                                 halves(read.latency_max, read.latency_min),
                                 halves(read.outstanding_max, read.outstanding_min)};
  for (unsigned i = 0; i < 26; ++i) {
    EXPECT_EQ(peek(gpu_3d0 + 4 * i), std::min<uint64_t>(expected[i], UINT32_MAX)) << i;
  }
  EXPECT_EQ(peek(gpu_3d0, 2), (expected[0] & 0xFFFF));
  EXPECT_EQ(peek(gpu_3d0 + 4, 8), expected[2] << 32 | expected[1]);
  EXPECT_EQ(peek(control + 60 + 8), 0x8080u) << "slots lie in video memory";
  EXPECT_LT(peek(control + 60), 0x10000000u);
}

TEST_F(AxiMonitorTest, KindsOfRq302MonitorsLeaveWordsOut) {
  BoardConfig config;
  config.of<AxiSettings>().ports = {{"VGA_h0", AxiLoad::saturated, 0, true},
                                    {"PCIE_S", AxiLoad::saturated, 0, true}};
  power(config);
  pass_periods(1);
  const auto traffic = [](AxiDirection direction, unsigned port) {
    return axi_traffic(AxiLoad::saturated, direction, 1, port, 1, 60'000'000);
  };
  EXPECT_EQ(peek(vga_h0), traffic(AxiDirection::read, 7).active);
  EXPECT_EQ(peek(vga_h0 + 4), traffic(AxiDirection::read, 7).transactions);
  EXPECT_EQ(peek(vga_h0 + 8), traffic(AxiDirection::read, 7).latency);
  EXPECT_EQ(peek(0x288C58), traffic(AxiDirection::write, 13).active);
  EXPECT_EQ(peek(0x288C58 + 4 * 4), traffic(AxiDirection::write, 13).latency);
  EXPECT_EQ(peek(0x288C58 + 4 * 16), traffic(AxiDirection::read, 13).latency);
}

TEST_F(AxiMonitorTest, Rq301CountersHoldTheirFields) {
  BoardConfig config;
  config.of<AxiSettings>().ports = {{"PCIE", AxiLoad::saturated, 0, true},
                                    {"VGA_n3", AxiLoad::saturated, 0, true}};
  power(config, Generation::rq301);
  EXPECT_NE(peek(0x309040), 0u) << "they have run for a while";
  const uint64_t first = peek(0x309044);
  pass_periods(1);
  EXPECT_NE(peek(0x309044), first);
  const AxiTraffic write =
      axi_traffic(AxiLoad::saturated, AxiDirection::write, 1, 0, 2, 60'000'000);
  const AxiTraffic read = axi_traffic(AxiLoad::saturated, AxiDirection::read, 1, 0, 2, 60'000'000);
  EXPECT_EQ(peek(0x309040 + 0x04), read.active);
  EXPECT_EQ(peek(0x309040 + 0x08), write.active);
  EXPECT_EQ(peek(0x309040 + 0x0C), write.latency);
  EXPECT_EQ(peek(0x309040 + 0x20), 0xFFFFFFFFu) << "16-bit counts stop at their end";
  EXPECT_EQ(peek(0x309040 + 0x28), write.bandwidth_max);
  EXPECT_EQ(peek(0x309040 + 0x2C), read.latency);
  EXPECT_EQ(peek(0x309040 + 0x40), read.bandwidth_max);
  const AxiTraffic last =
      axi_traffic(AxiLoad::saturated, AxiDirection::write, 1, 27, 2, 60'000'000);
  EXPECT_EQ(peek(0x3098F0 + 0x08), last.active);
  EXPECT_EQ(peek(0x3098F0 + 0x28), last.bandwidth_max);
}

TEST(AxiPorts, OfRq302StandWithoutGaps) {
  const auto ports = axi_ports(Generation::rq302);
  ASSERT_EQ(ports.size(), 22u);
  for (size_t i = 0; i + 1 < ports.size(); ++i) {
    const unsigned words = ports[i].type == AxiMonitorType::both    ? 26
                           : ports[i].type == AxiMonitorType::reads ? 11
                                                                    : 25;
    EXPECT_EQ(ports[i + 1].counters, ports[i].counters + 4 * words) << ports[i].name;
  }
}

TEST(AxiPorts, OfRq301AreTwentyEight) {
  EXPECT_EQ(axi_ports(Generation::rq301).size(), 28u);
  EXPECT_EQ(axi_ports(Generation::rq300).size(), 28u);
}

}  // namespace
}  // namespace zvgsim
