// The DisplayPort transmitter and its sink, register by register.
#include "devices/dp/dp_transmitter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/machine.h"

namespace zvgsim {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

class DpTransmitterTest : public ::testing::TestWithParam<unsigned> {
 protected:
  DpTransmitterTest() {
    config_.sink = true;
    for (unsigned i = 0; i < 256; ++i) config_.edid.push_back(static_cast<uint8_t>(i * 3));
  }

  void power_up(Generation generation = Generation::rq301) {
    BoardConfig config;
    config.generation = generation;
    config.of<DpSettings>().port[GetParam()] = config_;
    machine_ = std::make_unique<Machine>(config);
    base_ = 0x500000 + GetParam() * 0x20000;
    set(0x10C, 100);
  }
  uint32_t get_phy(uint32_t reg) {
    return static_cast<uint32_t>(machine_->card().read(Space::mmio, base_ + reg, 4));
  }
  void set_phy(uint32_t reg, uint32_t value) {
    machine_->card().write(Space::mmio, base_ + reg, 4, value);
  }
  uint32_t get(uint32_t reg) { return get_phy(0x10000 + reg); }
  void set(uint32_t reg, uint32_t value) { set_phy(0x10000 + reg, value); }
  void pass(uint64_t time) { machine_->clock().sleep(time); }
  DpPortFaults& faults() { return machine_->faults().of<DpFaults>().port[GetParam()]; }

  // Sends a request, waits for its end, and returns the reply code; -1 for a timeout, -2 for an
  // error.
  int request(uint32_t command, uint32_t address, std::initializer_list<uint8_t> data = {}) {
    for (const uint8_t byte : data) set(0x104, byte);
    set(0x108, address);
    set(0x100, command);
    EXPECT_EQ(get(0x14C) & 4, 4u) << "it takes a while";
    pass(milliseconds(2));
    EXPECT_EQ(get(0x14C) & 4, 0u);
    if ((get(0x14C) & 8) != 0) return -2;
    if ((get(0x130) & 8) != 0) return -1;
    EXPECT_EQ(get(0x130), 4u);
    return static_cast<int>(get(0x138));
  }
  std::vector<uint32_t> fifo(unsigned count) {
    std::vector<uint32_t> bytes;
    while (count-- > 0) bytes.push_back(get(0x134));
    return bytes;
  }
  uint8_t dpcd(uint32_t address) {
    EXPECT_EQ(request(0x900, address), 0);
    return static_cast<uint8_t>(get(0x134));
  }
  void dpcd(uint32_t address, unsigned value) {
    EXPECT_EQ(request(0x800, address, {static_cast<uint8_t>(value)}), 0);
  }

  // A link that runs at a rate on some lanes, and a sink that knows.
  void run(uint32_t rate, uint32_t lanes) {
    const uint32_t mask = (1u << lanes) - 1;
    for (const auto& [reg, value] : {std::pair{0x54u, 0xFu},
                                     {0x40u, 1u},
                                     {0x48u, mask},
                                     {0x4Cu, mask},
                                     {0x68u, 1u},
                                     {0x60u, 1u},
                                     {0x60u, 0u},
                                     {0x50u, 1u}}) {
      set_phy(reg, value);
    }
    set(0x000, rate);
    set(0x004, lanes);
    set(0x080, 1);
    dpcd(0x100, rate);
    dpcd(0x101, lanes | 0x80);
    levels({0, 0, 0, 0}, {0, 0, 0, 0});
  }
  void levels(std::array<unsigned, 4> swing, std::array<unsigned, 4> preemphasis) {
    for (unsigned lane = 0; lane < 4; ++lane) {
      set_phy(0xB0 + lane * 4, ~swing[lane]);
      set_phy(0xA0 + lane * 4, ~preemphasis[lane]);
    }
  }
  void pattern(unsigned number) {
    dpcd(0x102, number == 0 ? 0 : 0x20 | number);
    set(0x00C, number);
  }

  DpPortSettings config_;
  std::unique_ptr<Machine> machine_;
  uint32_t base_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Ports, DpTransmitterTest, ::testing::Range(0u, 4u),
                         ::testing::PrintToStringParamName());

TEST_P(DpTransmitterTest, TimerCountsDownByTheDivider) {
  power_up();
  set(0x158, 1000);
  pass(milliseconds(5));
  EXPECT_EQ(get(0x158), 1000u) << "it is off";
  set(0x158, 0x80000000 | 1000);
  pass(microseconds(400));
  EXPECT_NEAR(get(0x158) & 0x1FFFFF, 600, 2);
  EXPECT_EQ(get(0x158) & 0xE0000000, 0x80000000);
  pass(microseconds(700));
  EXPECT_EQ(get(0x158), 0x80000000);
  set(0x10C, 200);
  set(0x158, 0x80000000 | 1000);
  pass(milliseconds(1));
  EXPECT_NEAR(get(0x158) & 0x1FFFFF, 500, 2);
  faults().timer_stopped = true;
  set(0x158, 0x80000005);
  pass(seconds(1));
  EXPECT_EQ(get(0x158), 0x80000005);
}

TEST_P(DpTransmitterTest, NativeTransfers) {
  power_up();
  EXPECT_EQ(request(0x90F, 0), 0);
  EXPECT_THAT(fifo(16), ElementsAre(0x12, 0x14, 0x84, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_EQ(get(0x134), 0u) << "the FIFO is empty";
  EXPECT_EQ(request(0x802, 0x103, {1, 2, 3}), 0);
  EXPECT_EQ(request(0x903, 0x102), 0);
  EXPECT_THAT(fifo(4), ElementsAre(0, 1, 2, 3));
  EXPECT_EQ(get(0x140), 4u) << "a reply is pending";
  EXPECT_EQ(get(0x140), 0u) << "and its read cleared it";
}

TEST_P(DpTransmitterTest, CapabilitiesAndStatusAreReadOnly) {
  power_up();
  for (const uint32_t address : {0x000u, 0x001u, 0x00Eu, 0x202u, 0x204u, 0x701u}) {
    const uint8_t before = dpcd(address);
    dpcd(address, before ^ 0xFF);
    EXPECT_EQ(dpcd(address), before) << std::hex << address;
  }
}

TEST_P(DpTransmitterTest, NobodyAnswers) {
  config_.sink = false;
  power_up();
  EXPECT_EQ(get(0x128), 0u);
  EXPECT_EQ(request(0x900, 0), -1);
  EXPECT_EQ(get(0x140), 8u);
}

TEST_P(DpTransmitterTest, Faults) {
  power_up();
  EXPECT_EQ(get(0x128), 1u);
  faults().defers = 2;
  EXPECT_EQ(request(0x900, 0), 2);
  EXPECT_EQ(request(0x900, 0), 2);
  EXPECT_EQ(request(0x900, 0), 0);
  faults().i2c_defers = 1;
  EXPECT_EQ(request(0x400, 0x50, {0}), 8);
  EXPECT_EQ(request(0x400, 0x50, {0}), 0);
  faults().defers = DpPortFaults::always;
  for (int i = 0; i < 10; ++i) EXPECT_EQ(request(0x900, 0), 2);
  faults().defers = 0;
  faults().nack = true;
  EXPECT_EQ(request(0x900, 0), 1);
  faults().nack = false;
  faults().reply_error = true;
  EXPECT_EQ(request(0x900, 0), -2);
  faults().reply_error = false;
  faults().no_reply = true;
  EXPECT_EQ(request(0x900, 0), -1);
  faults().no_reply = false;
  faults().short_by = 3;
  EXPECT_EQ(request(0x904, 0), 0);
  EXPECT_THAT(fifo(5), ElementsAre(0x12, 0x14, 0, 0, 0));
}

TEST_P(DpTransmitterTest, EdidOverI2c) {
  power_up();
  EXPECT_EQ(request(0x400, 0x50, {0x20}), 0);
  EXPECT_EQ(request(0x503, 0x50), 0);
  EXPECT_THAT(fifo(4), ElementsAre(0x60, 0x63, 0x66, 0x69));
  EXPECT_EQ(request(0x100, 0x50), 0) << "goes on, and ends";
  EXPECT_THAT(fifo(1), ElementsAre(0x6C));
  EXPECT_EQ(request(0x100, 0x37), 4) << "nobody at that address";
}

TEST_P(DpTransmitterTest, ConfigurationBus) {
  power_up();
  set_phy(0x00, 0x40E7);
  set_phy(0x04, 0xABCD);
  set_phy(0x08, 3);
  set_phy(0x18, 1);
  EXPECT_EQ(get_phy(0x0C), 0u) << "busy";
  pass(microseconds(2));
  EXPECT_EQ(get_phy(0x0C), 1u);
  set_phy(0x04, 0);
  set_phy(0x08, 2);
  set_phy(0x18, 1);
  pass(microseconds(2));
  EXPECT_EQ(get_phy(0x10), 0xABCDu);
  faults().cdb_busy = true;
  EXPECT_EQ(get_phy(0x0C), 0u);
}

TEST_P(DpTransmitterTest, PhyAcknowledges) {
  power_up();
  EXPECT_EQ(get_phy(0x44), 0u);
  set_phy(0x40, 1);
  set_phy(0x68, 1);
  set_phy(0x60, 8);
  EXPECT_EQ(get_phy(0x44), 0u);
  EXPECT_EQ(get_phy(0x6C), 0u);
  EXPECT_EQ(get_phy(0x64), 0u);
  pass(microseconds(100));
  EXPECT_EQ(get_phy(0x44), 1u);
  EXPECT_EQ(get_phy(0x6C), 1u);
  EXPECT_EQ(get_phy(0x64), 8u);
  set_phy(0x60, 0);
  EXPECT_EQ(get_phy(0x64), 8u) << "the state stays";
  faults().pll_never_locks = true;
  faults().no_power_acknowledge = true;
  EXPECT_EQ(get_phy(0x6C), 0u);
  EXPECT_EQ(get_phy(0x64), 0u);
}

TEST_P(DpTransmitterTest, SelfRefreshState) {
  power_up();
  set(0x360, 0);
  EXPECT_EQ(get(0x36C), 1u);
  set(0x360, 1);
  EXPECT_EQ(get(0x36C), 2u);
}

TEST_P(DpTransmitterTest, LinkTrainsOnBothPatterns) {
  power_up();
  run(0x14, 4);
  EXPECT_EQ(dpcd(0x202), 0);
  pattern(1);
  pass(milliseconds(1));
  EXPECT_EQ(dpcd(0x202), 0x11);
  EXPECT_EQ(dpcd(0x203), 0x11);
  EXPECT_EQ(dpcd(0x204), 0);
  pattern(2);
  pass(milliseconds(1));
  EXPECT_EQ(dpcd(0x202), 0x77);
  EXPECT_EQ(dpcd(0x203), 0x77);
  EXPECT_EQ(dpcd(0x204), 1);
  pattern(0);
  EXPECT_EQ(dpcd(0x202), 0x77) << "it lasts";
  set(0x080, 0);
  EXPECT_EQ(dpcd(0x202), 0) << "until the transmitter stops";
}

TEST_P(DpTransmitterTest, EqualisationNeedsTheClockFirst) {
  power_up();
  run(0x0A, 2);
  pattern(2);
  pass(milliseconds(1));
  EXPECT_EQ(dpcd(0x202), 0);
}

TEST_P(DpTransmitterTest, PatternsTakeTheirTime) {
  config_.aux_interval = 2;
  power_up();
  run(0x14, 4);
  pattern(1);
  pass(milliseconds(1));
  EXPECT_EQ(dpcd(0x202), 0x11);
  pattern(2);
  pass(milliseconds(6));
  EXPECT_EQ(dpcd(0x202), 0x11);
  pass(milliseconds(2));
  EXPECT_EQ(dpcd(0x202), 0x77);
}

TEST_P(DpTransmitterTest, LanesAskForOneStepOfWhatTheyLack) {
  config_.channel = {{{0, 0}, {3, 0}, {2, 1}, {1, 3}}};
  power_up();
  run(0x14, 4);
  pattern(1);
  pass(milliseconds(1));
  EXPECT_EQ(dpcd(0x202), 0x01);
  EXPECT_EQ(dpcd(0x203), 0x00);
  EXPECT_EQ(dpcd(0x206), 0x10);  // lane 1: swing 1
  EXPECT_EQ(dpcd(0x207), 0x55);  // lanes 2 and 3: swing 1, pre-emphasis 1
  levels({0, 2, 2, 1}, {0, 0, 1, 2});
  pass(milliseconds(1));
  EXPECT_EQ(dpcd(0x202), 0x01);
  EXPECT_EQ(dpcd(0x203), 0x01);
  EXPECT_EQ(dpcd(0x206), 0x30);
  EXPECT_EQ(dpcd(0x207), 0xD6);
  levels({0, 3, 2, 1}, {0, 0, 1, 3});
  pass(milliseconds(1));
  EXPECT_EQ(dpcd(0x202), 0x11);
  EXPECT_EQ(dpcd(0x203), 0x11);
}

TEST_P(DpTransmitterTest, NarrowLinkUsesItsLanesOnly) {
  power_up();
  run(0x14, 2);
  pattern(1);
  pass(milliseconds(1));
  pattern(2);
  pass(milliseconds(1));
  EXPECT_EQ(dpcd(0x202), 0x77);
  EXPECT_EQ(dpcd(0x203), 0x00);
  EXPECT_EQ(dpcd(0x204), 1);
}

TEST_P(DpTransmitterTest, LinkThatCannotBe) {
  const struct {
    uint32_t rate, told_rate, lanes, told_lanes;
  } cases[] = {
      {0x1E, 0x1E, 4, 4},  // more than the sink can
      {0x14, 0x0A, 4, 4},  // not what the sink was told
      {0x07, 0x07, 4, 4},  // no such rate
      {0x14, 0x14, 1, 2},  // a lane is missing
      {0x14, 0x14, 4, 0},
  };
  for (const auto& c : cases) {
    power_up();
    run(c.rate, c.lanes);
    dpcd(0x100, c.told_rate);
    dpcd(0x101, c.told_lanes);
    pattern(1);
    pass(milliseconds(1));
    EXPECT_EQ(dpcd(0x202), 0) << c.rate;
  }
}

TEST_P(DpTransmitterTest, SinkThatNeverEqualises) {
  power_up();
  faults().never_equalises = true;
  run(0x14, 4);
  pattern(1);
  pass(milliseconds(1));
  pattern(2);
  pass(milliseconds(10));
  EXPECT_EQ(dpcd(0x202), 0x11);
  EXPECT_EQ(dpcd(0x204), 0);
}

TEST_P(DpTransmitterTest, PanelHasASelfTest) {
  power_up();
  EXPECT_EQ(dpcd(0x701), 0);
  config_.panel = true;
  power_up();
  EXPECT_EQ(dpcd(0x701), 0x10);
  dpcd(0x10A, 0x80);
  EXPECT_EQ(dpcd(0x10A), 0x80);
}

TEST_P(DpTransmitterTest, WindowsOfAnRq302) {
  power_up(Generation::rq302);
  set(0x0C8, 0x2004);
  const uint32_t window = 0x2B0000 + GetParam() * 0x20000;
  const uint64_t seen = machine_->card().read(Space::mmio, window + 0x0C8, 4);
  if (GetParam() == 0 || GetParam() == 3) {
    EXPECT_EQ(seen, 0x2004u);
  } else {
    EXPECT_EQ(seen, (window + 0x0C8 - 0x2C0000) / 4) << "the DDR PHY keeps its range";
  }
}

TEST_P(DpTransmitterTest, OtherWidthsAreSeenInTheirRegister) {
  power_up();
  set(0x1AC, 0x12345678);
  set(0x1B0, 0x9ABCDEF0);
  Board& card = machine_->card();
  const uint64_t at = base_ + 0x101AC;
  EXPECT_EQ(card.read(Space::mmio, at, 1), 0x78u);
  EXPECT_EQ(card.read(Space::mmio, at + 2, 2), 0x1234u);
  EXPECT_EQ(card.read(Space::mmio, at, 8), 0x9ABCDEF012345678u);
  card.write(Space::mmio, at, 8, 0x1111111122222222u);
  EXPECT_EQ(get(0x1AC), 0x22222222u);
  EXPECT_EQ(get(0x1B0), 0x11111111u);
}

}  // namespace
}  // namespace zvgsim
