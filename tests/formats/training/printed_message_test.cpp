// Arguments that are read back from a printed line.
#include "formats/training/printed_message.h"

#include <gtest/gtest.h>

#include <optional>
#include <string_view>
#include <vector>

namespace {

using Values = std::vector<uint32_t>;

std::optional<Values> read(std::string_view format, std::string_view line, size_t room = 8) {
  Values values(room);
  const auto count = zvg::formats::training::read_printed(format, line, values);
  if (!count) return std::nullopt;
  values.resize(*count);
  return values;
}

constexpr char row[] = "PMU4: %3d >%3d< %x%%\n";

TEST(PrintedLines, GiveTheirArgumentsBack) {
  EXPECT_EQ(read(row, "PMU4:   1 >128< ff%"), Values({1, 128, 255}));
  EXPECT_EQ(read(row, "PMU4:  -1 >1000< 0%"), Values({0xFFFFFFFF, 1000, 0}));
}

TEST(PrintedLines, MayHaveSomethingInFront) {
  EXPECT_EQ(read(row, "03 PMU4:   1 >2< 3%"), Values({1, 2, 3}));
  EXPECT_EQ(read(row, "PMUPMU4: 1 >2< 3%"), Values({1, 2, 3}));
}

TEST(PrintedLines, EndWithTheirMessage) {
  EXPECT_EQ(read(row, "PMU4:   1 >128< ff% "), std::nullopt);
  EXPECT_EQ(read(row, "PMU4:   1 >128<"), std::nullopt);
  EXPECT_EQ(read(row, "PMU4:   1 >128< ff"), std::nullopt);
}

TEST(PrintedLines, OfOtherMessagesAreNone) {
  EXPECT_EQ(read(row, "PMU4: x >1< 1%"), std::nullopt);
  EXPECT_EQ(read(row, "PMU5: 1 >1< 1%"), std::nullopt);
  EXPECT_EQ(read(row, "PMU4: 1 >1> 1%"), std::nullopt);
  EXPECT_EQ(read(row, ""), std::nullopt);
}

TEST(PrintedLines, WithoutNumbersAreTheTextItself) {
  EXPECT_EQ(read("PMU: 100%% done\n", "PMU: 100% done"), Values());
  EXPECT_EQ(read("PMU: 100%% done\n", "PMU: 100%% done"), std::nullopt);
  EXPECT_EQ(read("", ""), Values());
  EXPECT_EQ(read("\n", "text"), std::nullopt) << "what stands in front is never taken alone";
}

TEST(PrintedLines, MayBeginOrEndWithANumber) {
  EXPECT_EQ(read("%d to %u", "  12 to 4294967295"), Values({12, 4294967295}));
  EXPECT_EQ(read("%08X", "0000beef"), Values({0xBEEF}));
}

TEST(PrintedLines, NeedRoomForTheirArguments) {
  EXPECT_EQ(read(row, "PMU4:   1 >2< 3%", 3), Values({1, 2, 3}));
  EXPECT_EQ(read(row, "PMU4:   1 >2< 3%", 2), std::nullopt);
}

TEST(PrintedLines, SurviveAFormatThatBreaksOff) {
  EXPECT_EQ(read("PMU: %", "PMU: 7"), Values({7}));
  EXPECT_EQ(read("PMU: %3", "PMU: x"), std::nullopt);
}

}  // namespace
