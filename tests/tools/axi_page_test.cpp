// The report page of axi sampling as a browser shows it.
#include <cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <map>

#include "service/axi/axi_tables.h"
#include "tools/zvgctl_process.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using zvgtest::Folder;
using zvgtest::Result;

constexpr int page_width = 1400;
constexpr int page_height = 3300;

class AxiPage : public testing::Test {
 protected:
  void SetUp() override {
    if (zvgtest::run({"/bin/sh", "-c", "command -v chromium"}).exit != 0) {
      GTEST_SKIP() << "chromium is not installed (Debian's package): the page was not opened";
    }
  }

  // A page of a run on the virtual board.
  void make_page(int samples) {
    Result result = zvgtest::zvgctl_sim("axi sample --count " + std::to_string(samples) + " -o " +
                                        folder_.path("traffic"));
    ASSERT_EQ(result.exit, 0) << result.err;
    result = zvgtest::zvgctl("axi report " + folder_.path("traffic") + " -o " +
                             folder_.path("page.html"));
    ASSERT_EQ(result.exit, 0) << result.err;
  }

  Result open(const std::string& what) {
    zvgtest::Setting setting;
    setting.environment = {{"HOME", folder_.path(".")}};
    return zvgtest::run(
        {"/usr/bin/env", "chromium", "--headless", "--no-sandbox", "--disable-gpu",
         "--disable-dev-shm-usage", "--hide-scrollbars", "--force-device-scale-factor=1",
         "--window-size=" + std::to_string(page_width) + "," + std::to_string(page_height),
         "--virtual-time-budget=10000", "--enable-logging=stderr", what,
         "file://" + folder_.path("page.html")},
        setting);
  }

  Folder folder_;
};

// Pixels of write and of read curves in each band of the picture's height.
struct Ink {
  int write = 0;
  int read = 0;
};

class Picture {
 public:
  explicit Picture(const std::string& path)
      : surface_(cairo_image_surface_create_from_png(path.c_str())) {}
  ~Picture() { cairo_surface_destroy(surface_); }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  bool good() const { return cairo_surface_status(surface_) == CAIRO_STATUS_SUCCESS; }
  int height() const { return cairo_image_surface_get_height(surface_); }

  Ink ink(int left, int right, int top, int bottom) const {
    Ink ink;
    const unsigned char* const data = cairo_image_surface_get_data(surface_);
    for (int y = top; y < bottom; ++y) {
      const auto* const row =
          reinterpret_cast<const uint32_t*>(data + y * cairo_image_surface_get_stride(surface_));
      for (int x = left; x < right; ++x) {
        const int red = row[x] >> 16 & 0xFF, green = row[x] >> 8 & 0xFF, blue = row[x] & 0xFF;
        if (red > 150 && green < 130 && blue < 90) ++ink.write;
        if (blue > 170 && red < 110 && green < 130) ++ink.read;
      }
    }
    return ink;
  }

 private:
  cairo_surface_t* surface_;
};

TEST_F(AxiPage, HasACurveForEveryPortAndNoError) {
  for (const int samples : {40, 900}) {  // as they are, and thinned
    SCOPED_TRACE(samples);
    std::filesystem::remove_all(folder_.path("traffic"));
    std::filesystem::remove(folder_.path("page.html"));
    make_page(samples);
    const Result dom = open("--dump-dom");
    ASSERT_EQ(dom.exit, 0) << dom.err;
    EXPECT_THAT(dom.err, Not(HasSubstr("CONSOLE"))) << dom.err;
    EXPECT_THAT(dom.out, HasSubstr("data-done=\"66\"")) << "three charts a port";
    for (const std::string_view port : zvg::rq302_axi_ports) {
      const bool reads_only = port.starts_with("VGA_");
      const std::string id = "id=\"port-" + std::string(port) + "\"";
      const size_t at = dom.out.find(id);
      ASSERT_NE(at, std::string::npos) << port;
      EXPECT_THAT(dom.out.substr(at, 80),
                  HasSubstr(std::string("data-curves=\"") + (reads_only ? "4" : "8") + "\""))
          << port;
    }
    EXPECT_THAT(dom.out, HasSubstr("The timeout bit was set on 1 port:"));
    EXPECT_THAT(dom.out, HasSubstr("<a href=\"#port-DDRC1_2\">DDRC1_2</a>"));
    EXPECT_EQ(dom.out.find("<p>There are more samples than a chart can show") != std::string::npos,
              samples > 600);

    const Result shot = open("--screenshot=" + folder_.path("page.png"));
    ASSERT_EQ(shot.exit, 0) << shot.err;
    if (const char* keep = getenv("ZVG_KEEP_PICTURES")) {
      std::filesystem::copy_file(folder_.path("page.png"),
                                 std::string(keep) + "/axi-" + std::to_string(samples) + ".png",
                                 std::filesystem::copy_options::overwrite_existing);
    }
    const Picture picture(folder_.path("page.png"));
    ASSERT_TRUE(picture.good());
    ASSERT_EQ(picture.height(), page_height);
    // The charts lie in three columns of rows of one height, below the notes.
    constexpr int row_height = 131;
    const int first_row = samples > 600 ? 256 : 204;
    int row = 0;
    for (const std::string_view port : zvg::rq302_axi_ports) {
      const int top = first_row + row++ * row_height;
      for (int column = 0; column < 3; ++column) {
        const int left = 150 + column * 410;
        const Ink ink = picture.ink(left, left + 380, top + 8, top + row_height - 12);
        // The latency of a port that is mostly idle is a few dots.
        const bool sparse = column == 1;
        EXPECT_GT(ink.read, sparse ? 0 : 30) << port << " column " << column;
        if (!port.starts_with("VGA_") && port != "3D0" && !port.starts_with("DDRC")) {
          EXPECT_GT(ink.write, sparse ? 0 : 10) << port << " column " << column;
        }
      }
    }
  }
}

}  // namespace
