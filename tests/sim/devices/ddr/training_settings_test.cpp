// The section [training] of a board file.
#include "devices/ddr/training_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/board_file_fixture.h"

namespace zvgsim {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST_F(BoardFileTest, Training) {
  const TrainingSettings training = load(R"(
[training]
seed = 3
gap_us = 50
endless = true
[[training.channel]]
channel = 1
lanes = 16
read_eye = [20, 30.5, 60]
messages = [[0x10003, 1, 2, 0xFFFFFFFF], [0x110000]]
[[training.channel]]
channel = 0
write_eye = [1, 2, 3]
)")
                                        .of<TrainingSettings>();
  EXPECT_TRUE(training.enabled);
  EXPECT_EQ(training.seed, 3u);
  EXPECT_EQ(training.gap_us, 50u);
  EXPECT_TRUE(training.endless);
  const TrainingChannelSettings& channel = training.channels[1];
  EXPECT_EQ(channel.lanes, 16u);
  EXPECT_EQ(channel.read_eye.width, 20);
  EXPECT_EQ(channel.read_eye.height, 30.5);
  EXPECT_EQ(channel.read_eye.centre, 60);
  ASSERT_TRUE(channel.messages);
  ASSERT_EQ(channel.messages->size(), 2u);
  EXPECT_EQ(channel.messages->front().id, 0x10003u);
  EXPECT_THAT(channel.messages->front().arguments, ElementsAre(1, 2, 0xFFFFFFFF));
  EXPECT_EQ(training.channels[0].write_eye.centre, 3);
  EXPECT_FALSE(training.channels[0].messages);
  EXPECT_FALSE(load("[training]\nenabled = false\n").of<TrainingSettings>().enabled);

  EXPECT_THAT(problems("[[training.channel]]\nlanes = 3\n"),
              ElementsAre("1: training.channel[0]: expected a channel = 0 to 3"));
  EXPECT_THAT(problems("[[training.channel]]\nchannel = 2\n[[training.channel]]\nchannel = 2\n"),
              ElementsAre("3: training.channel[1]: channel 2 is described a second time"));
  EXPECT_THAT(problems("[[training.channel]]\nchannel = 2\nread_eye = [1, 2]\n"),
              ElementsAre("3: training.channel[0].read_eye: expected [width, height, centre] in "
                          "steps, 0 to 127, found an array of 2"));
  EXPECT_THAT(problems("[[training.channel]]\nchannel = 2\nmessages = [[], 5]\n"),
              ElementsAre(HasSubstr("messages[0]: expected an identifier and its arguments"),
                          HasSubstr("messages[1]: expected an identifier and its arguments")));
}

}  // namespace
}  // namespace zvgsim
