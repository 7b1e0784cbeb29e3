// What the library prints goes to whoever wants it, and no stream of the process is touched.
#include "service/seam/output.h"

#include <gtest/gtest.h>
#include <util_zvg.h>

#include <filesystem>
#include <string>

#include "support/capture.h"
#include "support/scratch.h"

namespace {

using zvg::seam::Redirection;
using zvg::seam::Stream;

struct Heard {
  std::string out;
  std::string err;
  zvg::seam::Sink sink() {
    return [this](Stream stream, std::string_view text) {
      (stream == Stream::out ? out : err) += text;
    };
  }
};

// Prints a line on each stream.
void make_the_library_talk() {
  zvgClose();
  EXPECT_EQ(zvgZoomVideoInit(9, 0, 0, 0), -22);
}

constexpr char on_err[] = "No file descriptor is opened\n";
constexpr char on_out[] = "Zoom video error: invalid argument\n";

TEST(LibraryOutput, GoesToTheStandardStreamsOfItself) {
  const auto output = zvgtest::capture(make_the_library_talk);
  EXPECT_EQ(output.out, on_out);
  EXPECT_EQ(output.err, on_err);
}

TEST(LibraryOutput, GoesToTheSinkAloneWhileThereIsOne) {
  Heard heard;
  const auto output = zvgtest::capture([&] {
    const Redirection redirection(heard.sink());
    make_the_library_talk();
    puts("the program's own");
  });
  EXPECT_EQ(heard.out, on_out);
  EXPECT_EQ(heard.err, on_err);
  EXPECT_EQ(output.out, "the program's own\n");
  EXPECT_EQ(output.err, "");
}

TEST(LibraryOutput, GoesToTheInnermostWhichMayPassItOn) {
  Heard outer;
  Heard inner;
  const Redirection around(outer.sink());
  {
    const Redirection* self = nullptr;
    const Redirection within([&](Stream stream, std::string_view text) {
      inner.sink()(stream, text);
      if (stream == Stream::err) self->pass_on(stream, text);
    });
    self = &within;
    make_the_library_talk();
  }
  EXPECT_EQ(inner.out, on_out);
  EXPECT_EQ(inner.err, on_err);
  EXPECT_EQ(outer.out, "");
  EXPECT_EQ(outer.err, on_err);
  make_the_library_talk();
  EXPECT_EQ(outer.out, on_out);
}

TEST(LibraryFiles, ThatDidNotGetAllTheirBytesAreCounted) {
  // Every write to this device fails, as on a full disk.
  ASSERT_EQ(zvg::seam::file_failures().count, 0u);
  const zvgtest::Scratch scratch;
  std::filesystem::create_symlink("/dev/full", "axiMonitorData");
  const uint32_t record[ZVG_AXI_RQ301_TYPE2_WORDS] = {};
  monitorAxi2_to_file("port", record);
  EXPECT_EQ(zvg::seam::file_failures().count, 1u);
  EXPECT_NE(zvg::seam::file_failures().error, 0);
}

}  // namespace
