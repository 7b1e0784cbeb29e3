// The listener to the training firmware's mailbox.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <numeric>

#include "ddr/training_firmware.h"
#include "support/capture.h"
#include "support/recorded_platform.h"
#include "util_zvg.h"

namespace {

using testing::HasSubstr;
using zvgtest::Burst;
using zvgtest::capture;
using zvgtest::marker;
using zvgtest::message;
using zvgtest::opening;
using zvgtest::TrainingFirmware;
using Log = std::vector<std::string>;
using Words = std::vector<uint32_t>;

constexpr uint32_t phy = 0x400000;

// Messages of the 2D catalogue.
constexpr uint32_t one_argument = 0x00000001;
constexpr uint32_t two_arguments = 0x00020002;
constexpr uint32_t three_arguments = 0x00010003;
constexpr uint32_t eye_row = 0x14001F;

std::string formatted(uint32_t id, const Words& a = {}) {
  const zvg_ddr_message& record = ddr_debug_ddr4_lpddr4x_2d[findDebugPos(id)];
  EXPECT_EQ(record.id, id);
  const auto at = [&](size_t i) { return i < a.size() ? a[i] : 0; };
  char text[512];
  snprintf(text, sizeof text, record.format, at(0), at(1), at(2), at(3), at(4), at(5), at(6),
           at(7));
  return text;
}

std::string eye_row_text(const Words& values) {
  std::string text = "PMU4:";
  for (size_t i = 0; i < 31; ++i) {
    char field[16];
    snprintf(field, sizeof field, i == 15 ? " >%3d<" : " %3d", values[i]);
    text += field;
  }
  return text + "\n";
}

constexpr char head[] =
    "hello zvgDdrShowEye\nShow software eye for ddr channel 0 with phy offset 0x00400000...\n";
constexpr char over[] = "training messages over\n";
constexpr char no_eyes[] = "set_2d_eye: read_write_f:0 write_max:0 read_max:0 \n";

class TrainingListener : public testing::Test {
 protected:
  void SetUp() override {
    node_.open();
    firmware_ = std::make_unique<TrainingFirmware>(node_, phy);
  }

  void send(Burst burst) { firmware_->send(std::move(burst)); }

  // All that is printed.
  std::string listen(uint32_t mask = 1, int type = 0) {
    const auto output = capture([&] { EXPECT_EQ(zvgDdrShowEye(mask, type), 0); });
    EXPECT_EQ(output.err, "");
    return output.out;
  }
  // What is printed between the channel's head and the end.
  std::string messages() {
    const std::string text = listen();
    EXPECT_TRUE(text.starts_with(head)) << text;
    EXPECT_TRUE(text.ends_with(std::string(over) + no_eyes)) << text;
    if (text.size() < sizeof head + sizeof over + sizeof no_eyes - 3) return text;
    return text.substr(sizeof head - 1,
                       text.size() - sizeof head - sizeof over - sizeof no_eyes + 3);
  }

  zvgtest::RegisterNode node_;
  std::unique_ptr<TrainingFirmware> firmware_;
};

void append(Log* log, const Log& more) {
  log->insert(log->end(), more.begin(), more.end());
}

const Log empty_poll = {"r4 0x400010", "w4 0x4000c4 0x1", "usleep 100"};
const Log word_taken = {"r4 0x4000c8", "r4 0x4000d0", "w4 0x4000c4 0x0", "r4 0x400010"};

TEST_F(TrainingListener, SilentChannelIsPolledAThousandTimes) {
  EXPECT_EQ(messages(), "");
  Log expected = {"r4 0x4000c8"};
  for (int i = 0; i < 1000; ++i) append(&expected, empty_poll);
  EXPECT_EQ(node_.take(), expected);
}

TEST_F(TrainingListener, TakesABurstWordByWord) {
  send({});
  send(message(two_arguments, {7, 8}));
  EXPECT_EQ(messages(), formatted(two_arguments, {7, 8}));
  Log expected = {"r4 0x4000c8"};
  append(&expected, empty_poll);
  append(&expected, {"r4 0x400010"});
  for (int i = 0; i < 4; ++i) append(&expected, word_taken);
  append(&expected, {"w4 0x4000c4 0x1", "usleep 100"});
  // The burst counts as the first of the thousand.
  for (int i = 0; i < 999; ++i) append(&expected, empty_poll);
  EXPECT_EQ(node_.take(), expected);
}

TEST_F(TrainingListener, SilenceIsCountedAnewAfterEveryBurst) {
  for (int i = 0; i < 998; ++i) send({});
  send(message(one_argument, {1}));
  for (int i = 0; i < 998; ++i) send({});
  send(message(one_argument, {2}));
  EXPECT_EQ(messages(), formatted(one_argument, {1}) + formatted(one_argument, {2}));
}

TEST_F(TrainingListener, GivesUpBeforeAMessageThatComesTooLate) {
  send(message(one_argument, {1}));
  for (int i = 0; i < 999; ++i) send({});
  send(message(one_argument, {2}));
  EXPECT_EQ(messages(), formatted(one_argument, {1}));
}

TEST_F(TrainingListener, MessageMayComeInSeveralBursts) {
  send({marker});
  send({opening(three_arguments)});
  send({{1}, {2}});
  for (int i = 0; i < 5; ++i) send({});
  send({{3}});
  EXPECT_EQ(messages(), formatted(three_arguments, {1, 2, 3}));
}

TEST_F(TrainingListener, FirstMessageNeedsNoMarker) {
  send({opening(one_argument), {5}});
  EXPECT_EQ(messages(), formatted(one_argument, {5}));
}

TEST_F(TrainingListener, OfTwoMessagesInABurstOnlyTheLastIsSeen) {
  Burst burst = message(one_argument, {1});
  const Burst second = message(two_arguments, {2, 3});
  burst.insert(burst.end(), second.begin(), second.end());
  send(burst);
  EXPECT_EQ(messages(), formatted(two_arguments, {2, 3}));
}

TEST_F(TrainingListener, BurstWithoutAMarkerShowsTheOldMessageAgain) {
  send(message(one_argument, {1}));
  send({{9}});
  EXPECT_EQ(messages(), formatted(one_argument, {1}) + formatted(one_argument, {1}));
}

TEST_F(TrainingListener, EmptyPollsDoNotShowAMessageAgain) {
  send(message(one_argument, {1}));
  for (int i = 0; i < 20; ++i) send({});
  EXPECT_EQ(messages(), formatted(one_argument, {1}));
}

TEST_F(TrainingListener, MarkerForgetsTheMessage) {
  send(message(one_argument, {1}));
  send({marker});
  EXPECT_EQ(messages(), formatted(one_argument, {1}));
}

TEST_F(TrainingListener, EightIsAnArgumentWhileArgumentsAreMissing) {
  send(message(three_arguments, {8, 8, 8}));
  EXPECT_EQ(messages(), formatted(three_arguments, {8, 8, 8}));
}

TEST_F(TrainingListener, EightBehindAMarkerIsAnIdentifierWhenArgumentsWereExpected) {
  // The marker leaves the three arguments of the message before expected, so that what looks like
  // the next marker opens message 0x8, which takes eight arguments.
  send(message(three_arguments, {1, 2, 3}));
  send({marker, marker, opening(one_argument), {5}});
  send({{1}, {2}, {3}, {4}, {5}, {6}});
  EXPECT_EQ(messages(),
            formatted(three_arguments, {1, 2, 3}) + "findDebugPos 00000008 00000001 00000001\n");
}

TEST_F(TrainingListener, EightBehindAMarkerIsAMarkerWhenNoneWere) {
  const uint32_t no_arguments = 0x000B0000;
  ASSERT_EQ(ddr_debug_ddr4_lpddr4x_2d[findDebugPos(no_arguments)].id, no_arguments);
  send(message(no_arguments));
  send({marker, marker, opening(one_argument), {5}});
  EXPECT_EQ(messages(), formatted(no_arguments) + formatted(one_argument, {5}));
}

TEST_F(TrainingListener, ArgumentIsTheLowWordAlone) {
  send({marker, opening(one_argument), {0x12345678, 0xFFFF}});
  EXPECT_EQ(messages(), formatted(one_argument, {0x12345678}));
}

TEST_F(TrainingListener, IdentifierIsMadeOfBothWords) {
  // Bits of the low word above 16 add to the upper part.
  send({marker, {0x20000 + (two_arguments & 0xFFFF), (two_arguments >> 16) - 2}, {1}, {2}});
  EXPECT_EQ(messages(), formatted(two_arguments, {1, 2}));
}

TEST_F(TrainingListener, UnknownMessageIsPassedOverAfterAPause) {
  send(message(0x00020001, {1}));
  EXPECT_EQ(messages(), "findDebugPos 00020001 00010003 00010003\n");
  const Log log = node_.take();
  const Log expected = {"w4 0x4000c4 0x1", "usleep 100", "usleep 1000", "r4 0x400010"};
  EXPECT_TRUE(std::search(log.begin(), log.end(), expected.begin(), expected.end()) != log.end());
  EXPECT_EQ(std::count(log.begin(), log.end(), "usleep 100"), 1000)
      << "silence is counted from the message on";
}

TEST_F(TrainingListener, AnyNumberOfArgumentsIsTaken) {
  Words arguments(400);
  std::iota(arguments.begin(), arguments.end(), 0x100);
  send(message(0x7FFF00FF, arguments));
  send(message(one_argument, {3}));
  EXPECT_THAT(messages(), testing::EndsWith(formatted(one_argument, {3})));
}

TEST_F(TrainingListener, OtherTypesUseTheirCatalogue) {
  const zvg_ddr_message& last = ddr_debug_ddr4_1d[411];
  send(message(last.id, Words(last.id & 0xFF, 1)));
  EXPECT_THAT(listen(1, 2), HasSubstr("...\nPMU1: setAltAcsmCLCWL: CL 1, CWL 1, further values"));
}

TEST_F(TrainingListener, EyeRowsMakeAnEye) {
  Words row(31, 0x90);
  row[3] = 1;
  row[15] = 300;  // printed whole, counted by its low byte
  send(message(0x210004, {2, 0, 1, 0x3FF}));
  send(message(eye_row, row));
  const std::string text = listen();
  EXPECT_THAT(text, HasSubstr(formatted(0x210004, {2, 0, 1, 0x3FF}) + eye_row_text(row) + over +
                              "set_2d_eye: read_write_f:1 write_max:0 read_max:44 \nread\n"));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2 + 2 + 2 + 1 + 45 + 5 + 1 + 1);
}

TEST_F(TrainingListener, ScansHaveTheirHeads) {
  const struct {
    uint32_t id;
    int direction;
  } heads[] = {{0x210004, 1}, {0x1E0004, 0}, {0x250004, 1}, {0x280004, 0}};
  for (const auto& one : heads) {
    send(message(one.id, {2, 0, 1, 2}));
    EXPECT_THAT(listen(), HasSubstr("read_write_f:" + std::to_string(one.direction) + " "));
  }
}

TEST_F(TrainingListener, HeadsThatAreInNoCatalogueChangeNothing) {
  send(message(0x210004, {2, 0, 1, 2}));
  for (const uint32_t id : {0x1D0004, 0x270004, 0x200004, 0x240004}) {
    send(message(id, {1, 2, 3, 4}));
    EXPECT_THAT(listen(),
                testing::AllOf(HasSubstr("findDebugPos 00"), HasSubstr("read_write_f:1 ")));
  }
}

TEST_F(TrainingListener, EyesAreShownOnlyWhenTheirHighestRowsAddUpToMoreThanOne) {
  Words row(31, 0x80);
  row[0] = 1;
  send(message(0x1E0004, {2, 0, 1, 2}));
  send(message(eye_row, row));
  EXPECT_THAT(listen(), testing::EndsWith("write_max:1 read_max:0 \n"));
  send(message(0x210004, {2, 0, 1, 2}));
  send(message(eye_row, row));
  EXPECT_THAT(listen(), HasSubstr("write_max:1 read_max:1 \nread\n"));
}

TEST_F(TrainingListener, EyesAccumulateFromCallToCall) {
  Words row(31, 0x80);
  row[30] = 2;
  std::string last;
  for (int i = 0; i < 2; ++i) {
    send(message(0x1E0004, {2, 0, 1, 2}));
    send(message(eye_row, row));
    last = listen();
  }
  std::string line;
  for (int i = 0; i < 30; ++i) line += "  0 ";
  EXPECT_THAT(last, HasSubstr("write\n" + line + "  2\n"));
}

TEST(TrainingChannels, SelectedOnesAreListenedToInOrder) {
  zvgtest::RegisterNode node;
  node.open();
  node.quiet = true;
  Log offsets;
  node.on_read = [&](uint64_t offset, uint64_t* value) {
    if ((offset & 0xFF) == 0xC8) offsets.push_back(zvgtest::hex(&offset, 3));
    *value = 1;
    return true;
  };
  const auto output = capture([&] { EXPECT_EQ(zvgDdrShowEye(0xFFFFFFFA, 1), 0); });
  const std::string end = std::string(over) + no_eyes;
  EXPECT_EQ(output.out,
            "hello zvgDdrShowEye\n"
            "Show software eye for ddr channel 1 with phy offset 0x00440000...\n" +
                end + "Show software eye for ddr channel 3 with phy offset 0x004c0000...\n" + end);
  EXPECT_EQ(offsets, (Log{"c80044", "c8004c"}));
}

TEST(TrainingChannels, EmptyMaskOnlyGreets) {
  zvgtest::RegisterNode node;
  node.open();
  const auto output = capture([] { EXPECT_EQ(zvgDdrShowEye(0, 0), 0); });
  EXPECT_EQ(output.out + output.err, "hello zvgDdrShowEye\n");
  EXPECT_TRUE(node.take().empty());
}

TEST(TrainingChannels, Rq302HasTwo) {
  zvgtest::RegisterNode node;
  node.device_id = 0x202;
  node.open();
  node.quiet = true;
  node.on_read = [](uint64_t, uint64_t* value) { return *value = 1, true; };
  const auto output = capture([] { zvgDdrShowEye(0xF, 0); });
  EXPECT_THAT(output.out, HasSubstr("channel 0 with phy offset 0x002c0000..."));
  EXPECT_THAT(output.out, HasSubstr("channel 1 with phy offset 0x001c0000..."));
  EXPECT_THAT(output.out, testing::Not(HasSubstr("channel 2")));
}

}  // namespace
