// The debug UART, byte by byte.
#include "doors/uart_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zvgsim {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UartLineTest : public ::testing::Test {
 protected:
  UartLineTest() { power_up({}); }

  void power_up(BoardConfig config) {
    machine_ = std::make_unique<Machine>(std::move(config));
    line_ = std::make_unique<UartLine>(*machine_);
    machine_->trace().start();
  }
  void send(const std::vector<uint8_t>& bytes, double baud = 9600) {
    for (const uint8_t byte : bytes) line_->receive(byte, baud, machine_->clock().now());
  }
  // Everything that the board sent, in order.
  std::vector<std::vector<uint8_t>> replies() {
    std::vector<std::vector<uint8_t>> all;
    for (const UartLine::Reply& reply : line_->replies()) all.push_back(reply.bytes);
    line_->replies().clear();
    return all;
  }
  std::vector<std::string> accesses() { return machine_->trace().take(); }
  void poke(uint64_t offset, uint32_t value) {
    machine_->card().dispatch_write(Space::mmio, offset, 4, value);
  }

  std::unique_ptr<Machine> machine_;
  std::unique_ptr<UartLine> line_;
};

const std::vector<uint8_t> read_300000 = {0xFD, 0x0F, 0, 0x01, 0x30, 0, 0, 0, 0, 0, 0};
const std::vector<uint8_t> burst(44, 0);

TEST_F(UartLineTest, WritesAByteOfAWord) {
  send({0xFE, 0x08, 0x00, 0x01, 0x30, 0x00, 0x00, 0x5A, 0x00, 0x00, 0x00});
  EXPECT_THAT(accesses(), ElementsAre("w1 mmio 0x300003 0x5a"));
  EXPECT_THAT(replies(), IsEmpty()) << "writes are not answered";
}

TEST_F(UartLineTest, WritesHalvesWordsAndBothSpaces) {
  send({0xFE, 0x0C, 0x80, 0x00, 0x00, 0x01, 0x00, 0xAB, 0xCD, 0x00, 0x00});
  send({0xFE, 0x0F, 0x80, 0x0F, 0xFF, 0xFF, 0xFC, 0x11, 0x22, 0x33, 0x44});
  EXPECT_THAT(accesses(), ElementsAre("w2 vram 0x102 0xabcd", "w4 vram 0xffffffc 0x11223344"));
}

TEST_F(UartLineTest, AnswersAReadBigEndian) {
  poke(0x300000, 0x11223344);
  send(read_300000);
  EXPECT_THAT(accesses(), ElementsAre("r4 mmio 0x300000 0x11223344"));
  EXPECT_THAT(replies(), ElementsAre(ElementsAre(0x11, 0x22, 0x33, 0x44)));
}

TEST_F(UartLineTest, ReadsOnlyEnabledLanes) {
  poke(0x300000, 0x11223344);
  send({0xFD, 0x04, 0, 0x01, 0x30, 0, 0, 0, 0, 0, 0});
  EXPECT_THAT(accesses(), ElementsAre("r1 mmio 0x300002 0x22"));
  EXPECT_THAT(replies(), ElementsAre(ElementsAre(0, 0x22, 0, 0)));
}

TEST_F(UartLineTest, LowAddressBitsAreNotWired) {
  poke(0x300000, 0x11223344);
  send({0xFD, 0x0F, 0, 0x01, 0x30, 0, 0x03, 0, 0, 0, 0});
  EXPECT_THAT(accesses(), ElementsAre("r4 mmio 0x300000 0x11223344"));
}

TEST_F(UartLineTest, FramesMayComeInPieces) {
  poke(0x300000, 0x11223344);
  std::vector<uint8_t> two = read_300000;
  two.insert(two.end(), read_300000.begin(), read_300000.end());
  for (const uint8_t byte : two) send({byte});
  EXPECT_EQ(replies().size(), 2u);
}

TEST_F(UartLineTest, NobodyAnswersAtAnUndecodedAddress) {
  send({0xFD, 0x0F, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  send({0xFE, 0x0F, 0, 0, 0, 0, 0, 1, 2, 3, 4});
  send({0xFD, 0x0F, 0x80, 0x10, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_THAT(replies(), IsEmpty());
  EXPECT_THAT(accesses(), IsEmpty());
  send(read_300000);
  EXPECT_EQ(replies().size(), 1u) << "the line goes on";
}

TEST_F(UartLineTest, SyncBurstIsNothing) {
  send(burst);
  EXPECT_THAT(accesses(), IsEmpty());
  EXPECT_THAT(replies(), IsEmpty());
  send(read_300000);
  EXPECT_EQ(replies().size(), 1u);
}

// However much of a frame was sent, the burst ends it and the next frame is understood.
TEST_F(UartLineTest, SyncBurstEndsAPartOfAFrame) {
  for (size_t sent = 1; sent < UartLine::frame_size; ++sent) {
    SCOPED_TRACE(sent);
    std::vector<uint8_t> part(read_300000.begin(), read_300000.begin() + static_cast<long>(sent));
    send(part);
    send(burst);
    replies();
    send(read_300000);
    EXPECT_EQ(replies().size(), 1u);
  }
}

TEST_F(UartLineTest, GarbageBetweenFramesIsSkipped) {
  send({0x12, 0x7F, 0xFB, 0x00, 0x55});
  send(read_300000);
  EXPECT_EQ(replies().size(), 1u);
}

TEST_F(UartLineTest, LeadInIsAFrameOfItsOwn) {
  send({0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  send({0xFD});  // its eleventh byte, whatever it is
  EXPECT_THAT(accesses(), IsEmpty());
  send(read_300000);
  EXPECT_EQ(replies().size(), 1u);
}

TEST_F(UartLineTest, DivisorSetsTheRate) {
  const struct {
    uint32_t divisor;
    int baud;
  } rows[] = {{58, 460800}, {234, 115200}, {703, 38400}, {1406, 19200}, {2812, 9600}};
  double now = 9600;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.baud);
    send({0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, now);
    send({0xFC, 0, 0, 0, 0, 0, 0, static_cast<uint8_t>(row.divisor >> 24),
          static_cast<uint8_t>(row.divisor >> 16), static_cast<uint8_t>(row.divisor >> 8),
          static_cast<uint8_t>(row.divisor)},
         now);
    EXPECT_DOUBLE_EQ(line_->baud(), 27e6 / row.divisor);
    EXPECT_TRUE(line_->understands(row.baud));
    EXPECT_FALSE(line_->understands(now));
    now = row.baud;
    send(read_300000, now);
    EXPECT_EQ(replies().size(), 1u);
  }
}

TEST_F(UartLineTest, DivisorNeedsNoLeadIn) {
  send({0xFC, 0, 0, 0, 0, 0, 0, 0, 0, 0, 234});
  EXPECT_TRUE(line_->understands(115200));
}

TEST_F(UartLineTest, DivisorOfZeroIsIgnored) {
  send({0xFC, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_DOUBLE_EQ(line_->baud(), 9600);
}

TEST_F(UartLineTest, BytesAtAnotherRateAreGarbage) {
  send(read_300000, 115200);
  EXPECT_EQ(line_->framing_errors(), 11u);
  EXPECT_THAT(replies(), IsEmpty());
  // They also spoil the frame that they fall into.
  send({0xFD, 0x0F, 0, 0x01});
  send({0x00}, 19200);
  send(read_300000);
  EXPECT_EQ(replies().size(), 1u);
}

TEST_F(UartLineTest, StartsAtTheBoardsRate) {
  BoardConfig config;
  config.uart.baud = 115200;
  power_up(config);
  send(read_300000, 9600);
  EXPECT_THAT(replies(), IsEmpty());
  send(read_300000, 115200);
  EXPECT_EQ(replies().size(), 1u);
}

TEST_F(UartLineTest, ReplyTakesItsDelayAndItsTimeOnTheWire) {
  BoardConfig config;
  config.uart.reply_delay_us = 700;
  power_up(config);
  for (const uint8_t byte : read_300000) line_->receive(byte, 9600, milliseconds(50));
  ASSERT_EQ(line_->replies().size(), 1u);
  EXPECT_EQ(line_->replies().front().ready_at,
            milliseconds(50) + microseconds(700) + wire_time(4, 9600));
  EXPECT_NEAR(static_cast<double>(wire_time(4, 9600)), 4 * 10 / 9600.0 * 1e9, 1);
}

TEST_F(UartLineTest, FaultsSpoilReplies) {
  BoardConfig config;
  config.faults.uart = {{.reply = 1, .action = UartAction::drop},
                        {.reply = 2, .action = UartAction::cut, .bytes = 2},
                        {.reply = 3, .action = UartAction::noise, .bytes = 3},
                        {.reply = 4, .action = UartAction::corrupt},
                        {.reply = 5, .action = UartAction::delay, .delay_ms = 2100},
                        {.reply = 7, .action = UartAction::cut, .bytes = 0}};
  power_up(config);
  poke(0x300000, 0x11223344);
  send(read_300000);
  EXPECT_THAT(replies(), IsEmpty());
  send(read_300000);
  EXPECT_THAT(replies(), ElementsAre(ElementsAre(0x11, 0x22)));
  send(read_300000);
  const auto noisy = replies();
  ASSERT_EQ(noisy.size(), 1u);
  ASSERT_EQ(noisy[0].size(), 7u);
  EXPECT_EQ(std::vector<uint8_t>(noisy[0].begin() + 3, noisy[0].end()),
            (std::vector<uint8_t>{0x11, 0x22, 0x33, 0x44}));
  send(read_300000);
  const auto corrupt = replies();
  ASSERT_EQ(corrupt.size(), 1u);
  EXPECT_NE(corrupt[0], (std::vector<uint8_t>{0x11, 0x22, 0x33, 0x44}));
  const uint64_t before = machine_->clock().now();
  send(read_300000);
  EXPECT_GT(line_->replies().front().ready_at, before + milliseconds(2100));
  replies();
  send(read_300000);
  EXPECT_THAT(replies(), ElementsAre(ElementsAre(0x11, 0x22, 0x33, 0x44)));
  send(read_300000);
  EXPECT_THAT(replies(), IsEmpty());
}

// Two runs of a board with chances in its plan send the same bytes.
TEST_F(UartLineTest, SameSeedSameNoise) {
  const auto run = [this](uint64_t seed) {
    BoardConfig config;
    config.faults.seed = seed;
    config.faults.uart = {{.probability = 0.3, .action = UartAction::noise, .bytes = 2},
                          {.probability = 0.3, .action = UartAction::corrupt},
                          {.probability = 0.1, .action = UartAction::drop}};
    power_up(config);
    for (int i = 0; i < 200; ++i) send(read_300000);
    return replies();
  };
  const auto first = run(5);
  EXPECT_EQ(run(5), first);
  EXPECT_NE(run(6), first);
}

}  // namespace
}  // namespace zvgsim
