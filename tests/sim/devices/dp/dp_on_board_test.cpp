// The library's DisplayPort, panel and colour calls against the virtual board.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "devices/display/display_settings.h"
#include "devices/dp/dp_settings.h"
#include "support/board_fixture.h"
#include "support/capture.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using zvgtest::BoardFixture;
using zvgtest::capture;
using zvgtest::Door;

class DpOnBoard : public BoardFixture {
 protected:
  zvgsim::BoardConfig config() override {
    zvgsim::BoardConfig config;
    for (unsigned i = 0; i < 256; ++i) edid_.push_back(static_cast<uint8_t>(i ^ 0x5A));
    edid_[126] = 1;
    auto& dp = config.of<zvgsim::DpSettings>();
    for (auto& port : dp.port) {
      port.sink = true;
      port.edid = edid_;
    }
    dp.port[1].channel[2] = {2, 1};
    dp.port[2].channel = {{{3, 3}, {0, 0}, {0, 0}, {0, 0}}};
    dp.port[3].panel = true;
    config.of<zvgsim::DisplaySettings>().crtc[0] = zvgsim::CrtcSettings{
        {148500, 1920, 2008, 2052, 2200, 1080, 1084, 1089, 1125}, false, false};
    return config;
  }
  void SetUp() override {
    BoardFixture::SetUp();
    ASSERT_GE(zvgRwOpen(0), 0);
  }
  uint8_t dpcd(uint32_t port, uint32_t address) {
    const auto reply =
        board().dp_sink(port)->request(zvgsim::AuxRequest::native_read, false, address, nullptr, 1);
    EXPECT_TRUE(reply && reply->count == 1);
    return reply ? reply->data[0] : uint8_t{0};
  }
  // How many times a register was written with a value.
  long writes(uint32_t address, uint32_t value) {
    char line[64];
    snprintf(line, sizeof line, "w4 mmio 0x%x 0x%x", address, value);
    return std::count(lines_.begin(), lines_.end(), line);
  }
  void train(int port) {
    zvgDpInit(port);
    trace().start();
    capture([&] { EXPECT_EQ(zvgDpLinkTraining(port), 0); });
    lines_ = trace().take();
  }

  std::vector<uint8_t> edid_;
  std::vector<std::string> lines_;
};

// What takes no driver is the same through the apertures.
class DpThroughDoors : public DpOnBoard, public testing::WithParamInterface<Door> {
 protected:
  void SetUp() override {
    BoardFixture::SetUp();
    open_through(GetParam());
  }
};

INSTANTIATE_TEST_SUITE_P(All, DpThroughDoors, testing::Values(Door::driver, Door::aperture),
                         [](const auto& instance) { return name(instance.param); });

TEST_P(DpThroughDoors, SetUpSucceedsWithoutAMessage) {
  for (int port = 0; port < 4; ++port) {
    const auto output = capture([&] { EXPECT_EQ(zvgDpInit(port), 0); });
    EXPECT_EQ(output.out + output.err, "");
  }
}

TEST_P(DpThroughDoors, EasySinkTrainsInOnePass) {
  train(0);
  EXPECT_EQ(writes(0x51000C, 1), 1);
  EXPECT_EQ(dpcd(0, 0x202), 0x77);
  EXPECT_EQ(dpcd(0, 0x203), 0x77);
  EXPECT_EQ(dpcd(0, 0x204), 1);
}

TEST_P(DpThroughDoors, LaneThatNeedsMoreTrainsInThreePasses) {
  train(1);
  EXPECT_EQ(writes(0x53000C, 1), 3) << "levels 0 and 0, 1 and 1, 2 and 1";
  EXPECT_EQ(writes(0x53000C, 2), 1);
  EXPECT_EQ(writes(0x5200B8, ~2u), 1);
  EXPECT_EQ(dpcd(1, 0x202), 0x77);
  EXPECT_EQ(dpcd(1, 0x203), 0x77);
  EXPECT_EQ(dpcd(1, 0x103), 0x00);
  EXPECT_EQ(dpcd(1, 0x105), 0x0A);
}

TEST_P(DpThroughDoors, HighestLevelsCarryTheirMark) {
  train(2);
  EXPECT_EQ(dpcd(2, 0x103), 7 * 8 | 7);
  EXPECT_EQ(dpcd(2, 0x204), 1);
}

TEST_P(DpThroughDoors, PanelTrainsWithFixedTiming) {
  train(3);
  EXPECT_EQ(writes(0x57000C, 3), 1);
  EXPECT_EQ(dpcd(3, 0x202), 0x77);
  EXPECT_EQ(dpcd(3, 0x204), 1);
}

TEST_P(DpThroughDoors, ModeSetCopiesTheControllersTiming) {
  for (unsigned port = 0; port < 4; ++port) {
    const auto output = capture([&] { EXPECT_EQ(zvgDpCTLCfg(port), 0); });
    EXPECT_THAT(output.out, AllOf(StartsWith("pclk=148500\nDPCD 0: 12 14 84"),
                                  EndsWith("DP" + std::to_string(port) + ": enable the link\n")));
    EXPECT_EQ(output.err, "");
    uint32_t mode[10] = {};
    zvgDpModeRead(port, mode);
    EXPECT_THAT(mode, ElementsAre(0, 1920, 2008, 2052, 2200, 1080, 1084, 1089, 1125, 0));
    EXPECT_EQ(peek(0x510084 + port * 0x20000), 1u) << "the stream runs";
  }
}

TEST_F(DpOnBoard, EdidThreeWays) {
  uint8_t bytes[512] = {};
  uint32_t length = 0;
  EXPECT_EQ(zvgDpAuxEdidGet(0, bytes, &length), 0);
  EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + length), edid_);
  uint8_t read[256] = {};
  zvgDpInit(0);
  EXPECT_EQ(zvgDpI2cReadBuf(0, 0x50, 0, read, 256), 0);
  EXPECT_EQ(std::vector<uint8_t>(read, read + 256), edid_);
  uint8_t byte = 0;
  EXPECT_EQ(zvgDpI2cRead(0, 0x50, 0x7E, &byte), 0);
  EXPECT_EQ(byte, 1);
}

// A transaction takes sixteen bytes, so that 256 need sixteen of them and one for the offset. The
// last byte of a read comes with one of its own, which is one more.
TEST_F(DpOnBoard, EdidTakesOneTransactionMoreThanTheLeast) {
  constexpr long least = 1 + 256 / 16;
  zvgDpInit(0);
  trace().start();
  uint8_t bytes[256];
  EXPECT_EQ(zvgDpI2cReadBuf(0, 0x50, 0, bytes, 256), 0);
  const auto lines = trace().take();
  const auto is_command = [](const std::string& line) {
    return line.starts_with("w4 mmio 0x510100 ");
  };
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(), is_command), least + 1);
}

TEST_P(DpThroughDoors, FaultySinks) {
  uint8_t byte = 0;
  uint8_t bytes[32];
  zvgDpInit(0);
  auto& fault = faults().of<zvgsim::DpFaults>().port[0];
  fault.i2c_defers = 99;
  EXPECT_EQ(zvgDpI2cRead(0, 0x50, 0x10, &byte), 0);
  EXPECT_EQ(byte, 0x4A);
  fault.i2c_defers = zvgsim::DpPortFaults::always;
  auto output = capture([&] { EXPECT_EQ(zvgDpI2cReadBuf(0, 0x50, 0, bytes, 32), -1); });
  EXPECT_EQ(output.err, "dp 0: aux i2c read buffer error\n");
  fault.i2c_defers = 0;
  fault.defers = zvgsim::DpPortFaults::always;
  output = capture([&] { EXPECT_EQ(zvgDpLinkTraining(0), -1); });
  EXPECT_THAT(output.err, StartsWith("dp 0: aux read buffer error\n"));
  fault.defers = 0;
  fault.no_reply = true;
  output = capture([&] { EXPECT_EQ(zvgDpI2cRead(0, 0x50, 0, &byte), -1); });
  EXPECT_EQ(output.err, "dp 0: aux i2c read buffer error\n");
  if (GetParam() == Door::driver) {
    EXPECT_EQ(zvgDpAuxRead(0, 0, &byte), -1);
  }
  fault.no_reply = false;
  fault.cdb_busy = true;
  uint16_t data = 0;
  output = capture([&] { EXPECT_EQ(zvgDpCdbRead(0, 0xE001, &data), 4); });
  EXPECT_EQ(output.err, "dp 0: cdb bus is busy when read [0xe001]\n");
}

TEST_P(DpThroughDoors, PhyThatDoesNotLockIsReported) {
  auto& fault = faults().of<zvgsim::DpFaults>().port[2];
  fault.pll_never_locks = true;
  fault.no_power_acknowledge = true;
  const auto output = capture([&] { EXPECT_EQ(zvgDpInit(2), 0); });
  EXPECT_EQ(output.out,
            "zvg_dptx_phy_init 1424: lane_pll_ack status 4 is error\n"
            "zvg_dptx_phy_init 1430: dptx_phy_power_a2 status 10 is error\n"
            "zvg_dptx_phy_init 1435: dptx_phy_power_a0 status 10 is error\n");
}

TEST_F(DpOnBoard, UnknownRateAndNoLanes) {
  auto config = this->config();
  auto& port = config.of<zvgsim::DpSettings>().port[0];
  port.rate = 0x07;
  port.lanes = 0;
  power_up(config);
  ASSERT_GE(zvgRwOpen(0), 0);
  zvgDpInit(0);
  const auto output = capture([&] { EXPECT_EQ(zvgDpLinkTraining(0), 0); });
  EXPECT_EQ(output.err, "unsupported linkrate speed: 7\n");
  EXPECT_THAT(output.out, HasSubstr("lane count error 0, force to lane count 1\n"));
  EXPECT_EQ(dpcd(0, 0x204), 0);
}

TEST_F(DpOnBoard, PanelSelfTest) {
  EXPECT_EQ(zvgEdpSelfTestSet(3, 1), 0);
  EXPECT_EQ(dpcd(3, 0x10A), 0x80);
  EXPECT_EQ(zvgEdpSelfTestSet(3, 0), 0);
  EXPECT_EQ(dpcd(3, 0x10A), 0);
  capture([&] { EXPECT_EQ(zvgEdpSelfTestSet(0, 1), -1); });
}

TEST_F(DpOnBoard, LookupTableReachesItsController) {
  const int other = open("/dev/null", O_RDWR | O_CLOEXEC);
  ASSERT_GE(other, 0);
  EXPECT_EQ(zvg_lut_load(other, "0"), -1) << "that descriptor is not the driver's";
  close(other);
  uint8_t command[] = "2 br 0.5";
  EXPECT_EQ(zvgCrtcGammaSet(command), 0);
  const auto& lut = board().lut(2);
  ASSERT_EQ(lut[0].size(), 256u);
  EXPECT_EQ(lut[0][255], 32640);
  EXPECT_EQ(lut[2][2], 256);
}

TEST_F(DpOnBoard, TransferOverTheUart) {
  zvgClose();
  ASSERT_GE(zvgSerialOpen("/dev/ttyZVG0", 9600), 0);
  doGetDeviceId("test", "rq302");
  zvgDpInit(0);
  uint8_t bytes[16] = {};
  EXPECT_EQ(zvgDpI2cReadBuf(0, 0x50, 0, bytes, 16), 0);
  EXPECT_TRUE(std::equal(bytes, bytes + 16, edid_.begin()));
}

}  // namespace
