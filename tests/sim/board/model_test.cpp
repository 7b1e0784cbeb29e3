// A model declares itself: a list with a model of the test's own, and a board with nothing else.
#include "board/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "board/board.h"
#include "board/board_file.h"
#include "board/file_table.h"
#include "support/scratch.h"

namespace zvgsim {
namespace {

using testing::ElementsAre;
using testing::EndsWith;

struct LampSettings {
  unsigned watts = 40;
};
struct LampFaults {
  bool burnt_out = false;
};

// Others on the board look for it.
struct Fuse {
  unsigned watts = 0;
};

class Lamp : public Device {
 public:
  explicit Lamp(Board& board)
      : settings_(board.config().of<LampSettings>()), faults_(board.faults().of<LampFaults>()) {}
  uint64_t read(uint64_t, unsigned) override { return faults_.burnt_out ? 0 : settings_.watts; }
  void write(uint64_t, unsigned, uint64_t) override {}

 private:
  const LampSettings& settings_;
  const LampFaults& faults_;
};

constexpr Model fuse = {.place = [](Board& board) { board.add_part<Fuse>(); }};

constexpr Model lamp = {
    .read =
        [](FileTable& root, BoardConfig& config) {
          root.table("lamp", [&](FileTable& table) {
            table.number("watts", &config.of<LampSettings>().watts, 1, 100);
          });
        },
    .read_faults =
        [](FileTable& faults, FaultConfig& config) {
          faults.table("lamp", [&](FileTable& table) {
            table.boolean("burnt_out", &config.of<LampFaults>().burnt_out);
          });
        },
    .place =
        [](Board& board) {
          board.attach(0x1000, 0x400, std::make_unique<Lamp>(board));
          board.part<Fuse>().watts += board.config().of<LampSettings>().watts;
        },
};

constexpr Model models[] = {fuse, lamp};

class ModelTest : public testing::Test {
 protected:
  BoardConfig load(const std::string& text) {
    const std::string file = scratch_.path("board.toml");
    std::ofstream(file) << text;
    return load_board_file(file, models);
  }

  zvgtest::Scratch scratch_;
  VirtualClock clock_{VirtualClock::Mode::virtual_time};
  AccessTrace trace_;
};

TEST_F(ModelTest, ReadsItsSectionAndStandsOnTheBoard) {
  const BoardConfig config = load("[lamp]\nwatts = 60\n");
  FaultPlan faults(config.faults);
  Board board(config, models, clock_, trace_, faults);
  EXPECT_EQ(board.read(Space::mmio, 0x1010, 4), 60u);
  EXPECT_EQ(board.read(Space::mmio, 0x2000, 4), 0u) << "nothing else is on it";
  EXPECT_EQ(board.part<Fuse>().watts, 60u);
}

TEST_F(ModelTest, ItsFaultsMayComeAndGo) {
  const BoardConfig config = load("[faults.lamp]\nburnt_out = true\n");
  FaultPlan faults(config.faults);
  Board board(config, models, clock_, trace_, faults);
  EXPECT_EQ(board.read(Space::mmio, 0x1000, 4), 0u);
  faults.of<LampFaults>().burnt_out = false;
  EXPECT_EQ(board.read(Space::mmio, 0x1000, 4), 40u);
}

TEST_F(ModelTest, ItsKeysAreCheckedAsAllOthers) {
  try {
    load("[lamp]\nwatts = 0\nwats = 5\n[lam]\n[hdmi]\n");
    FAIL() << "accepted";
  } catch (const BoardFileError& failure) {
    EXPECT_THAT(failure.problems(),
                ElementsAre(EndsWith(":2: lamp.watts: expected a number from 1 to 100, found 0"),
                            EndsWith(":3: lamp.wats: unknown key; did you mean 'watts'?"),
                            EndsWith(":5: hdmi: unknown key; known here: description generation "
                                     "cards versions cores memory engines aperture kernel uart "
                                     "lamp registers faults"),
                            EndsWith(":4: lam: unknown key; did you mean 'lamp'?")));
  }
}

}  // namespace
}  // namespace zvgsim
