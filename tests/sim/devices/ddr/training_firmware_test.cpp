// The DDR training firmware behind its mailbox, and the library listening to it.
#include "devices/ddr/training_firmware.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <sstream>

#include "devices/block_bases.h"
#include "devices/ddr/training_settings.h"
#include "support/board_fixture.h"
#include "support/capture.h"

namespace zvgsim {
namespace {

using ::testing::HasSubstr;

constexpr uint32_t status = 0x10;
constexpr uint32_t acknowledge = 0xC4;
constexpr uint32_t low = 0xC8;
constexpr uint32_t high = 0xD0;

class TrainingTest : public zvgtest::BoardFixture {
 protected:
  static constexpr uint32_t phy = 0x2C0000;

  void power(TrainingSettings training, Generation generation = Generation::rq302) {
    BoardConfig config;
    config.generation = generation;
    config.of<TrainingSettings>() = std::move(training);
    power_up(config);
  }
  static TrainingSettings with_messages(std::vector<TrainingMessage> messages) {
    TrainingSettings training;
    training.channels[0].messages = std::move(messages);
    return training;
  }
  // The word that waits; takes it.
  std::pair<uint64_t, uint64_t> take() {
    const std::pair<uint64_t, uint64_t> word = {peek(phy + low), peek(phy + high)};
    poke(phy + acknowledge, 0);
    return word;
  }
  bool waits() { return (peek(phy + status) & 1) == 0; }
};

TEST_F(TrainingTest, MessageIsABurstOfWords) {
  power(with_messages({{0x14001F, {0x12345678}}}));
  ASSERT_TRUE(waits());
  EXPECT_EQ(take(), std::pair(uint64_t{8}, uint64_t{0}));
  ASSERT_TRUE(waits());
  EXPECT_EQ(take(), std::pair(uint64_t{0x1F}, uint64_t{0x14}));
  ASSERT_TRUE(waits());
  EXPECT_EQ(take(), std::pair(uint64_t{0x12345678}, uint64_t{0}));
  EXPECT_FALSE(waits());
  poke(phy + acknowledge, 1);
  clock().sleep(seconds(1));
  EXPECT_FALSE(waits()) << "there is no other";
}

TEST_F(TrainingTest, NextMessageComesAfterTheHostIsDone) {
  TrainingSettings training = with_messages({{0x10000, {}}, {0x20000, {}}});
  training.gap_us = 500;
  power(training);
  poke(phy + acknowledge, 1);  // nothing was taken yet
  take();
  take();
  clock().sleep(seconds(1));
  EXPECT_FALSE(waits());
  poke(phy + acknowledge, 1);
  clock().sleep(microseconds(499));
  EXPECT_FALSE(waits());
  clock().sleep(microseconds(1));
  EXPECT_TRUE(waits());
  take();
  EXPECT_EQ(take(), std::pair(uint64_t{0}, uint64_t{2}));
}

TEST_F(TrainingTest, EndlessOneBeginsAgain) {
  TrainingSettings training = with_messages({{0x10000, {}}});
  training.endless = true;
  power(training);
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(waits());
    take();
    take();
    poke(phy + acknowledge, 1);
    clock().sleep(milliseconds(1));
  }
}

TEST_F(TrainingTest, WithoutFirmwareThePhyIsRegistersOnly) {
  TrainingSettings training;
  training.enabled = false;
  power(training);
  EXPECT_EQ(peek(phy + low), low / 4);
}

// The library's grids, counted from the text that it prints.
using Grid = std::array<std::array<unsigned, 31>, 128>;

Grid grid(const std::string& text, const std::string& title, int highest) {
  Grid counts = {};
  std::istringstream lines(text.substr(text.find("\n" + title + "\n") + title.size() + 2));
  for (int row = highest; row >= 0; --row) {
    for (unsigned column = 0; column < 31; ++column)
      lines >> counts[static_cast<size_t>(row)][column];
  }
  return counts;
}

// How many rows lie open between the edges in a column, and where.
struct Opening {
  int rows = 0;
  int middle = 0;
};

Opening opening(const Grid& grid, unsigned column) {
  Opening best;
  int last = -1;
  for (int row = 0; row < 128; ++row) {
    if (grid[static_cast<size_t>(row)][column] == 0) continue;
    if (last >= 0 && row - last - 1 > best.rows) best = {row - last - 1, (row + last) / 2};
    last = row;
  }
  return best;
}

TEST_F(TrainingTest, EveryChannelTrainsTwoOpenEyes) {
  const struct {
    Generation generation;
    zvgtest::Door door;
  } rows[] = {
      {Generation::rq301, zvgtest::Door::driver},
      {Generation::rq301, zvgtest::Door::aperture},
      {Generation::rq302, zvgtest::Door::aperture},
      {Generation::rq302, zvgtest::Door::driver},
  };
  for (const auto& [generation, door] : rows) {
    SCOPED_TRACE(zvgtest::name(door));
    power({}, generation);
    open_through(door);
    const auto output = zvgtest::capture([] { EXPECT_EQ(zvgDdrShowEye(0xF, 0), 0); });
    EXPECT_EQ(output.err, "");
    const unsigned channels = block_bases(generation).ddr_channels;
    size_t at = 0;
    for (unsigned channel = 0; channel < channels; ++channel) {
      SCOPED_TRACE(channel);
      at = output.out.find("ddr channel " + std::to_string(channel), at);
      ASSERT_NE(at, std::string::npos);
      const std::string text = output.out.substr(at);
      EXPECT_THAT(text, HasSubstr("PMU4: ======= Read Scanning (2D) of TG 0, CS 0x1, lanes 0x00f"));
      EXPECT_THAT(text, HasSubstr("PMU4: ======== Write Scanning (2D) of TG 0"));
      int write_max = 0, read_max = 0;
      const size_t line = text.find("set_2d_eye: ");
      ASSERT_EQ(sscanf(text.c_str() + line, "set_2d_eye: read_write_f:0 write_max:%d read_max:%d",
                       &write_max, &read_max),
                2);
      const std::string grids = text.substr(line);
      const Opening read = opening(grid(grids, "read", read_max), 15);
      const Opening write = opening(grid(grids, "write", write_max), 15);
      EXPECT_NEAR(read.middle, 58, 6);
      EXPECT_NEAR(read.rows, 40, 8);
      EXPECT_NEAR(write.middle, 46, 6);
      EXPECT_NEAR(write.rows, 34, 8);
      EXPECT_EQ(opening(grid(grids, "read", read_max), 0).rows, 0) << "closed at the side";
    }
  }
}

TEST_F(TrainingTest, ScriptsReplaceTheBuiltInTraining) {
  power(with_messages({{0x10003, {7, 8, 9}}, {0x7F0000, {}}}));
  ASSERT_GE(zvgRwOpen(0), 0);
  const auto output = zvgtest::capture([] { zvgDdrShowEye(1, 0); });
  EXPECT_THAT(output.out,
              HasSubstr("...\nPMU DEBUG: Vref index 7 less 8, taken in range index 9\n"));
}

TEST(TrainingMessages, AreTheSameForTheSameSeed) {
  TrainingSettings training;
  const auto ids_and_words = [&](unsigned channel) {
    std::vector<uint32_t> words;
    for (const TrainingMessage& message : training_messages(training, channel)) {
      words.push_back(message.id);
      words.insert(words.end(), message.arguments.begin(), message.arguments.end());
      EXPECT_EQ(message.arguments.size(), message.id & 0xFF);
    }
    return words;
  };
  const auto first = ids_and_words(0);
  EXPECT_EQ(ids_and_words(0), first);
  EXPECT_NE(ids_and_words(1), first);
  training.seed = 2;
  EXPECT_NE(ids_and_words(0), first);
}

}  // namespace
}  // namespace zvgsim
