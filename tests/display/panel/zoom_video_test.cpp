// Zoom video: set-up of decoder and port, windows, start, stop and the way back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/capture.h"
#include "support/i2c_node.h"
#include "support/log.h"
#include "util_zvg.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::I2cNode;
using zvgtest::join;
using zvgtest::Log;

class ZoomVideo : public testing::Test {
 protected:
  void set(uint64_t at, uint32_t word) {
    for (unsigned i = 0; i < 4; ++i) {
      i2c_.node.bytes[at + i] = static_cast<uint8_t>(word >> (8 * i));
    }
  }
  uint32_t get(uint64_t at) {
    uint32_t word = 0;
    for (unsigned i = 0; i < 4; ++i) word |= uint32_t{i2c_.node.bytes[at + i]} << (8 * i);
    return word;
  }
  Log take() { return i2c_.take(); }

  I2cNode i2c_;
};

Log decoder_writes(unsigned channel, const char* address) {
  const char* const rows[] = {"02 c0", "03 33", "03 34", "04 00", "05 00", "06 eb",
                              "07 e0", "08 88", "09 01", "0a 80", "0b 47", "0c 40",
                              "0d 00", "0e 01", "0f 00", "10 40", "11 0c", "12 00",
                              "13 00", "15 00", "16 00", "17 00"};
  Log log;
  for (const char* const row : rows) {
    log.push_back("i2c w " + std::to_string(channel) + ":" + address + " " + row);
  }
  return log;
}

TEST_F(ZoomVideo, SetsUpPortZeroInWindowA) {
  EXPECT_EQ(zvgZoomVideoInit(0, 3, 0, 0), 0);
  EXPECT_THAT(take(), ElementsAreArray(
                          join({decoder_writes(3, "24"),
                                {"w4 0x100c4 0x4000000", "w4 0x100c8 0x4800000", "w4 0x100c0 0x510",
                                 "w4 0x10038 0x4000000", "w4 0x1003c 0x4800000", "w4 0x1006c 0xff",
                                 "w4 0x10070 0x0"}})));
}

TEST_F(ZoomVideo, SetsUpPortOneInWindowBWithTheAlternateDecoder) {
  EXPECT_EQ(zvgZoomVideoInit(1, 0, 1, 1), 0);
  EXPECT_THAT(take(), ElementsAreArray(
                          join({decoder_writes(0, "25"),
                                {"w4 0x100d4 0x5000000", "w4 0x100d8 0x5800000", "w4 0x100d0 0x610",
                                 "w4 0x10048 0x5000000", "w4 0x1004c 0x5800000", "w4 0x1008c 0xff",
                                 "w4 0x10090 0x0"}})));
}

TEST_F(ZoomVideo, ADecoderThatDoesNotAnswerIsPassedOver) {
  i2c_.status = [](unsigned) { return -2; };
  const auto output = capture([] { EXPECT_EQ(zvgZoomVideoInit(0, 1, -1, 0), 0); });
  EXPECT_EQ(output.out + output.err, "");
  EXPECT_EQ(take().size(), 22u + 7u);
}

TEST_F(ZoomVideo, ChecksPortAndChannelFirst) {
  const auto output = capture([] {
    EXPECT_EQ(zvgZoomVideoInit(2, 0, 0, 0), -22);
    EXPECT_EQ(zvgZoomVideoInit(0, 4, 0, 0), -22);
    EXPECT_EQ(zvgZoomVideoInit(0xFFFFFFFF, 0xFFFFFFFF, 0, 0), -22);
  });
  EXPECT_EQ(output.out,
            "Zoom video error: invalid argument\nZoom video error: invalid argument\n"
            "Zoom video error: invalid argument\n");
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(take(), IsEmpty());
}

TEST_F(ZoomVideo, StartsInWindowA) {
  set(0x100C0, 0x710);  // A wins over B
  set(0x100CC, 0x01E0'82D0);
  EXPECT_EQ(zvgZoomVideoStart(0, 0x10, 0x20, 0x300, 0x200, 0x1000, 1, 3, 1), 0);
  EXPECT_THAT(take(), ElementsAre("r4 0x100c0", "w4 0x100c0 0x711", "usleep 100000",
                                  "w4 0x10064 0x200010", "w4 0x10068 0x2000300",
                                  "w4 0x10038 0x4000800", "w4 0x1003c 0x4800800", "r4 0x100cc",
                                  // 0x2D0 << 14, formats 8 and 0x60, the flag, the constant
                                  "w4 0x10060 0xb4316a"));
}

TEST_F(ZoomVideo, StartsInWindowB) {
  set(0x100D0, 0x610);
  set(0x100DC, 0xFFFF'8001);
  EXPECT_EQ(zvgZoomVideoStart(1, 1, 2, 3, 4, 0x1000, 2, 1, 0), 0);
  EXPECT_THAT(take(),
              ElementsAre("r4 0x100d0", "w4 0x100d0 0x611", "usleep 100000", "w4 0x10084 0x20001",
                          "w4 0x10088 0x40003", "w4 0x10048 0x5000800", "w4 0x1004c 0x5800800",
                          "r4 0x100dc", "w4 0x10080 0x5132"));
}

TEST_F(ZoomVideo, FormatsBeyondThreeAddNothing) {
  set(0x100C0, 0x100);
  const struct {
    int a, b;
    uint32_t word;
  } rows[] = {{0, 0, 0x1102}, {1, 0, 0x110A}, {2, 0, 0x1112}, {3, 0, 0x111A},  {0, 1, 0x1122},
              {0, 2, 0x1142}, {0, 3, 0x1162}, {4, 4, 0x1102}, {-1, -1, 0x1102}};
  for (const auto& row : rows) {
    zvgZoomVideoStart(0, 0, 0, 0, 0, 0, row.a, row.b, 0);
    EXPECT_EQ(get(0x10060), row.word) << row.a << row.b;
  }
}

TEST_F(ZoomVideo, AnUnplacedPortOnlyCaptures) {
  set(0x100C0, 0x410);
  EXPECT_EQ(zvgZoomVideoStart(0, 1, 2, 3, 4, 5, 1, 1, 1), 0);
  EXPECT_THAT(take(), ElementsAre("r4 0x100c0", "w4 0x100c0 0x411", "usleep 100000"));
}

TEST_F(ZoomVideo, StopsAndRestartsTheWindowsOfAPort) {
  set(0x100D0, 0x711);
  set(0x10060, 0xFFFFFFFF);
  set(0x10080, 0x1102);
  EXPECT_EQ(zvgZoomVideoStop(1), 0);
  EXPECT_THAT(take(), ElementsAre("r4 0x100d0", "w4 0x100d0 0x710", "r4 0x10060",
                                  "w4 0x10060 0xfffffeff", "r4 0x10080", "w4 0x10080 0x1002"));
  EXPECT_EQ(zvgZoomVideoRestart(1), 0);
  EXPECT_THAT(take(), ElementsAre("r4 0x100d0", "w4 0x100d0 0x711", "r4 0x10060",
                                  "w4 0x10060 0xffffffff", "r4 0x10080", "w4 0x10080 0x1102"));
}

TEST_F(ZoomVideo, StopTouchesOnlyTheWindowInUse) {
  set(0x100C0, 0x101);
  EXPECT_EQ(zvgZoomVideoStop(0), 0);
  EXPECT_THAT(take(),
              ElementsAre("r4 0x100c0", "w4 0x100c0 0x100", "r4 0x10060", "w4 0x10060 0x0"));
  set(0x100C0, 0x200);
  EXPECT_EQ(zvgZoomVideoRestart(0), 0);
  EXPECT_THAT(take(),
              ElementsAre("r4 0x100c0", "w4 0x100c0 0x201", "r4 0x10080", "w4 0x10080 0x100"));
  set(0x100C0, 0x001);
  EXPECT_EQ(zvgZoomVideoStop(0), 0);
  EXPECT_THAT(take(), ElementsAre("r4 0x100c0", "w4 0x100c0 0x0"));
}

// Reads all ten parameters.
std::vector<uint32_t> parameters(int port) {
  uint32_t v[10] = {};
  EXPECT_EQ(
      zvgZoomVideoGetParm(port, v, v + 1, v + 2, v + 3, v + 4, v + 5, v + 6, v + 7, v + 8, v + 9),
      0);
  return {v, v + 10};
}

TEST_F(ZoomVideo, ReadsTheParametersBack) {
  set(0x100C0, 0x510);
  set(0x100CC, 0x01E0'02D0);
  zvgZoomVideoStart(0, 10, 20, 640, 480, 0x1234, 2, 1, 1);
  take();
  EXPECT_THAT(parameters(0), ElementsAre(10, 20, 640, 480, 0x1234, 2, 1, 1, 0x2D0, 0x1E0));
  EXPECT_THAT(take(), ElementsAre("r4 0x100cc", "r4 0x100c0", "r4 0x10064", "r4 0x10068",
                                  "r4 0x10038", "r4 0x10060"));
}

// Port 1 is in window B: nothing but the missing bit of window A says so.
TEST_F(ZoomVideo, ReadsWindowBWithoutItsBit) {
  set(0x100D0, 0x610);
  zvgZoomVideoStart(1, 7, 8, 9, 10, 0x800, 3, 2, 0);
  EXPECT_THAT(parameters(1), ElementsAre(7, 8, 9, 10, 0x800, 3, 2, 0, 0, 0));
  set(0x100D0, 0);
  take();
  EXPECT_THAT(parameters(1), ElementsAre(7, 8, 9, 10, 0x800, 3, 2, 0, 0, 0));
  EXPECT_THAT(take(), ElementsAre("r4 0x100dc", "r4 0x100d0", "r4 0x10084", "r4 0x10088",
                                  "r4 0x10048", "r4 0x10080"));
}

TEST_F(ZoomVideo, EveryOutputMayBeMissing) {
  EXPECT_EQ(zvgZoomVideoGetParm(0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr, nullptr),
            0);
  EXPECT_EQ(take().size(), 6u);
}

}  // namespace
