// Mode set, transfer unit and user data count.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display/dp/training_rows.h"
#include "support/capture.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using zvgtest::capture;
using zvgtest::clock_recovery;
using zvgtest::DpNode;
using zvgtest::equalisation;
using zvgtest::fixed_training;
using zvgtest::join;
using zvgtest::Log;
using zvgtest::looks;
using zvgtest::text;
using zvgtest::training_end;
using zvgtest::training_start;

class DpStream : public testing::Test {
 protected:
  void SetUp() override {
    node_.open();
    node_.dpcd = {{0x001, 0x14}, {0x002, 0x84}, {0x202, 0x77}, {0x203, 0x77}, {0x204, 1}};
  }
  void set_link(uint32_t rate, uint32_t lanes) {
    const zvg_dptx device = DpNode::device(1);
    zvg_dptx_reg_write(&device, 0, rate);
    zvg_dptx_reg_write(&device, 4, lanes);
    node_.take();
  }
  // The value that a mode set leaves in a controller register.
  uint32_t left_in(unsigned port, uint32_t reg) {
    uint32_t value = 0;
    for (unsigned i = 4; i-- > 0;) {
      value = value << 8 | node_.bytes[zvgtest::dp_block(port) + 0x10000 + reg + i];
    }
    return value;
  }
  DpNode node_;
};

// 1920x1080 at 60 Hz, both syncs positive.
constexpr uint32_t full_hd[10] = {148500, 1920, 2008, 2052, 2200, 1080, 1084, 1089, 1125, 5};

Log timing_writes(unsigned polarity, unsigned format) {
  return {"ctl 0x180=0x898",
          "ctl 0x184=0x465",
          "ctl 0x18c=0x2c",
          "ctl 0x190=0x5",
          "ctl 0x194=0x780",
          "ctl 0x198=0x438",
          "ctl 0x19c=0xc0",
          "ctl 0x1a0=0x29",
          text("ctl 0x188=0x%x", polarity),
          text("ctl 0x1c4=0x%x", format),
          "ctl 0x1a4=0x21",
          "ctl 0x1a8=0x0",
          "ctl 0x1ac=0x24414"};
}

TEST_F(DpStream, ModeSet) {
  zvg_dptx device = DpNode::device(1);
  const auto output = capture([&] { EXPECT_EQ(zvg_dptx_mode_set(&device, full_hd), 0); });
  EXPECT_EQ(output.out,
            "DPCD 0: 00 14 84 00 00 00 00 00 00 00 00 00 00 00 00 00\nDP1: enable the link\n");
  EXPECT_EQ(output.err, "");
  EXPECT_EQ(device.lanes, 4u);
  EXPECT_EQ(device.link_clock, 4u);
  const unsigned unit = (13 + (3 << 8)) << 16 | 64;
  EXPECT_THAT(
      node_.folded(1),
      ElementsAreArray(join({{"dpcd? 0x0+16"},
                             training_start(0x14, 4, 0xF),
                             clock_recovery({}),
                             looks(true, true),
                             equalisation({}, 400),
                             training_end(),
                             timing_writes(0, 15),
                             {"ctl? 0x4", "ctl? 0x0", text("ctl 0x1b0=0x%x", unit), "ctl? 0x0",
                              text("ctl 0x1b4=0x%x", 20 * 27000), "ctl 0x1b8=0x1",
                              "ctl 0x1bc=0xb40", "ctl 0xc8=0x2004", "ctl 0x1c8=0x0", "ctl 0x94=0x1",
                              text("wait %d", 0x18000 / 540), "ctl 0x84=0x1", "wait 5"}})));
}

TEST_F(DpStream, PanelPortSetsUpSelfRefresh) {
  zvg_dptx device = DpNode::device(3);
  const auto answer = node_.on_read;
  int looks = 0;
  node_.on_read = [&](uint64_t offset, uint64_t* value) {
    if (offset != 0x57036C) return answer(offset, value);
    *value = static_cast<uint64_t>(++looks);  // disabled, then inactive
    return true;
  };
  const auto output = capture([&] { EXPECT_EQ(zvg_dptx_mode_set(&device, full_hd), 0); });
  EXPECT_EQ(output.out,
            "DPCD 0: 00 14 84 00 00 00 00 00 00 00 00 00 00 00 00 00\nDP3: enable the link\n");
  const unsigned unit = (13 + (3 << 8)) << 16 | 64;
  EXPECT_THAT(node_.folded(3), ElementsAreArray(join({{"dpcd? 0x0+16"},
                                                      fixed_training(0x14, 4, 0xF),
                                                      timing_writes(0, 15),
                                                      {"ctl? 0x4",
                                                       "ctl? 0x0",
                                                       text("ctl 0x1b0=0x%x", unit),
                                                       "ctl? 0x0",
                                                       text("ctl 0x1b4=0x%x", 20 * 27000),
                                                       "ctl 0x1b8=0x1",
                                                       "ctl 0x1bc=0xb40",
                                                       "ctl 0xc8=0x2004",
                                                       "ctl 0xc8=0x4000",
                                                       "ctl 0x1c8=0x1",
                                                       "ctl 0x310=0x0",
                                                       "ctl 0x324=0x0",
                                                       "ctl 0x364=0x0",
                                                       "ctl 0x368=0x0",
                                                       "ctl 0x8c=0x80",
                                                       "ctl 0x300=0x0",
                                                       "ctl 0x88=0x1",
                                                       "ctl 0x1d0=0x0",
                                                       "ctl 0x360=0x0",
                                                       "ctl? 0x36c",
                                                       "ctl 0x360=0x1",
                                                       "wait 1",
                                                       "ctl? 0x36c",
                                                       "ctl 0x94=0x1",
                                                       text("wait %d", 0x18000 / 540),
                                                       "ctl 0x84=0x1",
                                                       "wait 5"}})));
}

TEST_F(DpStream, SelfRefreshStatesThatAreNotExpectedArePrinted) {
  node_.quiet = true;
  node_.bytes[0x57036C] = 0x1A;
  zvg_dptx device = DpNode::device(3);
  const auto output = capture([&] { zvg_dptx_mode_set(&device, full_hd); });
  EXPECT_THAT(output.out, testing::EndsWith("PSR function not DISABLED (0x1a)\n"
                                            "PSR transition error: DISABLED -> INACTIVE (0x1a)\n"
                                            "DP3: enable the link\n"));
}

TEST_F(DpStream, SyncFlags) {
  node_.quiet = true;
  for (unsigned flags = 0; flags < 16; ++flags) {
    uint32_t mode[10];
    std::copy(std::begin(full_hd), std::end(full_hd), mode);
    mode[9] = flags;
    zvg_dptx device = DpNode::device(0);
    capture([&] { zvg_dptx_mode_set(&device, mode); });
    const bool h_negative = flags & 2, v_negative = flags & 8;
    const unsigned polarity = v_negative && h_negative ? 3 : v_negative ? 2 : h_negative ? 1 : 0;
    EXPECT_EQ(left_in(0, 0x188), polarity) << flags;
    EXPECT_EQ(left_in(0, 0x1C4), (12 + (flags & 1)) | (flags & 4 ? 2 : 0)) << flags;
  }
}

TEST_F(DpStream, RateIsOneOfFive) {
  node_.quiet = true;
  const struct {
    uint8_t sink, trained, index;
  } cases[] = {{0x06, 0x06, 0}, {0x09, 0x09, 1}, {0x0A, 0x0A, 2}, {0x0C, 0x0C, 3},
               {0x14, 0x14, 4}, {0x10, 0x0C, 3}, {0x1E, 0x06, 5}, {0x33, 0x06, 0}};
  for (const auto& c : cases) {
    node_.dpcd[0x001] = c.sink;
    zvg_dptx device = DpNode::device(2);
    capture([&] { zvg_dptx_mode_set(&device, full_hd); });
    EXPECT_EQ(node_.dpcd[0x100], c.trained);
    EXPECT_EQ(device.link_clock, c.index);
    EXPECT_EQ(left_in(2, 0x1B4), c.trained * 27000u);
  }
}

TEST_F(DpStream, SinkThatDoesNotAnswer) {
  node_.on_request = [](uint32_t command, uint32_t) {
    return DpNode::Reply{command == 0x90F ? 1u : 0u, 4, 0};
  };
  node_.quiet = true;
  zvg_dptx device = DpNode::device(0);
  const auto output = capture([&] { EXPECT_EQ(zvg_dptx_mode_set(&device, full_hd), 0); });
  EXPECT_EQ(output.out,
            "aux read linkrate from monitor error, force to 1.62Gbps with 4 lanes\n"
            "DP0: enable the link\n");
  EXPECT_EQ(node_.dpcd[0x100], 0x06);
  EXPECT_EQ(node_.dpcd[0x101], 0x84);
  EXPECT_EQ(device.lanes, 4u);
  EXPECT_EQ(device.link_clock, 0u);
}

TEST_F(DpStream, LinkWithoutARateIsNotWaitedFor) {
  // A controller whose rate register always reads 0.
  const auto answer = node_.on_read;
  node_.on_read = [&](uint64_t offset, uint64_t* value) {
    if (offset == 0x510000) return true;
    return answer(offset, value);
  };
  zvg_dptx device = DpNode::device(0);
  capture([&] { EXPECT_EQ(zvg_dptx_mode_set(&device, full_hd), 0); });
  const Log log = node_.folded(0);
  EXPECT_EQ(std::count(log.begin(), log.end(), "ctl 0x1b4=0x0"), 1);
  EXPECT_EQ(std::count(log.begin(), log.end(), "wait 0"), 1);
}

TEST_F(DpStream, TransferUnit) {
  const zvg_dptx device = DpNode::device(1);
  const struct {
    uint32_t rate, lanes, clock, bits, word;
  } cases[] = {
      {0x14, 4, 148500, 24, (13 + (3u << 8)) << 16 | 64},
      {0x06, 1, 25175, 24, (29 + (13u << 8)) << 16 | 64},
      {0x0A, 2, 65000, 30, (28 + (14u << 8)) << 16 | 64},
      {0x1E, 4, 594000, 24, (35 + (3u << 8)) << 16 | 64},
      // 23000000 * 24 * 8 wraps to 121032704; without the wrap it would be more.
      {0x06, 1, 23000000, 24,
       (((121032704u / 162 / 1000) + ((121032704u / 162 % 1000 * 16 / 1000) << 8)) << 16) | 64},
  };
  for (const auto& c : cases) {
    set_link(c.rate, c.lanes);
    EXPECT_EQ(zvg_dptx_set_tu_size(&device, c.clock, c.bits), c.word);
    EXPECT_THAT(node_.folded(1),
                ElementsAre("ctl? 0x4", "ctl? 0x0", text("ctl 0x1b0=0x%x", c.word)));
  }
  for (const auto& [rate, lanes] : {std::pair{0u, 4u}, {0x14u, 0u}}) {
    set_link(rate, lanes);
    EXPECT_EQ(zvg_dptx_set_tu_size(&device, 148500, 24), 0u);
    EXPECT_THAT(node_.folded(1), ElementsAre("ctl? 0x4", "ctl? 0x0"));
  }
}

TEST_F(DpStream, UserDataCountRoundsUp) {
  const zvg_dptx device = DpNode::device(1);
  const struct {
    uint32_t active, bytes, divisor, count;
  } cases[] = {
      {1920, 3, 2, 2880},
      {1, 3, 2, 2},
      {1366, 3, 4, 1025},
      {0x20000000, 1, 2, 0},
      {0xFFFFFFFF, 3, 2, 0x0FFFFFFF},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(zvg_dptx_set_user_data_count(&device, c.active, c.bytes, c.divisor), c.count);
    EXPECT_THAT(node_.folded(1), ElementsAre(text("ctl 0x1bc=0x%x", c.count)));
  }
  EXPECT_EQ(zvg_dptx_set_user_data_count(&device, 1920, 3, 0), 0u);
  EXPECT_THAT(node_.take(), testing::IsEmpty());
}

}  // namespace
