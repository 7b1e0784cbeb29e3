#include "board/access_trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zvgsim {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(AccessTrace, IsOffAtFirst) {
  AccessTrace trace;
  trace.record({Space::mmio, false, 4, 0, 0});
  trace.note("nothing");
  EXPECT_THAT(trace.entries(), IsEmpty());
}

TEST(AccessTrace, KeepsOrderAndFields) {
  AccessTrace trace;
  trace.start();
  trace.record({Space::mmio, false, 4, 0x110105, 2});
  trace.record({Space::vram, true, 8, 0xFFFFFF8, UINT64_MAX});
  trace.note("request 0x07");
  trace.record({Space::pci, false, 4, 0x10, 1, 3});
  trace.stop();
  trace.record({Space::mmio, false, 1, 1, 1});
  EXPECT_THAT(trace.lines(),
              ElementsAre("r4 mmio 0x110105 0x2", "w8 vram 0xffffff8 0xffffffffffffffff",
                          "# request 0x07", "card 3: r4 pci 0x10 0x1"));
  EXPECT_EQ(trace.entries()[1], (Access{Space::vram, true, 8, 0xFFFFFF8, UINT64_MAX}));
}

TEST(AccessTrace, TakeForgets) {
  AccessTrace trace;
  trace.start();
  trace.record({Space::kmem, true, 2, 0x20, 5});
  EXPECT_THAT(trace.take(), ElementsAre("w2 kmem 0x20 0x5"));
  EXPECT_THAT(trace.take(), IsEmpty());
  trace.record({Space::ioport, false, 1, 0xC0, 0});
  EXPECT_THAT(trace.take(), ElementsAre("r1 ioport 0xc0 0x0"));
}

TEST(AccessTrace, GoesToAFileLineByLine) {
  FILE* const file = tmpfile();
  ASSERT_NE(file, nullptr);
  AccessTrace trace;
  trace.start(file);
  trace.record({Space::bus, true, 1, 0x8000000000, 0xAB});
  trace.note("note");
  EXPECT_THAT(trace.entries(), IsEmpty());
  char text[128] = "";
  rewind(file);
  const size_t size = fread(text, 1, sizeof text - 1, file);
  EXPECT_EQ(std::string(text, size), "w1 bus 0x8000000000 0xab\n# note\n");
  fclose(file);
}

}  // namespace
}  // namespace zvgsim
