// Device records, their registers and the count-down timer, access by access.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display/dp/dp_node.h"
#include "support/capture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using zvgtest::capture;
using zvgtest::dp_block;
using zvgtest::DpNode;
using zvgtest::text;

class DpDevice : public testing::Test {
 protected:
  void SetUp() override { node_.open(); }
  DpNode node_;
};

TEST_F(DpDevice, RecordBeginsWithBaseBlockPortRateAndLanes) {
  EXPECT_EQ(offsetof(zvg_dptx, base), 0u);
  EXPECT_EQ(offsetof(zvg_dptx, block_offset), 8u);
  EXPECT_EQ(offsetof(zvg_dptx, port), 12u);
  EXPECT_EQ(offsetof(zvg_dptx, link_clock), 16u);
  EXPECT_EQ(offsetof(zvg_dptx, lanes), 20u);
}

TEST_F(DpDevice, RegistersOfEveryPort) {
  for (unsigned port = 0; port < 4; ++port) {
    const zvg_dptx device = DpNode::device(port);
    const unsigned base = static_cast<unsigned>(dp_block(port));
    EXPECT_EQ(zvg_dptx_reg_write(&device, 0x80, 0xDEADBEEF), 0);
    EXPECT_EQ(zvg_dptx_reg_read(&device, 0x80), 0xDEADBEEF);
    EXPECT_EQ(zvg_dptx_phy_reg_write(&device, 0x50, 0x12345678), 0);
    EXPECT_EQ(zvg_dptx_phy_reg_read(&device, 0x50), 0x12345678u);
    EXPECT_THAT(
        node_.take(),
        ElementsAre(text("w4 0x%x 0xdeadbeef", base + 0x10080), text("r4 0x%x", base + 0x10080),
                    text("w4 0x%x 0x12345678", base + 0x50), text("r4 0x%x", base + 0x50)));
  }
}

TEST_F(DpDevice, BasePointerIsAddedToTheAddress) {
  zvg_dptx device = {reinterpret_cast<uint8_t*>(0x4000), 0, 1, 0, 0};
  zvg_dptx_reg_read(&device, 0x80);
  zvg_dptx_phy_reg_write(&device, 0x50, 1);
  device.block_offset = 0x100000;
  zvg_dptx_reg_write(&device, 0x84, 2);
  EXPECT_THAT(node_.take(), ElementsAre("r4 0x14080", "w4 0x4050 0x1", "w4 0x114084 0x2"));
}

// The sum has more than 32 bits: cut to them it would be the register at 0x500128.
TEST_F(DpDevice, AddressBeyondTheRegistersIsRefused) {
  const zvg_dptx device = DpNode::device(0);
  const std::string refused = "Invalid argument: offset is out of range\n";
  uint32_t value = 1;
  auto output = capture([&] { value = zvg_dptx_reg_read(&device, 0xFFFF0128); });
  EXPECT_EQ(value, 0u);
  EXPECT_EQ(output.out, "read long from 0x100500128 error\n");
  EXPECT_EQ(output.err, refused);
  output = capture([&] { value = zvg_dptx_phy_reg_read(&device, 0xFFFFFFFC); });
  EXPECT_EQ(value, 0u);
  EXPECT_EQ(output.out, "read long from 0x1004ffffc error\n");
  EXPECT_EQ(output.err, refused);
  output = capture([&] {
    EXPECT_EQ(zvg_dptx_reg_write(&device, 0xFFFF0080, 5), -22);
    EXPECT_EQ(zvg_dptx_phy_reg_write(&device, 0xFFFFFFFC, 5), -22);
  });
  EXPECT_EQ(output.out, "");
  EXPECT_EQ(output.err, refused + refused);
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(DpDevice, RegisterNumberAloneDoesNotWrap) {
  const zvg_dptx device = {nullptr, 0x100, 0, 0, 0};
  const auto output = capture([&] { zvg_dptx_reg_read(&device, 0xFFFF0000); });
  EXPECT_EQ(output.out, "read long from 0x100000100 error\n");
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(DpDevice, InvalidRecordReachesNothing) {
  const zvg_dptx empty = {};
  const struct {
    const char* name;
    std::function<long()> call;
  } cases[] = {
      {"zvg_dptx_reg_read", [&] { return static_cast<int>(zvg_dptx_reg_read(&empty, 0)); }},
      {"zvg_dptx_phy_reg_read", [&] { return static_cast<int>(zvg_dptx_phy_reg_read(&empty, 0)); }},
      {"zvg_dptx_reg_write", [&] { return zvg_dptx_reg_write(&empty, 0, 1); }},
      {"zvg_dptx_phy_reg_write", [&] { return zvg_dptx_phy_reg_write(&empty, 0, 1); }},
  };
  for (const auto& c : cases) {
    long result = 0;
    const auto output = capture([&] { result = c.call(); });
    const bool read = std::string(c.name).find("read") != std::string::npos;
    EXPECT_EQ(result, read ? -22 : static_cast<long>(output.err.size())) << c.name;
    EXPECT_THAT(output.err, MatchesRegex(c.name + std::string("\\([0-9]+\\): invalid dp_dev\n")));
    EXPECT_EQ(output.out, "");
  }
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(DpDevice, InvalidRecordHasNoTimerToWaitFor) {
  const zvg_dptx empty = {};
  const auto output = capture([&] { zvg_dptx_tmr_wait(&empty, 5); });
  EXPECT_THAT(output.err, testing::HasSubstr("invalid dp_dev\n"));
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(DpDevice, FailedReadIsPrintedWithItsAddress) {
  node_.result = [](bool, uint64_t) { return -1; };
  const zvg_dptx device = DpNode::device(2);
  uint32_t value = 1;
  auto output = capture([&] { value = zvg_dptx_reg_read(&device, 0x128); });
  EXPECT_EQ(value, 0u);
  EXPECT_EQ(output.out, "read long from 0x550128 error\n");
  EXPECT_EQ(output.err, "");
  output = capture([&] { zvg_dptx_phy_reg_read(&device, 0x44); });
  EXPECT_EQ(output.out, "read long from 0x540044 error\n");
  EXPECT_EQ(zvg_dptx_reg_write(&device, 0, 0), -1);
}

TEST_F(DpDevice, TimerParts) {
  const zvg_dptx device = DpNode::device(0);
  uint32_t timer = 0xFFFFFFFF;
  node_.on_read = [&](uint64_t, uint64_t* value) {
    *value = timer;
    return true;
  };
  zvg_dptx_tmr_init(&device);
  zvg_dptx_tmr_set_value(&device, 0xFFE00005);  // 21 bits count; the upper three are kept
  timer = 0x001FFFFF;
  zvg_dptx_tmr_set_value(&device, 0x123456);
  zvg_dptx_tmr_enable(&device, 7);
  timer = 0xE0000009;
  zvg_dptx_tmr_enable(&device, 0);
  timer = 0xFFE00003;
  EXPECT_EQ(zvg_dptx_tmr_get_value(&device), 3u);
  EXPECT_THAT(node_.folded(0),
              ElementsAre("ctl 0x158=0x0", "ctl? 0x158", "ctl 0x158=0xe0000005", "ctl? 0x158",
                          "ctl 0x158=0x123456", "ctl? 0x158", "ctl 0x158=0x801fffff", "ctl? 0x158",
                          "ctl 0x158=0x60000009", "ctl? 0x158"));
}

TEST_F(DpDevice, TimerWaitLooksUntilTheCountIsZero) {
  const zvg_dptx device = DpNode::device(3);
  uint32_t timer = 0;
  bool started = false;
  node_.on_write = [&](uint64_t, uint64_t value) {
    timer = static_cast<uint32_t>(value);
    started = (value >> 31) != 0;
  };
  node_.on_read = [&](uint64_t, uint64_t* value) {
    *value = timer;
    if (started) --timer;  // the flag bits stay set when the count is 0
    return true;
  };
  zvg_dptx_tmr_wait(&device, 3);
  EXPECT_THAT(node_.take(), ElementsAre("w4 0x570158 0x0", "r4 0x570158", "w4 0x570158 0x3",
                                        "r4 0x570158", "w4 0x570158 0x80000003", "r4 0x570158",
                                        "r4 0x570158", "r4 0x570158", "r4 0x570158"));
}

TEST_F(DpDevice, HotPlug) {
  const zvg_dptx device = DpNode::device(1);
  const struct {
    uint32_t value;
    int status, sense;
  } cases[] = {{0, 0, 0}, {1, 1, 1}, {2, 1, 0}, {0x80000000, 1, 0}, {3, 1, 1}};
  for (const auto& c : cases) {
    zvg_dptx_reg_write(&device, 0x128, c.value);
    EXPECT_EQ(zvg_dptx_aux_hpd_status(&device), c.status) << c.value;
    EXPECT_EQ(zvg_dptx_hpd_sense(&device), c.sense) << c.value;
  }
}

TEST_F(DpDevice, ClockDivider) {
  const zvg_dptx device = DpNode::device(1);
  zvg_dptx_set_clk_divider(&device, 77);
  EXPECT_EQ(zvg_dptx_get_clk_divider(&device), 77u);
  EXPECT_THAT(node_.folded(1), ElementsAre("ctl 0x10c=0x4d", "ctl? 0x10c"));
}

// Each of these runs in a process of its own: no port has been set up before.

TEST_F(DpDevice, PhyReadAndWriteReachTheController) {
  node_.quiet = true;
  uint32_t value = 0;
  EXPECT_EQ(zvgDpPhyWrite(2, 0x110, 0x55), 0);  // sets the port up
  node_.quiet = false;
  EXPECT_EQ(zvgDpPhyRead(2, 0x110, &value), 0);
  EXPECT_EQ(value, 0x55u);
  EXPECT_EQ(zvgDpPhyWrite(2, 0x110, 0x66), 0);
  EXPECT_THAT(node_.take(), ElementsAre("r4 0x550110", "w4 0x550110 0x66"));
}

TEST_F(DpDevice, PhyAccessOfAPortAboveThreeIsSilent) {
  for (const uint32_t port : {4u, UINT32_MAX}) {
    uint32_t value = 9;
    const auto output = capture([&] {
      EXPECT_EQ(zvgDpPhyRead(port, 0, &value), -22);
      EXPECT_EQ(zvgDpPhyWrite(port, 0, 1), -22);
    });
    EXPECT_EQ(output.out + output.err, "");
    EXPECT_EQ(value, 9u);
  }
  EXPECT_THAT(node_.take(), IsEmpty());
}

TEST_F(DpDevice, SetUpOfOnePortServesTheTransfersOfAll) {
  node_.quiet = true;
  uint32_t value = 0;
  zvgDpPhyRead(0, 0, &value);
  const uint64_t accesses = node_.accesses;
  EXPECT_GT(accesses, 100u) << "the port was set up";
  // Another port's record is still empty.
  const auto output = capture([&] { EXPECT_EQ(zvgDpPhyRead(1, 0, &value), 0); });
  EXPECT_EQ(static_cast<int>(value), -22);
  EXPECT_THAT(output.err, MatchesRegex("zvg_dptx_reg_read\\([0-9]+\\): invalid dp_dev\n"));
  EXPECT_EQ(node_.accesses, accesses);
  zvgDpInit(1);
  zvgDpPhyWrite(1, 0x110, 5);
  EXPECT_EQ(zvgDpPhyRead(1, 0x110, &value), 0);
  EXPECT_EQ(value, 5u);
}

TEST_F(DpDevice, InitTakesAnyPort) {
  node_.quiet = true;
  std::vector<uint64_t> touched;
  node_.on_read = [](uint64_t offset, uint64_t* value) {
    *value = (offset & 0xFFFF) == 0x158 ? 0 : 1;
    return true;
  };
  node_.on_write = [&](uint64_t offset, uint64_t) { touched.push_back(offset); };
  EXPECT_EQ(zvgDpInit(4), 0);
  EXPECT_EQ(touched.front(), 0x580000u + 0x1010C);
  touched.clear();
  EXPECT_EQ(zvgDpInit(-1), 0);
  EXPECT_EQ(touched.front(), 0x4E0000u + 0x1010C);
}

TEST_F(DpDevice, InitOfNoPortCountsAsSetUpToo) {
  node_.quiet = true;
  node_.on_read = [](uint64_t offset, uint64_t* value) {
    *value = (offset & 0xFFFF) == 0x158 ? 0 : 1;
    return true;
  };
  EXPECT_EQ(zvgDpInit(-1), 0);
  const size_t accesses = node_.accesses;
  uint32_t value = 0;
  capture([&] { EXPECT_EQ(zvgDpPhyRead(0, 0, &value), 0); });
  EXPECT_EQ(static_cast<int>(value), -22) << "port 0's record stayed empty";
  EXPECT_EQ(node_.accesses, accesses);
}

}  // namespace
