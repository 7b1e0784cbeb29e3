// I2C over the AUX channel.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

#include "display/dp/dp_node.h"
#include "support/capture.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::DpNode;
using zvgtest::join;
using zvgtest::Log;
using zvgtest::repeat;
using zvgtest::text;

const Log answer = {"ctl? 0x10c", "ctl? 0x130", "ctl? 0x14c",
                    "ctl? 0x130", "ctl? 0x140", "ctl? 0x138"};
const char* const buffer_error = "dp 0: aux i2c read buffer error\n";

Log offset_phase(unsigned slave, unsigned offset) {
  return join(
      {{text("ctl 0x104=0x%x", offset), text("ctl 0x108=0x%x", slave), "ctl 0x100=0x400"}, answer});
}
Log chunk(unsigned command, unsigned bytes) {
  return join({{text("ctl 0x100=0x%x", command)}, answer, repeat(bytes, {"ctl? 0x134"})});
}

class DpI2c : public testing::Test {
 protected:
  void SetUp() override {
    node_.open();
    node_.i2c.resize(256);
    std::iota(node_.i2c.begin(), node_.i2c.end(), uint8_t{0});
  }

  // Answers the n-th request (from 0) with a code, all others with an acknowledge.
  void answer_request(int number, uint32_t code, uint32_t signal = 4) {
    node_.on_request = [=, this](uint32_t command, uint32_t) {
      commands_.push_back(command);
      return static_cast<int>(commands_.size()) == number + 1 ? DpNode::Reply{code, signal, 0}
                                                              : DpNode::Reply{};
    };
  }
  int read(int length) {
    memset(bytes_, 0xCC, sizeof bytes_);
    commands_.clear();
    output_ =
        capture([&] { result_ = zvg_dptx_i2c_read_req(&device_, 0x50, 0x20, bytes_, length); });
    EXPECT_EQ(output_.out, "");
    return result_;
  }

  const zvg_dptx device_ = DpNode::device(0);
  DpNode node_;
  uint8_t bytes_[300];
  std::vector<uint32_t> commands_;
  zvgtest::Output output_;
  int result_ = 0;
};

TEST_F(DpI2c, ReadsByLength) {
  const struct {
    int length;
    Log chunks;
  } cases[] = {
      {1, chunk(0x100, 1)},
      {2, join({chunk(0x500, 1), chunk(0x100, 1)})},
      {15, join({chunk(0x50D, 14), chunk(0x100, 1)})},
      {16, join({chunk(0x50E, 15), chunk(0x100, 1)})},
      {17, join({chunk(0x50F, 16), chunk(0x100, 1)})},
      {18, join({chunk(0x50F, 16), chunk(0x500, 1), chunk(0x100, 1)})},
      {32, join({chunk(0x50F, 16), chunk(0x50E, 15), chunk(0x100, 1)})},
      {128, join({repeat(7, chunk(0x50F, 16)), chunk(0x50E, 15), chunk(0x100, 1)})},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(read(c.length), 0);
    EXPECT_EQ(output_.err, "");
    EXPECT_THAT(node_.named(0),
                ElementsAreArray(
                    join({{"ctl? 0x14c"}, offset_phase(0x50, 0x20), {"ctl 0x108=0x50"}, c.chunks})))
        << c.length;
    for (int i = 0; i < c.length; ++i) ASSERT_EQ(bytes_[i], (0x20 + i) & 0xFF) << c.length;
    EXPECT_EQ(bytes_[c.length], 0xCC);
  }
}

TEST_F(DpI2c, NoLengthEndsAfterTheAddress) {
  for (const int length : {0, -3}) {
    EXPECT_EQ(read(length), 0);
    EXPECT_THAT(
        node_.named(0),
        ElementsAreArray(join({{"ctl? 0x14c"}, offset_phase(0x50, 0x20), {"ctl 0x108=0x50"}})));
    EXPECT_EQ(bytes_[0], 0xCC);
  }
}

TEST_F(DpI2c, BusyEngine) {
  node_.idle_status = 4;
  EXPECT_EQ(read(4), -1);
  EXPECT_EQ(output_.err, buffer_error);
  EXPECT_THAT(node_.named(0), ElementsAre("ctl? 0x14c"));
}

TEST_F(DpI2c, OffsetFailures) {
  for (const auto& [code, signal] : {std::pair{1u, 4u}, {2u, 4u}, {0u, 8u}}) {
    answer_request(0, code, signal);
    EXPECT_EQ(read(4), -1);
    EXPECT_EQ(output_.err, buffer_error);
    EXPECT_THAT(commands_, ElementsAre(0x400));
    EXPECT_EQ(bytes_[0], 0xCC) << "the buffer is cleared after the offset";
  }
}

TEST_F(DpI2c, DeferredOffsetPushesTheByteAgain) {
  answer_request(0, 8);
  EXPECT_EQ(read(1), 0);
  EXPECT_EQ(output_.err, "");
  EXPECT_THAT(node_.folded(0), ElementsAreArray(join({{"ctl? 0x14c"},
                                                      offset_phase(0x50, 0x20),
                                                      {"wait 10"},
                                                      offset_phase(0x50, 0x20),
                                                      {"ctl 0x108=0x50"},
                                                      chunk(0x100, 1)})));
}

TEST_F(DpI2c, DeferredChunkRepeatsItsCommandOnly) {
  const struct {
    int request;
    Log chunks;
  } cases[] = {
      {1, join({{"ctl 0x100=0x50f"},
                answer,
                {"wait 10"},
                chunk(0x50F, 16),
                chunk(0x502, 3),
                chunk(0x100, 1)})},
      {2, join({chunk(0x50F, 16),
                {"ctl 0x100=0x502"},
                answer,
                {"wait 10"},
                chunk(0x502, 3),
                chunk(0x100, 1)})},
      {3, join({chunk(0x50F, 16),
                chunk(0x502, 3),
                {"ctl 0x100=0x100"},
                answer,
                {"wait 10"},
                chunk(0x100, 1)})},
  };
  for (const auto& c : cases) {
    answer_request(c.request, 8);
    EXPECT_EQ(read(20), 0) << "a deferral that was repeated is no error";
    EXPECT_EQ(output_.err, "");
    EXPECT_THAT(node_.folded(0),
                ElementsAreArray(join(
                    {{"ctl? 0x14c"}, offset_phase(0x50, 0x20), {"ctl 0x108=0x50"}, c.chunks})));
    EXPECT_EQ(bytes_[19], 0x33);
  }
}

TEST_F(DpI2c, FailedChunks) {
  const struct {
    int request;
    uint32_t code, signal;
    std::string error;
    std::vector<uint32_t> commands;
    int delivered;
  } cases[] = {
      {1,
       1,
       4,
       std::string("dp 0: aux i2c read reply error 0x10001\n") + buffer_error,
       {0x400, 0x50F},
       0},
      {1,
       0,
       8,
       std::string("dp 0: aux i2c read reply error 0x10100\n") + buffer_error,
       {0x400, 0x50F},
       0},
      {2,
       3,
       4,
       std::string("dp 0: aux i2c read reply error 0x10003\n") + buffer_error,
       {0x400, 0x50F, 0x50F},
       16},
      {3, 1, 4, buffer_error, {0x400, 0x50F, 0x50F, 0x506}, 32},
      {3, 0, 8, buffer_error, {0x400, 0x50F, 0x50F, 0x506}, 32},
      {4, 1, 4, buffer_error, {0x400, 0x50F, 0x50F, 0x506, 0x100}, 39},
      {4, 0, 8, buffer_error, {0x400, 0x50F, 0x50F, 0x506, 0x100}, 39},
  };
  for (const auto& c : cases) {
    answer_request(c.request, c.code, c.signal);
    EXPECT_EQ(read(40), -1);
    EXPECT_EQ(output_.err, c.error);
    EXPECT_THAT(commands_, ElementsAreArray(c.commands));
    if (c.delivered > 0) {
      EXPECT_EQ(bytes_[c.delivered - 1], 0x20 + c.delivered - 1);
    }
    for (int i = c.delivered; i < 40; ++i) EXPECT_EQ(bytes_[i], 0) << i;
    EXPECT_EQ(bytes_[40], 0xCC);
  }
}

TEST_F(DpI2c, DeferralsShareOneBudgetOfAHundred) {
  // 60 deferrals of the offset leave 40 for the rest.
  int requests = 0;
  int deferrals_of_rest = 0;
  node_.on_request = [&](uint32_t command, uint32_t) {
    ++requests;
    const bool defer = command == 0x400 ? requests <= 60 : deferrals_of_rest-- > 0;
    return DpNode::Reply{defer ? 8u : 0u, 4, 0};
  };
  deferrals_of_rest = 39;
  EXPECT_EQ(read(1), 0);
  EXPECT_EQ(requests, 61 + 40);
  EXPECT_EQ(bytes_[0], 0x20);
  node_.take();
  requests = 0;
  deferrals_of_rest = 40;
  EXPECT_EQ(read(1), -1);
  EXPECT_EQ(requests, 61 + 40);
  EXPECT_EQ(output_.err, buffer_error);
  EXPECT_EQ(bytes_[0], 0);
  const Log log = node_.folded(0);
  EXPECT_EQ(std::count(log.begin(), log.end(), "wait 10"), 100);
}

TEST_F(DpI2c, SpentBudgetEndsEveryPhase) {
  const struct {
    uint32_t command;
    int requests;
    std::string error;
  } cases[] = {
      {0x400, 100, buffer_error},
      {0x50F, 101, std::string("dp 0: aux i2c read reply error 0x10008\n") + buffer_error},
      {0x502, 102, buffer_error},
      {0x100, 103, buffer_error},
  };
  for (const auto& c : cases) {
    int requests = 0;
    node_.on_request = [&](uint32_t command, uint32_t) {
      ++requests;
      return DpNode::Reply{command == c.command ? 8u : 0u, 4, 0};
    };
    EXPECT_EQ(read(20), -1);
    EXPECT_EQ(requests, c.requests);
    EXPECT_EQ(output_.err, c.error);
    const Log log = node_.folded(0);
    EXPECT_EQ(std::count(log.begin(), log.end(), "wait 10"), 100);
  }
}

TEST_F(DpI2c, WritePushesTheByteTwice) {
  EXPECT_EQ(zvg_dptx_i2c_raw_write_req(&device_, 0x50, 0x7F), 0);
  EXPECT_THAT(node_.named(0),
              ElementsAreArray(join({{"ctl? 0x14c", "ctl 0x104=0x7f", "ctl 0x104=0x7f",
                                      "ctl 0x108=0x50", "ctl 0x100=0x0"},
                                     answer})));
}

TEST_F(DpI2c, DeferredWriteIsAttemptedAHundredTimes) {
  const Log attempt =
      join({{"ctl 0x104=0x7f", "ctl 0x104=0x7f", "ctl 0x108=0x50", "ctl 0x100=0x0"}, answer});
  node_.on_request = [](uint32_t, uint32_t) { return DpNode::Reply{8, 4, 0}; };
  const auto output =
      capture([&] { EXPECT_EQ(zvg_dptx_i2c_raw_write_req(&device_, 0x50, 0x7F), -1); });
  EXPECT_EQ(output.err, "dp 0: aux i2c write data error\n");
  EXPECT_EQ(output.out, "");
  EXPECT_THAT(
      node_.folded(0),
      ElementsAreArray(join({{"ctl? 0x14c"}, repeat(99, join({attempt, {"wait 10"}})), attempt})));
}

TEST_F(DpI2c, WriteFailures) {
  for (const auto& [code, signal] : {std::pair{1u, 4u}, {2u, 4u}, {0u, 8u}}) {
    answer_request(0, code, signal);
    commands_.clear();
    const auto output =
        capture([&] { EXPECT_EQ(zvg_dptx_i2c_raw_write_req(&device_, 0x50, 1), -1); });
    EXPECT_EQ(output.err, "dp 0: aux i2c write data error\n");
    EXPECT_EQ(commands_.size(), 1u);
  }
  node_.take();
  node_.idle_status = 4;
  const auto output =
      capture([&] { EXPECT_EQ(zvg_dptx_i2c_raw_write_req(&device_, 0x50, 1), -1); });
  EXPECT_EQ(output.err, "dp 0: aux i2c write data error\n");
  EXPECT_THAT(node_.named(0), ElementsAre("ctl? 0x14c"));
}

TEST_F(DpI2c, ByPortCutsSlaveAndOffset) {
  node_.quiet = true;
  zvgDpInit(3);
  node_.quiet = false;
  uint8_t byte = 0;
  EXPECT_EQ(zvgDpI2cRead(3, 0x150, 0x1F0, &byte), 0);
  EXPECT_EQ(byte, 0xF0);
  EXPECT_THAT(
      node_.named(3),
      ElementsAreArray(
          join({{"ctl? 0x14c"}, offset_phase(0x50, 0xF0), {"ctl 0x108=0x50"}, chunk(0x100, 1)})));
  uint8_t bytes[3] = {};
  EXPECT_EQ(zvgDpI2cReadBuf(3, 0x50, 0x10, bytes, 3), 0);
  EXPECT_THAT(bytes, ElementsAre(0x10, 0x11, 0x12));
}

TEST_F(DpI2c, PortOutOfRange) {
  uint8_t byte = 0;
  auto output = capture([&] { EXPECT_EQ(zvgDpI2cRead(4, 0x50, 0, &byte), -1); });
  EXPECT_EQ(output.out, "channel 4 is out of range\n");
  output = capture([&] { EXPECT_EQ(zvgDpI2cReadBuf(UINT32_MAX, 0x50, 0, &byte, 1), -1); });
  EXPECT_EQ(output.out, "channel -1 is out of range\n");
  EXPECT_EQ(output.err, "");
  EXPECT_THAT(node_.take(), IsEmpty());
}

}  // namespace
