// The microcontroller and the video inputs of the virtual board, with the library.
#include <gtest/gtest.h>

#include <numeric>

#include "devices/mcu/mcu_settings.h"
#include "devices/video/video_settings.h"
#include "support/board_fixture.h"
#include "support/capture.h"
#include "util_zvg.h"

namespace zvgsim {
namespace {

using zvgtest::BoardFixture;
using zvgtest::capture;

std::vector<uint8_t> blocks(unsigned extensions) {
  std::vector<uint8_t> bytes((extensions + 1) * 128);
  std::iota(bytes.begin(), bytes.end(), uint8_t{1});
  bytes[126] = static_cast<uint8_t>(extensions);
  return bytes;
}

class McuTest : public BoardFixture {
 protected:
  BoardConfig config() override {
    BoardConfig config;
    config.of<McuSettings>().monitors = {{2, 5, blocks(1)}, {0, 0, blocks(0)}};
    config.of<VideoSettings>().port[1] =
        VideoInputSettings{.bus = 2, .address = 0x25, .width = 704, .height = 576};
    return config;
  }

  static std::vector<uint8_t> fetch(int first, int second) {
    std::vector<uint8_t> out(256 * 128);
    uint32_t length = 0;
    mcu_i2c_get_edid(first, second, out.data(), &length);
    out.resize(length);
    return out;
  }
};

TEST_F(McuTest, FetchesTheEdidOfTheSelectedMonitor) {
  for (const bool serial : {false, true}) {
    ASSERT_GE(serial ? zvgSerialOpen("/dev/ttyZVG0", 9600) : zvgRwOpen(0), 0);
    EXPECT_EQ(fetch(2, 5), blocks(1));
    EXPECT_EQ(fetch(0, 0), blocks(0));
    zvgClose();
  }
}

TEST_F(McuTest, NobodyAnswersOnAnEmptyBus) {
  ASSERT_GE(zvgRwOpen(0), 0);
  const auto output = capture([] { EXPECT_EQ(fetch(1, 1), std::vector<uint8_t>(128)); });
  EXPECT_EQ(output.out, "read edid failed-\n");
}

TEST_F(McuTest, ATransferTakesItsTime) {
  poke(0x3FF14, 0x50);
  poke(0x3FF20, 0x52, 1);
  poke(0x3FF13, 0xAA, 1);
  clock().sleep(milliseconds(11));
  EXPECT_EQ(peek(0x3FF1C), 0u);
  clock().sleep(milliseconds(1));
  EXPECT_EQ(peek(0x3FF1C), 0x55AA55AAu);
  EXPECT_EQ(peek(0x3FF80, 1), 1u);
}

TEST_F(McuTest, OnlyTheRightByteRings) {
  poke(0x3FF14, 0x50);
  poke(0x3FF13, 0xAB, 1);
  clock().sleep(seconds(1));
  EXPECT_EQ(peek(0x3FF1C), 0u);
}

TEST_F(McuTest, AStoppedControllerIsStartedByTheLibrary) {
  BoardConfig stopped = config();
  stopped.of<McuSettings>().running = false;
  power_up(stopped);
  EXPECT_EQ(peek(0x3FF00), 0u);
  ASSERT_GE(zvgRwOpen(0), 0);
  const uint64_t begin = clock().now();
  EXPECT_EQ(fetch(0, 0), blocks(0));
  EXPECT_GE(clock().now() - begin, seconds(1));
  EXPECT_EQ(peek(0x3FF00), 0xDEADBEEFu);
}

TEST_F(McuTest, AHungControllerNeverSignsOff) {
  faults().of<McuFaults>().never_done = true;
  poke(0x3FF13, 0xAA, 1);
  clock().sleep(seconds(10));
  EXPECT_EQ(peek(0x3FF1C), 0u);
}

TEST_F(McuTest, AVideoInputIsMeasuredWhileItIsCaptured) {
  ASSERT_GE(zvgRwOpen(0), 0);
  ASSERT_EQ(zvgZoomVideoInit(1, 2, 1, 0), 0);
  EXPECT_EQ(peek(0x100DC), 0u);
  uint8_t set_up = 0;
  EXPECT_EQ(zvgI2cRead(2, 0x25, 8, 1, &set_up), 0u);
  EXPECT_EQ(set_up, 0x88);
  ASSERT_EQ(zvgZoomVideoStart(1, 10, 20, 352, 288, 0, 1, 1, 0), 0);
  uint32_t width = 0, height = 0;
  const auto source = [&] {
    zvgZoomVideoGetParm(1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                        &width, &height);
  };
  source();
  EXPECT_EQ(width, 704u);
  EXPECT_EQ(height, 576u);
  EXPECT_EQ(peek(0x10060), (704u << 14) | 8 | 0x20 | 0x1102);
  zvgZoomVideoStop(1);
  source();
  EXPECT_EQ(width, 0u);
  poke(0x100DC, 0x1234);
  EXPECT_EQ(peek(0x100DC), 0u) << "measured, not written";
}

}  // namespace
}  // namespace zvgsim
