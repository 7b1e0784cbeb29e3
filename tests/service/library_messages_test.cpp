#include "service/seam/library_messages.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <util_zvg.h>

#include "support/capture.h"

// The library's standard error.
extern "C" FILE* zvg_seam_stderr;

namespace {

using zvg::MessageTap;

TEST(MessageTapTest, PassesEverythingOnUnchanged) {
  const auto output = zvgtest::capture([] {
    const MessageTap tap({"Failed"});
    fprintf(zvg_seam_stderr, "one %d\n", 1);
    fprintf(zvg_seam_stderr, "no newline");
    fputs(" yet\n", zvg_seam_stderr);
  });
  EXPECT_EQ(output.err, "one 1\nno newline yet\n");
  EXPECT_EQ(output.out, "");
}

TEST(MessageTapTest, CountsLinesByTheirBeginning) {
  size_t count = 0;
  std::string first;
  zvgtest::capture([&] {
    const MessageTap tap({"Failed to read vram [", "other"});
    fprintf(zvg_seam_stderr, "Failed to read vram [0x%lx]\n", 0x10L);
    fprintf(zvg_seam_stderr, "It Failed to read vram [0x20]\n");
    fprintf(zvg_seam_stderr, "oth");
    fprintf(zvg_seam_stderr, "er\n");
    count = tap.count();
    first = tap.first();
  });
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(first, "Failed to read vram [0x10]");
}

TEST(MessageTapTest, SeesWhatTheLibraryPrints) {
  size_t count = 0;
  const auto output = zvgtest::capture([&] {
    const MessageTap tap({"No file descriptor"});
    zvgClose();
    count = tap.count();
  });
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(output.err, "No file descriptor is opened\n");
}

TEST(MessageTapTest, NestsAndGivesTheStreamBack) {
  size_t outer_count = 0;
  size_t inner_count = 0;
  const auto output = zvgtest::capture([&] {
    const MessageTap outer({"x"});
    {
      const MessageTap inner({"x"});
      fprintf(zvg_seam_stderr, "x\n");
      inner_count = inner.count();
    }
    fprintf(zvg_seam_stderr, "x\n");
    outer_count = outer.count();
  });
  const auto later = zvgtest::capture([] { fprintf(zvg_seam_stderr, "y\n"); });
  EXPECT_EQ(inner_count, 1u);
  EXPECT_EQ(outer_count, 2u);
  EXPECT_EQ(output.err, "x\nx\n");
  EXPECT_EQ(later.err, "y\n");
}

TEST(MessageTapTest, TellsItsHandlerAtOnce) {
  std::string told;
  zvgtest::capture([&] {
    const MessageTap tap({"x"}, [&](const std::string& line) { told = line; });
    fprintf(zvg_seam_stderr, "x marks\n");
    EXPECT_EQ(told, "x marks");
  });
}

}  // namespace
