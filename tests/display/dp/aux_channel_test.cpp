// The AUX engine and native DPCD transfers.
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

class DpAux : public testing::Test {
 protected:
  void SetUp() override {
    node_.open();
    for (uint32_t i = 0; i < 64; ++i) node_.dpcd[i] = static_cast<uint8_t>(0x40 + i);
  }
  void reply(uint32_t code, uint32_t signal = 4, uint32_t status = 0) {
    node_.on_request = [=, this](uint32_t, uint32_t) {
      ++requests_;
      return DpNode::Reply{code, signal, status};
    };
  }
  zvg_dptx device_ = DpNode::device(2);
  DpNode node_;
  int requests_ = 0;
};

const Log answer = {"ctl? 0x10c", "ctl? 0x130", "ctl? 0x14c",
                    "ctl? 0x130", "ctl? 0x140", "ctl? 0x138"};

TEST_F(DpAux, SendRequest) {
  zvg_dptx_aux_send_request(&device_, 0x900, 0x12345, 16, 0, 0);
  zvg_dptx_aux_send_request(&device_, 0x800, 0x102, 1, 1, 0);
  zvg_dptx_aux_send_request(&device_, 0x500, 0x50, 18, 0, 1);
  EXPECT_THAT(node_.folded(2),
              ElementsAre("ctl 0x108=0x12345", "ctl 0x100=0x90f", "ctl 0x108=0x102",
                          "ctl 0x100=0x1800", "ctl 0x108=0x50", "ctl 0x100=0x2501"));
}

TEST_F(DpAux, StatusBits) {
  node_.on_read = nullptr;
  const struct {
    uint32_t reg, value;
    int ready, error, received, timeout;
  } cases[] = {
      {0x14C, 0x4, 0, 0, 0, 0}, {0x14C, 0x8, 1, 1, 0, 0}, {0x14C, 0xFFFFFFF3, 1, 0, 0, 0},
      {0x130, 0x4, 1, 0, 1, 0}, {0x130, 0x8, 1, 0, 0, 1}, {0x130, 0xFFFFFFF3, 1, 0, 0, 0},
  };
  for (const auto& c : cases) {
    zvg_dptx_reg_write(&device_, 0x14C, 0);
    zvg_dptx_reg_write(&device_, 0x130, 0);
    zvg_dptx_reg_write(&device_, c.reg, c.value);
    EXPECT_EQ(zvg_dptx_aux_ready(&device_), c.ready);
    EXPECT_EQ(zvg_dptx_aux_reply_error(&device_), c.error);
    EXPECT_EQ(zvg_dptx_aux_reply_received(&device_), c.received);
    EXPECT_EQ(zvg_dptx_aux_reply_timeout(&device_), c.timeout);
  }
  zvg_dptx_reg_write(&device_, 0x138, 0x12345678);
  EXPECT_EQ(zvg_dptx_aux_reply_code(&device_), 0x12345678u);
}

TEST_F(DpAux, WaitResults) {
  const struct {
    uint32_t signal, status, result;
    Log polls;
  } cases[] = {
      {0x4, 0, 0, {"ctl? 0x130", "ctl? 0x14c", "ctl? 0x130"}},
      {0xC, 8, 1, {"ctl? 0x130"}},
      {0x4, 8, 2, {"ctl? 0x130", "ctl? 0x14c"}},
  };
  for (const auto& c : cases) {
    reply(0, c.signal, c.status);
    zvg_dptx_reg_write(&device_, 0x100, 0);
    node_.take();
    EXPECT_EQ(zvg_dptx_aux_wait_reply(&device_), c.result);
    EXPECT_THAT(node_.folded(2), ElementsAreArray(join({{"ctl? 0x10c"}, c.polls})));
  }
}

TEST_F(DpAux, WaitBudgetIsTheDividerTimes500) {
  reply(0, 0, 0);
  zvg_dptx_reg_write(&device_, 0x100, 0);
  for (const uint32_t divider : {0u, 1u, 3u}) {
    zvg_dptx_set_clk_divider(&device_, divider);
    node_.take();
    EXPECT_EQ(zvg_dptx_aux_wait_reply(&device_), 3u);
    EXPECT_THAT(
        node_.folded(2),
        ElementsAreArray(join(
            {{"ctl? 0x10c"}, repeat(divider * 500, {"ctl? 0x130", "ctl? 0x14c", "ctl? 0x130"})})));
  }
  // The product wraps at 32 bits.
  zvg_dptx_set_clk_divider(&device_, 0x80000000);
  node_.take();
  EXPECT_EQ(zvg_dptx_aux_wait_reply(&device_), 3u);
  EXPECT_THAT(node_.take(), ElementsAre("r4 0x55010c"));
}

TEST_F(DpAux, Fifos) {
  const uint8_t out[] = {1, 0xFF, 3};
  zvg_dptx_aux_write_fifo(&device_, out, 3);
  node_.on_read = [](uint64_t, uint64_t* value) {
    *value = 0x123456A5;
    return true;
  };
  uint8_t in[3] = {};
  zvg_dptx_aux_read_fifo(&device_, in, 2);
  EXPECT_THAT(in, ElementsAre(0xA5, 0xA5, 0));
  EXPECT_THAT(node_.folded(2), ElementsAre("ctl 0x104=0x1", "ctl 0x104=0xff", "ctl 0x104=0x3",
                                           "ctl? 0x134", "ctl? 0x134"));
}

TEST_F(DpAux, BlockRead) {
  uint8_t bytes[6];
  memset(bytes, 0xCC, sizeof bytes);
  EXPECT_EQ(zvg_dptx_aux_dpcd_read_blk(&device_, 3, bytes, 5), 0x10000u);
  EXPECT_THAT(bytes, ElementsAre(0x43, 0x44, 0x45, 0x46, 0x47, 0xCC));
  EXPECT_THAT(node_.named(2),
              ElementsAreArray(join({{"ctl? 0x14c", "ctl 0x108=0x3", "ctl 0x100=0x904"},
                                     answer,
                                     repeat(5, {"ctl? 0x134"})})));
}

TEST_F(DpAux, BlockReadFailures) {
  const struct {
    uint32_t code, signal, status, result;
  } cases[] = {
      {1, 4, 0, 0x10001}, {8, 4, 0, 0x10008}, {0, 8, 0, 0x10100},
      {0, 4, 8, 0x10200}, {1, 8, 0, 0x10101}, {0, 0, 0, 0x10300},
  };
  zvg_dptx_set_clk_divider(&device_, 1);
  for (const auto& c : cases) {
    reply(c.code, c.signal, c.status);
    requests_ = 0;
    uint8_t bytes[2] = {0xCC, 0xCC};
    EXPECT_EQ(zvg_dptx_aux_dpcd_read_blk(&device_, 0, bytes, 2), c.result);
    EXPECT_THAT(bytes, ElementsAre(0, 0));
    EXPECT_EQ(requests_, 1) << "only a deferral is repeated";
  }
}

TEST_F(DpAux, BusyEngineLeavesZeros) {
  node_.idle_status = 4;
  uint8_t bytes[3] = {1, 2, 3};
  EXPECT_EQ(zvg_dptx_aux_dpcd_read_blk(&device_, 0, bytes, 3), 0u);
  EXPECT_THAT(bytes, Each(0));
  EXPECT_EQ(zvg_dptx_aux_dpcd_write_blk(&device_, 0, bytes, 3), 0u);
  EXPECT_THAT(node_.folded(2), ElementsAre("ctl? 0x14c", "ctl? 0x14c"));
}

TEST_F(DpAux, DeferredReadIsAttemptedAHundredTimesWithWaitsBetween) {
  reply(2);
  uint8_t byte = 0xCC;
  EXPECT_EQ(zvg_dptx_aux_dpcd_read_blk(&device_, 0x202, &byte, 1), 0x10002u);
  const Log attempt = join({{"ctl 0x108=0x202", "ctl 0x100=0x900"}, answer});
  EXPECT_THAT(
      node_.folded(2),
      ElementsAreArray(join({{"ctl? 0x14c"}, repeat(99, join({attempt, {"wait 10"}})), attempt})));
  EXPECT_EQ(byte, 0);
}

TEST_F(DpAux, DeferredReadGoesOnWhenTheSinkAnswers) {
  node_.on_request = [this](uint32_t, uint32_t) {
    return DpNode::Reply{++requests_ < 100 ? 2u : 0u, 4, 0};
  };
  uint8_t byte = 0;
  EXPECT_EQ(zvg_dptx_aux_read(&device_, 5, &byte), 0);
  EXPECT_EQ(byte, 0x45);
  EXPECT_EQ(requests_, 100);
}

TEST_F(DpAux, BlockWrite) {
  const uint8_t bytes[] = {9, 8, 7};
  EXPECT_EQ(zvg_dptx_aux_dpcd_write_blk(&device_, 0x103, bytes, 3), 0x10000u);
  EXPECT_THAT(node_.folded(2),
              ElementsAreArray(join({{"ctl? 0x14c", "ctl 0x104=0x9", "ctl 0x104=0x8",
                                      "ctl 0x104=0x7", "ctl 0x108=0x103", "ctl 0x100=0x802"},
                                     answer})));
  EXPECT_EQ(node_.dpcd[0x105], 7);
}

TEST_F(DpAux, DeferredWriteIsRepeatedWithoutAWait) {
  reply(2);
  const uint8_t byte = 0x21;
  EXPECT_EQ(zvg_dptx_aux_dpcd_write_blk(&device_, 0x102, &byte, 1), 0x10002u);
  EXPECT_THAT(node_.named(2),
              ElementsAreArray(
                  join({{"ctl? 0x14c"},
                        repeat(100, join({{"ctl 0x104=0x21", "ctl 0x108=0x102", "ctl 0x100=0x800"},
                                          answer}))})));
}

TEST_F(DpAux, ByteMessages) {
  reply(1);
  uint8_t byte = 0xCC;
  auto output = capture([&] { EXPECT_EQ(zvg_dptx_aux_read(&device_, 0, &byte), -1); });
  EXPECT_EQ(output.err, "dp 2: aux read byte error\n");
  EXPECT_EQ(output.out, "");
  EXPECT_EQ(byte, 0);
  output = capture([&] { EXPECT_EQ(zvg_dptx_aux_write(&device_, 0x100, 6), -1); });
  EXPECT_EQ(output.err, "dp 2: aux write byte error(0x10001)\n");
  EXPECT_EQ(output.out, "");
  node_.idle_status = 4;
  output = capture([&] { EXPECT_EQ(zvg_dptx_aux_write(&device_, 0x100, 6), -1); });
  EXPECT_EQ(output.err, "dp 2: aux write byte error(0x0)\n");
}

TEST_F(DpAux, ByteWriteSendsTheLowByte) {
  EXPECT_EQ(zvg_dptx_aux_write(&device_, 0x101, 0x1234), 0);
  EXPECT_THAT(node_.folded(2), ElementsAre("dpcd 0x101=0x34"));
}

TEST_F(DpAux, BufferIsReadInBlocksOfSixteen) {
  const struct {
    int length;
    Log reads;
  } cases[] = {
      {-5, {}},
      {0, {}},
      {1, {"dpcd? 0x7"}},
      {16, {"dpcd? 0x7+16"}},
      {17, {"dpcd? 0x7+16", "dpcd? 0x17"}},
      {40, {"dpcd? 0x7+16", "dpcd? 0x17+16", "dpcd? 0x27+8"}},
  };
  for (const auto& c : cases) {
    uint8_t bytes[41];
    memset(bytes, 0xCC, sizeof bytes);
    EXPECT_EQ(zvg_dptx_aux_read_blk(&device_, 7, bytes, c.length), 0);
    EXPECT_THAT(node_.folded(2), ElementsAreArray(c.reads));
    const int read = std::max(c.length, 0);
    for (int i = 0; i < read; ++i) EXPECT_EQ(bytes[i], 0x47 + i);
    EXPECT_EQ(bytes[read], 0xCC);
  }
}

TEST_F(DpAux, BufferReadStopsAtTheFirstFailure) {
  node_.on_request = [](uint32_t, uint32_t address) {
    return DpNode::Reply{address == 16 ? 1u : 0u, 4, 0};
  };
  uint8_t bytes[48];
  memset(bytes, 0xCC, sizeof bytes);
  const auto output =
      capture([&] { EXPECT_EQ(zvg_dptx_aux_read_blk(&device_, 0, bytes, 48), -1); });
  EXPECT_EQ(output.err, "dp 2: aux read buffer error\n");
  EXPECT_EQ(bytes[15], 0x4F);
  EXPECT_EQ(bytes[16], 0);
  EXPECT_EQ(bytes[32], 0xCC);
}

}  // namespace
