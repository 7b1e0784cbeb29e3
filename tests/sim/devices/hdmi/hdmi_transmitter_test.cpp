// The HDMI transmitter, register by register.
#include "devices/hdmi/hdmi_transmitter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/machine.h"

namespace zvgsim {
namespace {

using ::testing::ElementsAreArray;

constexpr uint8_t done = 0x02;
constexpr uint8_t error = 0x01;

std::vector<uint8_t> numbered_edid(unsigned blocks) {
  std::vector<uint8_t> edid(128 * blocks);
  for (size_t i = 0; i < edid.size(); ++i) edid[i] = static_cast<uint8_t>(i * 7 + i / 128);
  return edid;
}

class HdmiTransmitterTest : public ::testing::TestWithParam<unsigned> {
 protected:
  HdmiTransmitterTest() { power_up({}); }

  void power_up(HdmiPortSettings port) {
    BoardConfig config;
    config.of<HdmiSettings>().port[GetParam()] = std::move(port);
    machine_ = std::make_unique<Machine>(config);
    base_ = 0x110000 + GetParam() * 0x10000;
  }
  void power_up_with_monitor(unsigned blocks) {
    HdmiPortSettings port;
    port.edid = numbered_edid(blocks);
    power_up(std::move(port));
    ddc_init();
  }

  uint8_t get(uint32_t offset) {
    return static_cast<uint8_t>(machine_->card().read(Space::mmio, base_ + offset, 1));
  }
  void set(uint32_t offset, unsigned value) {
    machine_->card().write(Space::mmio, base_ + offset, 1, value);
  }
  void pass(uint64_t time) { machine_->clock().sleep(time); }
  HdmiPortFaults& faults() { return machine_->faults().of<HdmiFaults>().port[GetParam()]; }

  // Standard mode: the clock counts for 100 kHz, fast mode off.
  void ddc_init() {
    set(0x7E0C, 0x04);
    set(0x7E0B, 0x01);
    set(0x7E0E, 0x0E);
    set(0x7E0D, 0x01);
    set(0x7E07, get(0x7E07) & ~0x08);
  }
  // Runs a DDC operation to its end and returns the status.
  uint8_t ddc(unsigned operation, uint8_t slave, unsigned offset) {
    set(0x0105, 3);
    set(0x7E00, slave);
    set(0x7E01, offset & 0xFF);
    set(0x7E04, operation);
    pass(milliseconds(2));
    return get(0x0105);
  }
  uint8_t segmented(unsigned segment, unsigned offset) {
    set(0x7E08, 0x30);
    set(0x7E0A, segment);
    return ddc(0x02, 0x50, offset);
  }
  uint8_t phy(unsigned operation, uint8_t reg, unsigned value = 0) {
    set(0x0108, 3);
    set(0x3020, 0x69);
    set(0x3021, reg);
    set(0x3022, value >> 8);
    set(0x3023, value & 0xFF);
    set(0x3026, operation);
    pass(milliseconds(2));
    return get(0x0108);
  }

  std::unique_ptr<Machine> machine_;
  uint32_t base_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Ports, HdmiTransmitterTest, ::testing::Values(0u, 1u, 2u, 3u));

// DDC -------------------------------------------------------------------------------------------

TEST_P(HdmiTransmitterTest, DdcReadsTheMonitorsRom) {
  power_up_with_monitor(2);
  const std::vector<uint8_t> edid = numbered_edid(2);
  std::vector<uint8_t> read;
  for (unsigned i = 0; i < 256; ++i) {
    ASSERT_EQ(ddc(0x01, 0x50, i), done) << i;
    read.push_back(get(0x7E03));
  }
  EXPECT_THAT(read, ElementsAreArray(edid));
}

TEST_P(HdmiTransmitterTest, TransferTakesAsLongAsItsBits) {
  power_up_with_monitor(1);
  set(0x7E00, 0x50);
  set(0x7E04, 0x01);
  const uint64_t start = machine_->clock().now();
  EXPECT_EQ(get(0x0105), 0) << "still on the wires";
  uint64_t end = 0;
  while (end == 0 && machine_->clock().now() - start < milliseconds(5)) {
    pass(microseconds(1));
    if (get(0x0105) != 0) end = machine_->clock().now();
  }
  // Start, address, offset, repeated start, address, data, stop at 540 / 54 MHz... about 100 kHz.
  EXPECT_NEAR(static_cast<double>(end - start), 39 * 9815.0, 20'000);
}

TEST_P(HdmiTransmitterTest, FastModeIsFaster) {
  power_up_with_monitor(1);
  set(0x7E07, 0x08);
  set(0x7E00, 0x50);
  set(0x7E04, 0x01);
  pass(microseconds(120));
  EXPECT_EQ(get(0x0105), done);
}

TEST_P(HdmiTransmitterTest, StatusIsClearedByWritingOnes) {
  power_up_with_monitor(1);
  ASSERT_EQ(ddc(0x01, 0x50, 0), done);
  set(0x0105, 0x01);
  EXPECT_EQ(get(0x0105), done) << "another bit";
  set(0x0105, 0x00);
  EXPECT_EQ(get(0x0105), done);
  set(0x0105, 0x02);
  EXPECT_EQ(get(0x0105), 0);
}

TEST_P(HdmiTransmitterTest, MuteKeepsItsValueAndTheStatusGoesOn) {
  power_up_with_monitor(1);
  set(0x0185, 3);
  set(0x0188, 3);
  EXPECT_EQ(get(0x0185), 3);
  EXPECT_EQ(get(0x0188), 3);
  EXPECT_EQ(ddc(0x01, 0x50, 0), done);
}

TEST_P(HdmiTransmitterTest, NobodyAtTheAddressIsAnError) {
  EXPECT_EQ(ddc(0x01, 0x50, 0), error) << "no monitor";
  power_up_with_monitor(1);
  EXPECT_EQ(ddc(0x01, 0x51, 0), error);
  EXPECT_EQ(ddc(0x01, 0x50, 0), done);
}

TEST_P(HdmiTransmitterTest, ErrorLeavesTheReadDataAlone) {
  power_up_with_monitor(1);
  ASSERT_EQ(ddc(0x01, 0x50, 5), done);
  const uint8_t before = get(0x7E03);
  ASSERT_EQ(ddc(0x01, 0x21, 6), error);
  EXPECT_EQ(get(0x7E03), before);
}

TEST_P(HdmiTransmitterTest, SegmentPointerReachesTheLaterBlocks) {
  power_up_with_monitor(4);
  const std::vector<uint8_t> edid = numbered_edid(4);
  for (unsigned i = 0; i < 512; ++i) {
    ASSERT_EQ(segmented(i >> 8, i), done) << i;
    ASSERT_EQ(get(0x7E03), edid[i]) << i;
  }
  // The stop took the pointer back.
  ASSERT_EQ(ddc(0x01, 0x50, 3), done);
  EXPECT_EQ(get(0x7E03), edid[3]);
}

TEST_P(HdmiTransmitterTest, LargestRomIsReadable) {
  power_up_with_monitor(256);
  const std::vector<uint8_t> edid = numbered_edid(256);
  for (const unsigned i : {0u, 255u, 256u, 511u, 32767u}) {
    ASSERT_EQ(segmented(i >> 8, i), done);
    EXPECT_EQ(get(0x7E03), edid[i]) << i;
  }
  ASSERT_EQ(segmented(128, 0), done);
  EXPECT_EQ(get(0x7E03), 0xFF) << "beyond the end";
}

TEST_P(HdmiTransmitterTest, SmallMonitorHasNoSegmentPointer) {
  power_up_with_monitor(2);
  EXPECT_EQ(segmented(0, 0), error);
  EXPECT_EQ(ddc(0x01, 0x50, 0), done);
}

TEST_P(HdmiTransmitterTest, BeyondTheRomReadsAllOnes) {
  power_up_with_monitor(1);
  ASSERT_EQ(ddc(0x01, 0x50, 128), done);
  EXPECT_EQ(get(0x7E03), 0xFF);
}

TEST_P(HdmiTransmitterTest, RomDoesNotTakeWrites) {
  power_up_with_monitor(1);
  set(0x7E02, 0x99);
  EXPECT_EQ(ddc(0x10, 0x50, 0), error);
  ASSERT_EQ(ddc(0x01, 0x50, 0), done);
  EXPECT_EQ(get(0x7E03), 0);
  EXPECT_EQ(get(0x0108), 0) << "a DDC transfer is not the PHY's";
}

// A device that remembers what was written to it.
class Register : public I2cDevice {
 public:
  bool start(uint8_t address, bool) override { return bytes_ = 0, address == 0x37; }
  bool write(uint8_t byte) override {
    (bytes_++ == 0 ? offset : value) = byte;
    return true;
  }
  uint8_t read() override { return value; }
  void stop() override {}
  uint8_t offset = 0, value = 0;

 private:
  unsigned bytes_ = 0;
};

TEST_P(HdmiTransmitterTest, DdcWriteSendsOffsetAndByte) {
  auto device = std::make_unique<Register>();
  const Register& seen = *device;
  machine_->card().ddc(GetParam()).attach(std::move(device));
  set(0x7E02, 0xC3);
  EXPECT_EQ(ddc(0x10, 0x37, 0x51), done);
  EXPECT_EQ(seen.offset, 0x51);
  EXPECT_EQ(seen.value, 0xC3);
}

TEST_P(HdmiTransmitterTest, OtherOperationsDoNothing) {
  power_up_with_monitor(1);
  EXPECT_EQ(ddc(0x00, 0x50, 0), 0);
  EXPECT_EQ(ddc(0x04, 0x50, 0), 0);
  EXPECT_EQ(phy(0x00, 1), 0);
  EXPECT_EQ(get(0x7E04), 0) << "the operation register keeps nothing";
}

TEST_P(HdmiTransmitterTest, SecondOperationWaitsForNobody) {
  power_up_with_monitor(1);
  set(0x7E00, 0x50);
  set(0x7E01, 4);
  set(0x7E04, 0x01);
  set(0x7E01, 9);
  set(0x7E04, 0x01);  // the master is busy: lost
  pass(milliseconds(2));
  EXPECT_EQ(get(0x0105), done);
  EXPECT_EQ(get(0x7E03), numbered_edid(1)[4]);
}

// Faults of the monitor -------------------------------------------------------------------------

TEST_P(HdmiTransmitterTest, NackAtOneByteOnly) {
  power_up_with_monitor(2);
  faults().ddc_nack_at_byte = 127;
  EXPECT_EQ(ddc(0x01, 0x50, 126), done);
  EXPECT_EQ(ddc(0x01, 0x50, 127), error);
  EXPECT_EQ(ddc(0x01, 0x50, 128), done) << "the bytes after it are there";
}

TEST_P(HdmiTransmitterTest, NackInALaterSegment) {
  power_up_with_monitor(4);
  faults().ddc_nack_at_byte = 300;
  EXPECT_EQ(segmented(1, 300), error);
  EXPECT_EQ(ddc(0x01, 0x50, 300 - 256), done) << "the same offset of the first segment";
  EXPECT_EQ(segmented(1, 301), done);
}

TEST_P(HdmiTransmitterTest, NackOfAnAddress) {
  power_up_with_monitor(4);
  faults().ddc_nack = {0x30};
  EXPECT_EQ(segmented(1, 0), error);
  EXPECT_EQ(ddc(0x01, 0x50, 0), done);
  faults().ddc_nack = {0x50};
  EXPECT_EQ(ddc(0x01, 0x50, 0), error);
}

TEST_P(HdmiTransmitterTest, HangingBusNeverEnds) {
  power_up_with_monitor(1);
  faults().ddc_busy = true;
  EXPECT_EQ(ddc(0x01, 0x50, 0), 0);
  pass(seconds(100));
  EXPECT_EQ(get(0x0105), 0);
}

// PHY -------------------------------------------------------------------------------------------

TEST_P(HdmiTransmitterTest, PhyRegistersKeep16Bits) {
  for (unsigned reg = 0; reg < 256; ++reg) {
    ASSERT_EQ(phy(0x10, static_cast<uint8_t>(reg), 0xA500 + reg), done);
  }
  for (unsigned reg = 0; reg < 256; ++reg) {
    ASSERT_EQ(phy(0x01, static_cast<uint8_t>(reg)), done);
    ASSERT_EQ(get(0x3024), 0xA5) << reg;
    ASSERT_EQ(get(0x3025), reg);
  }
}

TEST_P(HdmiTransmitterTest, PhyAnswersAtItsAddressOnly) {
  set(0x3020, 0x68);
  set(0x3021, 0);
  set(0x3026, 0x01);
  pass(milliseconds(2));
  EXPECT_EQ(get(0x0108), error);
}

TEST_P(HdmiTransmitterTest, ResetClearsThePhyAndSilencesIt) {
  ASSERT_EQ(phy(0x10, 6, 0x1234), done);
  set(0x4005, 1);
  EXPECT_EQ(phy(0x01, 6), error) << "held in reset";
  set(0x4005, 0);
  ASSERT_EQ(phy(0x01, 6), done);
  EXPECT_EQ(get(0x3024) << 8 | get(0x3025), 0);
}

TEST_P(HdmiTransmitterTest, PhyTransferTakesItsTimeAndMayHang) {
  set(0x0108, 3);
  set(0x3029, 0x00);
  set(0x3026, 0x10);
  EXPECT_EQ(get(0x0108), 0);
  pass(milliseconds(1));
  EXPECT_EQ(get(0x0108), done);
  EXPECT_EQ(get(0x0105), 0) << "not the DDC's";
  faults().phy_busy = true;
  EXPECT_EQ(phy(0x01, 0), 0);
  pass(seconds(100));
  EXPECT_EQ(get(0x0108), 0);
}

TEST_P(HdmiTransmitterTest, PllLocksSomeTimeAfterPowerUp) {
  EXPECT_EQ(get(0x3004) & 0x01, 0);
  EXPECT_EQ(get(0x4006), 0x40) << "pixel clock on, TMDS clock off";
  set(0x3000, 0x2E);
  EXPECT_EQ(get(0x3004) & 0x01, 0);
  pass(milliseconds(2));
  EXPECT_EQ(get(0x3004) & 0x01, 0);
  pass(milliseconds(2));
  EXPECT_EQ(get(0x3004) & 0x01, 1);
  EXPECT_EQ(get(0x4006), 0x60);
  set(0x3000, 0x2E);
  EXPECT_EQ(get(0x3004) & 0x01, 1) << "it was powered already";
  set(0x3000, 0x3E);  // power down
  EXPECT_EQ(get(0x3004) & 0x01, 0);
}

TEST_P(HdmiTransmitterTest, PllLosesItsLockInReset) {
  set(0x3000, 0x2E);
  pass(milliseconds(4));
  ASSERT_EQ(get(0x3004) & 0x01, 1);
  set(0x4005, 1);
  EXPECT_EQ(get(0x3004) & 0x01, 0);
  set(0x4005, 0);
  EXPECT_EQ(get(0x3004) & 0x01, 0);
  pass(milliseconds(4));
  EXPECT_EQ(get(0x3004) & 0x01, 1);
}

TEST_P(HdmiTransmitterTest, PllNeedsAPixelClock) {
  HdmiPortSettings port;
  port.pixel_clock = false;
  power_up(port);
  set(0x3000, 0x2E);
  pass(seconds(10));
  EXPECT_EQ(get(0x3004) & 0x01, 0);
  EXPECT_EQ(get(0x4006), 0x00);
}

TEST_P(HdmiTransmitterTest, PllNeverLocksByFault) {
  faults().pll_never_locks = true;
  set(0x3000, 0x2E);
  pass(seconds(10));
  EXPECT_EQ(get(0x3004) & 0x01, 0);
  EXPECT_EQ(get(0x4006), 0x40);
}

TEST_P(HdmiTransmitterTest, LockTimeIsTheBoards) {
  HdmiPortSettings port;
  port.pll_lock_ms = 250;
  power_up(port);
  set(0x3000, 0x2E);
  pass(milliseconds(249));
  EXPECT_EQ(get(0x3004) & 0x01, 0);
  pass(milliseconds(1));
  EXPECT_EQ(get(0x3004) & 0x01, 1);
}

TEST_P(HdmiTransmitterTest, HotPlugAndReceiverSense) {
  EXPECT_EQ(get(0x3004), 0x00) << "nothing plugged in";
  HdmiPortSettings port;
  port.edid = numbered_edid(1);
  power_up(port);
  EXPECT_EQ(get(0x3004), 0xF2);
  port.receiver_sense = 0x1;
  power_up(port);
  EXPECT_EQ(get(0x3004), 0x12);
  port.receiver_sense = 0;
  power_up(port);
  EXPECT_EQ(get(0x3004), 0x02);
  port.hot_plug = false;
  port.receiver_sense.reset();
  power_up(port);
  EXPECT_EQ(get(0x3004), 0x00);
  HdmiPortSettings mute;
  mute.hot_plug = true;
  power_up(mute);
  EXPECT_EQ(get(0x3004), 0xF2) << "plugged, without an EDID";
}

TEST_P(HdmiTransmitterTest, StatusRegistersAreReadOnly) {
  set(0x3004, 0xFF);
  EXPECT_EQ(get(0x3004), 0x00);
  set(0x4006, 0xFF);
  EXPECT_EQ(get(0x4006), 0x40);
  set(0x7E03, 0x55);
  EXPECT_EQ(get(0x7E03), 0);
}

// Frame composer --------------------------------------------------------------------------------

TEST_P(HdmiTransmitterTest, FirmwareLeavesTheTimingProgrammed) {
  HdmiPortSettings port;
  port.timing = ModeTiming{148500, 1920, 2008, 2052, 2200, 1080, 1084, 1089, 1125};
  power_up(port);
  std::vector<unsigned> bytes;
  for (uint32_t at = 0x1001; at <= 0x1010; ++at) bytes.push_back(get(at));
  EXPECT_THAT(bytes, ElementsAreArray({0x80, 0x07, 0x18, 0x01,  // 1920, 280 blank
                                       0x38, 0x04, 0x2D,        // 1080, 45 blank
                                       0x58, 0x00, 0x2C, 0x00,  // delay 88, width 44
                                       0x04, 0x05,              // delay 4, width 5
                                       0x14, 0x44, 0x02}));     // 148500
  EXPECT_EQ(get(0x3004) & 0x01, 1) << "and the PHY driving";
}

TEST_P(HdmiTransmitterTest, FrameComposerIsStorage) {
  for (uint32_t at = 0x1001; at <= 0x1010; ++at) set(at, at & 0xFF);
  for (uint32_t at = 0x1001; at <= 0x1010; ++at) EXPECT_EQ(get(at), at & 0xFF);
  EXPECT_EQ(machine_->card().mmio_storage().read(base_ + 0x1001, 4), 0x04030201u);
}

TEST_P(HdmiTransmitterTest, PortsAreApart) {
  power_up_with_monitor(1);
  const unsigned other = (GetParam() + 1) % 4;
  const uint32_t elsewhere = 0x110000 + other * 0x10000;
  machine_->card().write(Space::mmio, elsewhere + 0x7E00, 1, 0x50);
  machine_->card().write(Space::mmio, elsewhere + 0x7E04, 1, 0x01);
  pass(milliseconds(2));
  EXPECT_EQ(machine_->card().read(Space::mmio, elsewhere + 0x0105, 1), error);
  EXPECT_EQ(get(0x0105), 0);
}

}  // namespace
}  // namespace zvgsim
