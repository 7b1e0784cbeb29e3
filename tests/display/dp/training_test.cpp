// Link training, line by line.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "display/dp/training_rows.h"
#include "support/capture.h"

namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using zvgtest::capture;
using zvgtest::clock_recovery;
using zvgtest::DpNode;
using zvgtest::equalisation;
using zvgtest::fixed_training;
using zvgtest::join;
using zvgtest::Levels;
using zvgtest::Log;
using zvgtest::looks;
using zvgtest::rate_change;
using zvgtest::training_end;
using zvgtest::training_start;

class DpTraining : public testing::Test {
 protected:
  void SetUp() override {
    node_.open();
    // A sink that is content at once.
    node_.dpcd = {{0x202, 0x77}, {0x203, 0x77}, {0x204, 0x01}};
  }
  // Every look at the status of lanes 0 and 1 counts a pass; a test changes the sink by it.
  void each_pass(std::function<void(int pass)> change) {
    node_.before_dpcd_read = [this, change](uint32_t address) {
      if (address == 0x202) change(++passes_);
    };
  }

  zvg_dptx device_ = DpNode::device(0);
  DpNode node_;
  int passes_ = 0;
};

TEST_F(DpTraining, ContentSinkTakesOnePass) {
  EXPECT_EQ(zvg_dptx_train_link(&device_, 0x14, 4, 1234, 0), 0);
  EXPECT_THAT(node_.folded(0),
              ElementsAreArray(join({training_start(0x14, 4, 0xF), clock_recovery({}),
                                     looks(true, true), equalisation({}, 1234), training_end()})));
}

TEST_F(DpTraining, SelfRefreshIsEnabledBeforeThePowerIsLookedAt) {
  zvg_dptx_train_link(&device_, 0x14, 4, 1, 1);
  const Log log = node_.folded(0);
  const auto at = std::find(log.begin(), log.end(), "dpcd 0x170=0x1");
  ASSERT_NE(at, log.end());
  EXPECT_EQ(at[-1], "dpcd 0x101=0x84");
  EXPECT_EQ(at[1], "dpcd? 0x600");
}

TEST_F(DpTraining, SinkThatIsPoweredIsLeftSo) {
  for (const uint8_t power : std::vector<uint8_t>{1, 2, 5}) {
    node_.dpcd[0x600] = power;
    zvg_dptx_train_link(&device_, 0x0A, 1, 1, 0);
    const Log log = node_.folded(0);
    EXPECT_EQ(std::count(log.begin(), log.end(), "dpcd? 0x600"), 1);
    EXPECT_EQ(std::count(log.begin(), log.end(), "dpcd 0x600=0x1"), 0);
  }
}

TEST_F(DpTraining, LanesWithoutClockTakeWhatTheyAskFor) {
  // Lane 0 asks for swing 1 and pre-emphasis 2, lane 1 for 3 and 3, lane 2 for 2 and 1; lane 3 is
  // content, so that its request of 3 and 3 does not count.
  node_.dpcd[0x206] = 0xF9;
  node_.dpcd[0x207] = 0xF6;
  each_pass([this](int pass) {
    node_.dpcd[0x202] = pass < 2 ? 0x00 : 0x77;
    node_.dpcd[0x203] = pass < 2 ? 0x10 : 0x77;
  });
  EXPECT_EQ(zvg_dptx_train_link(&device_, 0x06, 2 + 2, 400, 0), 0);
  const Levels asked = {{1, 7, 2, 0}, {2, 7, 1, 0}};
  EXPECT_THAT(node_.folded(0),
              ElementsAreArray(join({training_start(0x06, 4, 0xF), clock_recovery({}),
                                     looks(false, false), clock_recovery(asked), looks(true, true),
                                     equalisation(asked, 400), training_end()})));
}

TEST_F(DpTraining, EachLaneHasItsOwnRequest) {
  const struct {
    unsigned lane, swing_bit, preemphasis_bit, request, status, done;
  } cases[] = {{0, 0, 2, 0x206, 0x202, 0x76},
               {1, 4, 6, 0x206, 0x202, 0x67},
               {2, 0, 2, 0x207, 0x203, 0x76},
               {3, 4, 6, 0x207, 0x203, 0x67}};
  for (const auto& c : cases) {
    for (unsigned swing = 0; swing < 4; ++swing) {
      for (unsigned preemphasis = 0; preemphasis < 4; ++preemphasis) {
        node_.dpcd = {{0x202, 0x77}, {0x203, 0x77}, {0x204, 1}};
        node_.dpcd[c.request] =
            static_cast<uint8_t>(swing << c.swing_bit | preemphasis << c.preemphasis_bit);
        node_.dpcd[c.status] = static_cast<uint8_t>(c.done);
        passes_ = 0;
        each_pass([&](int pass) {
          if (pass == 2) node_.dpcd[c.status] = 0x77;
        });
        node_.dpcd[0x202 + (c.status == 0x202 ? 1 : 0)] = 0x77;
        zvg_dptx_train_link(&device_, 0x06, 4, 400, 0);
        Levels levels;
        levels.swing[c.lane] = swing == 3 ? 7 : swing;
        levels.preemphasis[c.lane] = preemphasis == 3 ? 7 : preemphasis;
        const Log log = node_.folded(0);
        const Log second = join(
            {clock_recovery(levels), looks(true, true), equalisation(levels, 400), training_end()});
        ASSERT_GT(log.size(), second.size());
        EXPECT_THAT(Log(log.end() - static_cast<long>(second.size()), log.end()),
                    ElementsAreArray(second))
            << c.lane << ' ' << swing << ' ' << preemphasis;
      }
    }
  }
}

TEST_F(DpTraining, FivePassesWithoutClockStillEqualise) {
  node_.dpcd = {{0x206, 0x11}, {0x207, 0x00}, {0x204, 1}};
  // The request changes with every pass, so that each pass's levels can be told.
  each_pass([this](int pass) { node_.dpcd[0x206] = static_cast<uint8_t>(pass & 3); });
  EXPECT_EQ(zvg_dptx_train_link(&device_, 0x06, 1, 400, 0), 0);
  Log expected = training_start(0x06, 1, 0x1);
  for (const unsigned swing : {0u, 1u, 2u, 7u, 0u}) {
    expected = join({expected, clock_recovery({{swing}, {}}), looks(false, false)});
  }
  // The fifth request reaches the equalisation's bytes, but the PHY no more.
  expected = join({expected, equalisation({{1}, {}}, 400), training_end()});
  EXPECT_THAT(node_.folded(0), ElementsAreArray(expected));
  EXPECT_EQ(passes_, 5);
}

TEST_F(DpTraining, LanesTwoAndThreeCountOnNarrowLinks) {
  node_.dpcd[0x203] = 0x71;
  node_.dpcd[0x207] = 0x20;
  each_pass([this](int pass) { node_.dpcd[0x203] = pass == 1 ? 0x70 : 0x11; });
  zvg_dptx_train_link(&device_, 0x06, 1, 400, 0);
  const Log log = node_.folded(0);
  EXPECT_EQ(std::count(log.begin(), log.end(), "dpcd? 0x207"), 1);
  EXPECT_EQ(passes_, 2);
}

TEST_F(DpTraining, EqualisationLooksAtAlignmentAndLaneZero) {
  const struct {
    uint8_t status, alignment;
    int passes;
  } cases[] = {
      {0x17, 0x01, 1},  // lane 1 is not equalised, which nobody asks
      {0x77, 0xFE, 5}, {0x75, 0x01, 5}, {0x73, 0x01, 5}, {0x77, 0x00, 5},
  };
  for (const auto& c : cases) {
    node_.dpcd = {{0x202, c.status}, {0x203, 0x11}, {0x204, c.alignment}};
    zvg_dptx_train_link(&device_, 0x06, 4, 400, 0);
    const Log log = node_.folded(0);
    EXPECT_EQ(std::count(log.begin(), log.end(), "dpcd 0x102=0x21"), c.passes);
    EXPECT_EQ(std::count(log.begin(), log.end(), "dpcd 0x102=0x22"), c.passes);
  }
}

TEST_F(DpTraining, EqualisationThatFailsGoesBackToClockRecovery) {
  node_.dpcd[0x204] = 0;
  // Passes 1 and 2 have clock but no alignment, 3 and 4 lose the clock, 5 has it all.
  each_pass([this](int pass) {
    node_.dpcd[0x202] = pass == 3 || pass == 4 ? 0x66 : 0x77;
    node_.dpcd[0x204] = pass >= 5;
  });
  zvg_dptx_train_link(&device_, 0x06, 4, 400, 0);
  EXPECT_THAT(
      node_.folded(0),
      ElementsAreArray(
          join({training_start(0x06, 4, 0xF), clock_recovery({}), looks(true, true),
                equalisation({}, 400), clock_recovery({}), looks(true, true), equalisation({}, 400),
                clock_recovery({}), looks(false, true), clock_recovery({}), looks(false, true),
                clock_recovery({}), looks(true, true), equalisation({}, 400), training_end()})));
}

TEST_F(DpTraining, SinkThatNeverAnswersTakesFivePasses) {
  node_.quiet = true;
  node_.on_request = [](uint32_t, uint32_t) { return DpNode::Reply{1, 4, 0}; };
  std::vector<unsigned> patterns;
  const auto note = node_.on_write;
  node_.on_write = [&](uint64_t offset, uint64_t value) {
    if (offset == 0x51000C) patterns.push_back(static_cast<unsigned>(value));
    note(offset, value);
  };
  zvgtest::Output output;
  output = capture([&] { EXPECT_EQ(zvg_dptx_train_link(&device_, 0x06, 4, 400, 0), 0); });
  EXPECT_THAT(patterns, ElementsAreArray({1, 1, 1, 1, 1, 2, 0}));
  EXPECT_THAT(output.err, HasSubstr("dp 0: aux write byte error(0x10001)\n"));
}

TEST_F(DpTraining, FixedTiming) {
  for (const int flag : {0, 1}) {
    zvg_dptx_reg_write(&device_, 4, 0);
    node_.take();
    EXPECT_EQ(zvg_dptx_train_link_no_aux(&device_, 0x0A, 2, 777, flag), 0);
    EXPECT_THAT(node_.folded(0), ElementsAreArray(fixed_training(0x0A, 2, 0x3)));
  }
}

class DpTrainingByPort : public DpTraining {
 protected:
  void SetUp() override {
    DpTraining::SetUp();
    const uint8_t capabilities[] = {0x14, 0x0A, 0xC4, 0x81, 1, 0, 1,    0,
                                    2,    0,    0,    0,    0, 0, 0x00, 0xFF};
    for (uint32_t i = 0; i < 16; ++i) node_.dpcd[i] = capabilities[i];
    node_.quiet = true;
    for (int port = 0; port < 4; ++port) zvgDpInit(port);
    node_.quiet = false;
  }
  std::string train(int port, int result) {
    const auto output = capture([&] { EXPECT_EQ(zvgDpLinkTraining(port), result); });
    err_ = output.err;
    return output.out;
  }
  std::string err_;
};

const char* const capability_line = "DPCD 0: 14 0a c4 81 01 00 01 00 02 00 00 00 00 00 00 ff\n";

TEST_F(DpTrainingByPort, TrainsWithTheSinksCapabilities) {
  EXPECT_EQ(train(1, 0), capability_line);
  EXPECT_EQ(err_, "");
  EXPECT_THAT(node_.folded(1), ElementsAreArray(join({{"dpcd? 0x0+16"},
                                                      training_start(0x0A, 4, 0xF),
                                                      clock_recovery({}),
                                                      looks(true, true),
                                                      equalisation({}, 400),
                                                      training_end()})));
}

TEST_F(DpTrainingByPort, EqualisationWaitIsTheSinks) {
  const struct {
    uint8_t units;
    const char* wait;
  } cases[] = {{0, "wait 400"}, {1, "wait 4000"}, {4, "wait 16000"}, {0x80, "wait 512000"}};
  for (const auto& c : cases) {
    node_.dpcd[0x00E] = c.units;
    train(0, 0);
    const Log log = node_.folded(0);
    EXPECT_EQ(std::count(log.begin(), log.end(), c.wait), 1) << c.wait;
  }
}

TEST_F(DpTrainingByPort, RateIsTheSinksOwnByte) {
  for (const uint8_t code : std::vector<uint8_t>{0x1E, 0x06, 0x77}) {
    node_.dpcd[0x001] = code;
    train(2, 0);
    EXPECT_EQ(err_, code == 0x77 ? "unsupported linkrate speed: 77\n" : "");
    EXPECT_EQ(node_.dpcd[0x100], code);
    EXPECT_EQ(node_.bytes[0x550000], code);
    node_.take();
  }
}

TEST_F(DpTrainingByPort, PanelPortTrainsWithFixedTiming) {
  node_.dpcd[0x002] = 0xE1;
  EXPECT_EQ(train(3, 0), "DPCD 0: 14 0a e1 81 01 00 01 00 02 00 00 00 00 00 00 ff\n");
  EXPECT_THAT(node_.folded(3),
              ElementsAreArray(join({{"dpcd? 0x0+16"}, fixed_training(0x0A, 1, 0x1)})));
}

TEST_F(DpTrainingByPort, SinkThatDoesNotAnswerIsTrainedForFourLanesAtNoRate) {
  node_.on_request = [](uint32_t command, uint32_t address) {
    return DpNode::Reply{command == 0x90F && address == 0 ? 1u : 0u, 4, 0};
  };
  EXPECT_EQ(train(0, -1), "aux read linkrate from monitor error, force to 1.62Gbps with lane 4\n");
  EXPECT_EQ(err_, "dp 0: aux read buffer error\n");
  EXPECT_EQ(node_.dpcd[0x100], 0);
  EXPECT_EQ(node_.dpcd[0x101], 0x84);
  const Log log = node_.folded(0);
  EXPECT_EQ(std::count(log.begin(), log.end(), "wait 400"), 1);
  EXPECT_EQ(train(3, -1), "aux read linkrate from monitor error, force to 1.62Gbps with lane 4\n");
}

TEST_F(DpTrainingByPort, PortOutOfRange) {
  EXPECT_EQ(train(4, -1), "channel 4 is out of range\n");
  EXPECT_EQ(train(-1, -1), "channel -1 is out of range\n");
  EXPECT_EQ(err_, "");
  EXPECT_THAT(node_.take(), IsEmpty());
}

// In a process of its own: each port is set up for itself, whatever was set up before.
TEST_F(DpTraining, TrainingSetsItsPortUp) {
  node_.quiet = true;
  zvgDpInit(0);
  node_.dpcd[1] = 0x06;
  node_.dpcd[2] = 1;
  capture([&] { EXPECT_EQ(zvgDpLinkTraining(2), 0); });
  EXPECT_EQ(node_.bytes[0x550110], 0xB8) << "the port was set up";
  node_.bytes[0x550110] = 0;
  capture([&] { zvgDpLinkTraining(2); });
  EXPECT_EQ(node_.bytes[0x550110], 0) << "and is not a second time";
}

}  // namespace
