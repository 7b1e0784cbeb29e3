// Writes to the flash that the power cuts off, at one frame after the other, and the same write
// again.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "devices/flash/flash_settings.h"
#include "service/board/error.h"
#include "service/flash/board_info_chain.h"
#include "service/flash/flash_service.h"
#include "support/board_fixture.h"
#include "support/scratch.h"
#include "util_zvg.h"

namespace {

using zvgsim::BoardConfig;
using zvgsim::Generation;
using Bytes = std::vector<uint8_t>;

class FlashCut : public zvgtest::BoardFixture, public testing::WithParamInterface<Generation> {
 protected:
  static Bytes bytes(size_t size, unsigned seed) {
    Bytes all(size);
    for (size_t i = 0; i < size; ++i) {
      all[i] = static_cast<uint8_t>(i % 5 == 0 ? 0 : (i * 131 + i / 251 * 7 + seed) % 255);
    }
    return all;
  }
  // A board on the image as it is, whose power goes at that frame; 0: it stays.
  void board(unsigned cut_at) {
    BoardConfig config;
    config.generation = GetParam();
    config.of<zvgsim::FlashSettings>().image = image_;
    config.faults.of<zvgsim::FlashFaults>().power_cut_at_frame = cut_at;
    power_up(config);
    ASSERT_GE(zvgRwOpen(0), 0);
  }
  void put_image(const Bytes& begin) {
    power_up({});  // the board before keeps its content first
    Bytes all(zvg::flash_size, 0xFF);
    std::copy(begin.begin(), begin.end(), all.begin());
    std::ofstream(image_, std::ios::binary)
        .write(reinterpret_cast<const char*>(all.data()), static_cast<std::streamsize>(all.size()));
  }
  Bytes content(uint32_t size) { return zvg::read_flash({0, size}); }

  // Whether the write got through.
  static bool tried(const std::function<void()>& write) {
    try {
      write();
      return true;
    } catch (const zvg::Error&) {
      return false;
    }
  }
  // Every frame at first, then one in 37: most of them are reads and data.
  static unsigned next(unsigned frame) { return frame + (frame < 60 ? 1 : 37); }

  const zvgtest::Scratch scratch_;
  const std::string image_ = scratch_.path("flash.img");
  const zvg::FlashWriteFiles files_ = {"", scratch_.path("a.bin.unfinished")};
};

// Part of a sector: its neighbours are erased with it, and come back.
TEST_P(FlashCut, AWriteIsFinishedByTheSameWrite) {
  const Bytes before = bytes(0x3000, 11), written = bytes(400, 12);
  Bytes wanted = before;
  std::copy(written.begin(), written.end(), wanted.begin() + 0x1100);
  const auto write = [&] { zvg::write_flash(0x1100, written, files_); };
  unsigned cuts = 0;
  for (unsigned frame = 1;; frame = next(frame)) {
    ASSERT_LT(frame, 20000u);
    put_image(before);
    board(frame);
    if (tried(write)) break;
    ++cuts;
    board(0);
    const Bytes left = content(0x3000);
    ASSERT_TRUE(std::equal(left.begin(), left.begin() + 0x1000, before.begin())) << frame;
    ASSERT_TRUE(std::equal(left.begin() + 0x2000, left.end(), before.begin() + 0x2000)) << frame;
    ASSERT_TRUE(tried(write)) << frame;
    ASSERT_EQ(content(0x3000), wanted) << frame;
    ASSERT_FALSE(std::filesystem::exists(files_.journal));
  }
  EXPECT_GT(cuts, 60u);
}

// Board data is read from the flash, changed and written: its other entries survive a cut.
TEST_P(FlashCut, AnEdidIsStoredByTheSameCommand) {
  using zvg::BoardInfoChain;
  constexpr zvg::FlashRegion area = {BoardInfoChain::first_sector, BoardInfoChain::sectors_size};
  const Bytes first = bytes(128, 1), second = bytes(256, 2);
  const auto set = [&](uint16_t output, const Bytes& edid) {
    BoardInfoChain chain(zvg::settled_content(area, files_.journal));
    chain.set_edid(output, edid);
    zvg::write_flash(area.address, chain.bytes(), files_);
  };
  unsigned cuts = 0;
  for (unsigned frame = 1;; frame = next(frame)) {
    ASSERT_LT(frame, 200000u);
    power_up({});
    std::filesystem::remove(image_);
    board(0);
    set(7, first);
    board(frame);
    if (tried([&] { set(1, second); })) break;
    ++cuts;
    board(0);
    ASSERT_TRUE(tried([&] { set(1, second); })) << frame;
    const auto entries = BoardInfoChain(zvg::read_flash(area)).entries();
    ASSERT_EQ(entries.size(), 2u) << frame;
    ASSERT_EQ(entries[0].data, first);
    ASSERT_EQ(entries[1].data, second);
    // The library reads them as well.
    board_info_edid_request request = {};
    request.output = 1;
    testing::internal::CaptureStdout();
    board_info_image_handle(&request);
    testing::internal::GetCapturedStdout();
    ASSERT_TRUE(std::equal(second.begin(), second.end(), request.edid));
  }
  EXPECT_GT(cuts, 60u);
}

INSTANTIATE_TEST_SUITE_P(Generations, FlashCut,
                         testing::Values(Generation::rq301, Generation::rq302));

}  // namespace
