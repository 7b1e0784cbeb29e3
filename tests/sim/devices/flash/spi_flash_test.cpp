// The flash and its controller: from the data sheet's point of view, and with the library.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <numeric>
#include <tuple>

#include "devices/flash/flash_settings.h"
#include "devices/flash/nor_flash.h"
#include "support/board_fixture.h"
#include "support/capture.h"
#include "support/scratch.h"
#include "util_zvg.h"

namespace zvgsim {
namespace {

namespace fs = std::filesystem;
using zvgtest::BoardFixture;
using zvgtest::capture;
using zvgtest::Door;

// The chip alone --------------------------------------------------------------------------------

class NorFlashTest : public testing::Test {
 protected:
  using Bytes = std::vector<uint8_t>;

  void command(const Bytes& bytes, bool quad = false) { flash_.command(bytes, quad); }
  Bytes answer(const Bytes& bytes, size_t count, bool quad = false) {
    Bytes reply(count);
    flash_.answer(bytes, quad, reply);
    return reply;
  }
  uint8_t status() { return answer({0x05}, 1)[0]; }
  void erase_sector() {
    command({0x06});
    command({0x20, 0, 0, 0});
    pass(milliseconds(45));
  }
  void program(const Bytes& bytes, uint32_t at = 0) {
    command({0x06});
    Bytes all = {0x02, static_cast<uint8_t>(at >> 16), static_cast<uint8_t>(at >> 8),
                 static_cast<uint8_t>(at)};
    all.insert(all.end(), bytes.begin(), bytes.end());
    command(all);
    pass(microseconds(600));
  }
  Bytes content(uint32_t at, size_t count) {
    return {flash_.content().begin() + at, flash_.content().begin() + at + count};
  }
  void pass(uint64_t time) { clock_.sleep(time); }

  VirtualClock clock_{VirtualClock::Mode::virtual_time};
  FlashFaults faults_;
  NorFlash flash_{faults_, clock_, {}, ""};
};

TEST_F(NorFlashTest, ProgrammingOnlyClearsBits) {
  program({0xF0, 0x55});
  EXPECT_EQ(content(0, 3), (Bytes{0xF0, 0x55, 0xFF}));
  program({0x3C, 0xFF});
  EXPECT_EQ(content(0, 2), (Bytes{0x30, 0x55}));
  erase_sector();
  EXPECT_EQ(content(0, 2), (Bytes{0xFF, 0xFF}));
}

TEST_F(NorFlashTest, ProgrammingWrapsAtThePagesEnd) {
  program({1, 2, 3, 4}, 0x1FE);
  EXPECT_EQ(content(0x1FE, 3), (Bytes{1, 2, 0xFF}));
  EXPECT_EQ(content(0x100, 3), (Bytes{3, 4, 0xFF}));
}

TEST_F(NorFlashTest, NothingIsModifiedWithoutAWriteEnable) {
  command({0x02, 0, 0, 0, 0x00});
  EXPECT_EQ(content(0, 1), Bytes{0xFF});
  EXPECT_EQ(status(), 0);
  command({0x06});
  EXPECT_EQ(status(), 0x02);
  command({0x04});
  EXPECT_EQ(status(), 0x00);
  command({0x02, 0, 0, 0, 0x00});
  EXPECT_EQ(content(0, 1), Bytes{0xFF});
  program({0x00});
  EXPECT_EQ(status(), 0x00) << "a program spends the write enable";
}

TEST_F(NorFlashTest, IsDeafWhileItIsBusy) {
  command({0x06});
  command({0x20, 0, 0x12, 0x34});
  EXPECT_EQ(status() & 1, 1);
  command({0x06});
  EXPECT_EQ(status() & 2, 0);
  EXPECT_EQ(answer({0x03, 0, 0, 0}, 1), Bytes{0xFF});
  pass(milliseconds(45));
  EXPECT_EQ(status(), 0);
}

TEST_F(NorFlashTest, EraseSizes) {
  const struct {
    Bytes command;
    uint32_t first, length;
    uint64_t time;
  } rows[] = {{{0x20, 0x01, 0x23, 0x45}, 0x12000, 0x1000, milliseconds(45)},
              {{0x52, 0x01, 0x9F, 0xFF}, 0x18000, 0x8000, milliseconds(120)},
              {{0xD8, 0x01, 0x9F, 0xFF}, 0x10000, 0x10000, milliseconds(150)},
              {{0x60}, 0, NorFlash::size, seconds(4)}};
  for (const auto& row : rows) {
    for (const uint32_t at : {row.first, row.first + row.length - 1}) program({0x00}, at);
    if (row.first != 0) program({0x00}, row.first - 1);
    command({0x06});
    command(row.command);
    pass(row.time - 1);
    EXPECT_EQ(status() & 1, 1);
    pass(1);
    EXPECT_EQ(status() & 1, 0);
    EXPECT_EQ(content(row.first, 1), Bytes{0xFF});
    EXPECT_EQ(content(row.first + row.length - 1, 1), Bytes{0xFF});
    if (row.first != 0) {
      EXPECT_EQ(content(row.first - 1, 1), Bytes{0x00});
    }
  }
}

TEST_F(NorFlashTest, StatusRegistersForNowAndForGood) {
  command({0x01, 0x1C, 0x02});
  EXPECT_EQ(answer({0x35}, 1), Bytes{0}) << "needs an enable";
  command({0x50});
  command({0x01, 0x18, 0x02});
  EXPECT_EQ(status(), 0x18) << "at once";
  EXPECT_EQ(answer({0x35}, 1), Bytes{2});
  command({0x06});
  command({0x01, 0x00, 0x00});
  EXPECT_EQ(status() & 1, 1);
  pass(milliseconds(5));
  EXPECT_EQ(status(), 0);
}

TEST_F(NorFlashTest, ProtectionRefuses) {
  command({0x50});
  command({0x01, 0x18, 0x00});
  program({0x00});
  EXPECT_EQ(content(0, 1), Bytes{0xFF});
  command({0x50});
  command({0x01, 0x00, 0x00});
  program({0x00});
  EXPECT_EQ(content(0, 1), Bytes{0x00});
  command({0x50});
  command({0x01, 0x18, 0x00});
  erase_sector();
  EXPECT_EQ(content(0, 1), Bytes{0x00});
}

TEST_F(NorFlashTest, QuadNeedsItsEnableAndItsLines) {
  program({0x5A});
  EXPECT_EQ(answer({0x6B, 0, 0, 0}, 1, true), Bytes{0xFF});
  command({0x50});
  command({0x01, 0x00, 0x02});
  EXPECT_EQ(answer({0x6B, 0, 0, 0}, 1, true), Bytes{0x5A});
  EXPECT_EQ(answer({0x6B, 0, 0, 0}, 1, false), Bytes{0xFF});
  EXPECT_EQ(answer({0x03, 0, 0, 0}, 1, true), Bytes{0xFF});
  command({0x06});
  command({0x32, 0, 0, 0x10, 0x77}, true);
  EXPECT_EQ(content(0x10, 1), Bytes{0x77});
}

TEST_F(NorFlashTest, ContinuousReadTakesNoCommands) {
  flash_.enter_continuous_read();
  program({0x00});
  EXPECT_EQ(answer({0x05}, 1), Bytes{0xFF});
  flash_.leave_continuous_read();
  EXPECT_EQ(content(0, 1), Bytes{0xFF});
  EXPECT_EQ(status(), 0);
}

TEST_F(NorFlashTest, ReadsWrapAtTheEnd) {
  program({0x11}, NorFlash::size - 1);
  program({0x22}, 0);
  EXPECT_EQ(answer({0x03, 0x1F, 0xFF, 0xFF}, 2), (Bytes{0x11, 0x22}));
}

TEST_F(NorFlashTest, Faults) {
  faults_.bad_byte = 1;
  program({0x00, 0x00, 0x00});
  EXPECT_EQ(content(0, 3), (Bytes{0x00, 0xFF, 0x00}));
  faults_.lost_write_enable = 2;
  program({0x00}, 0x10);
  EXPECT_EQ(content(0x10, 1), Bytes{0xFF});
  program({0x00}, 0x10);
  EXPECT_EQ(content(0x10, 1), Bytes{0x00});
  faults_.stays_busy = true;
  EXPECT_EQ(status() & 1, 1);
}

TEST_F(NorFlashTest, APowerCutLeavesThingsHalfDone) {
  program({0x00}, 0x000);
  program({0x00}, 0xFFF);
  command({0x06});
  command({0x20, 0, 0, 0});
  pass(milliseconds(10));
  flash_.cut_power();
  EXPECT_EQ(content(0, 1), Bytes{0xFF});
  EXPECT_EQ(content(0xFFF, 1), Bytes{0x00});
  EXPECT_EQ(answer({0x05}, 1), Bytes{0xFF});
  program({0x00}, 0x1000);
  EXPECT_EQ(content(0x1000, 1), Bytes{0xFF});
}

// On the board ----------------------------------------------------------------------------------

class SpiFlash : public BoardFixture,
                 public testing::WithParamInterface<std::tuple<Generation, Door>> {
 protected:
  BoardConfig config() override {
    BoardConfig config;
    config.generation = std::get<Generation>(GetParam());
    auto& flash = config.of<FlashSettings>();
    flash.image = scratch_.path("flash.img");
    flash.serial = "ZVG-2026-0417";
    flash.edids = {{3, std::vector<uint8_t>(128, 0x5A)}, {1, ramp(256)}};
    return config;
  }
  void SetUp() override {
    BoardFixture::SetUp();
    open_through(std::get<Door>(GetParam()));
  }
  static std::vector<uint8_t> ramp(size_t size) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + i / 256 + 1);
    return bytes;
  }
  std::vector<uint8_t> image() const {
    std::ifstream file(scratch_.path("flash.img"), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static std::vector<uint8_t> read(uint32_t at, int length) {
    std::vector<uint32_t> words((static_cast<size_t>(length) + 3) / 4);
    capture([&] { EXPECT_EQ(zvgSpiReadBuffer(words.data(), at, length), 0); });
    const auto* const bytes = reinterpret_cast<const uint8_t*>(words.data());
    return {bytes, bytes + length};
  }

  zvgtest::Scratch scratch_;
};

TEST_P(SpiFlash, ErasesProgramsAndVerifies) {
  const auto bytes = ramp(5000);
  std::vector<uint32_t> words(1250);
  memcpy(words.data(), bytes.data(), bytes.size());
  const auto output = capture([&] {
    EXPECT_EQ(zvgSpiErase(0x10000, 0x19000), 0);
    EXPECT_EQ(zvgSpiProgram(words.data(), 0x10000, 5000), 0);
    EXPECT_EQ(zvgSpiProgramStandard(bytes.data(), 0x20000, 1000), 0);
    EXPECT_EQ(zvgSpiCheckData(bytes.data(), 0x10000, 5000), 0);
    EXPECT_EQ(zvgSpiCheckDataStandard(bytes.data(), 0x10000, 5000), 0);
  });
  EXPECT_EQ(output.out.find("ERROR"), std::string::npos) << output.out;
  EXPECT_EQ(read(0x10000, 5000), bytes);
  EXPECT_EQ(read(0x20000, 1000), ramp(1000));
  std::vector<uint8_t> standard(300), debug(300);
  capture([&] { EXPECT_EQ(zvgSpiReadBufferStandard(standard.data(), 0x10007, 300), 0); });
  EXPECT_TRUE(std::equal(standard.begin(), standard.end(), bytes.begin() + 7));
  capture([&] {
    EXPECT_EQ(zvgSpiDebugRead(reinterpret_cast<uint32_t*>(debug.data()), 0x10100, 300), 0);
  });
  EXPECT_TRUE(std::equal(debug.begin(), debug.end(), bytes.begin() + 0x100));
}

TEST_P(SpiFlash, KeepsItsContentInTheImage) {
  capture([&] { zvgSpiEraseSector(0x5000); });
  const std::vector<uint32_t> words(64, 0x01020304);
  capture([&] { zvgSpiProgram(words.data(), 0x5000, 256); });
  power_up(config());
  EXPECT_EQ(image().size(), NorFlash::size);
  EXPECT_EQ(image()[0x5000], 0x04);
  EXPECT_FALSE(fs::exists(scratch_.path("flash.img.new")));
  open_through(std::get<Door>(GetParam()));
  EXPECT_EQ(read(0x50FC, 4), (std::vector<uint8_t>{4, 3, 2, 1}));
}

TEST_P(SpiFlash, HoldsTheBoardsRecords) {
  char serial[64] = {};
  board_info_edid_request request = {};
  request.output = 1;
  capture([&] {
    EXPECT_EQ(zvgSnRead(serial, sizeof serial), 0);
    EXPECT_EQ(board_info_image_handle(&request), 0);
  });
  EXPECT_STREQ(serial, "ZVG-2026-0417");
  EXPECT_TRUE(std::equal(request.edid, request.edid + 256, ramp(256).begin()));
}

TEST_P(SpiFlash, StatusCommands) {
  const auto output = capture([] {
    EXPECT_EQ(zvgSpiEnableReg(0x50), 0);
    EXPECT_EQ(zvgSpiWriteStatusReg(2), 0);
    EXPECT_EQ(zvgSpiReadStatusReg(0x35), 0);
    EXPECT_EQ(zvgSpiReadStatusReg(0x05), 0);
    EXPECT_EQ(zvgSpiProtect(), 0);
    EXPECT_EQ(zvgSpiUnprotect(), 0);
  });
  EXPECT_NE(output.out.find("35H(SR) = 0x2\n"), std::string::npos) << output.out;
}

TEST_P(SpiFlash, ProtectionKeepsAnEraseAway) {
  const std::vector<uint32_t> words(64, 0);
  capture([&, this] {
    zvgSpiProgram(words.data(), 0x9000, 256);
    EXPECT_EQ(zvgSpiProtect(), 0);
    clock().sleep(milliseconds(10));
    zvgSpiEraseSector(0x9000);
  });
  EXPECT_EQ(read(0x9000, 1)[0], 0x00);
}

TEST_P(SpiFlash, AStuckFlashEndsEveryWait) {
  faults().of<FlashFaults>().stays_busy = true;
  const auto output = capture([] {
    uint32_t word;
    EXPECT_EQ(zvgSpiReadBuffer(&word, 0, 4), -1);
    EXPECT_EQ(zvgSpiEraseSector(0), -1);
    EXPECT_EQ(zvgSpiProgram(&word, 0, 4), -1);
  });
  EXPECT_NE(output.out.find("SPI 4KB ERASE ERROR"), std::string::npos);
}

TEST_P(SpiFlash, APowerCutEndsAProgramThere) {
  capture([] { zvgSpiEraseSector(0x3000); });
  faults().of<FlashFaults>().power_cut_at_frame = 0;
  const std::vector<uint32_t> words(1024, 0);
  uint64_t frame = 0;
  // Count the frames of a whole program, then cut one in its middle on another board.
  trace().start();
  capture([&] { zvgSpiProgram(words.data(), 0x3000, 4096); });
  for (const std::string& line : trace().take()) {
    frame += line.starts_with("w4") && line.find("ac60 ") != std::string::npos ? 1 : 0;
  }
  BoardConfig cut = config();
  cut.of<FlashSettings>().image = scratch_.path("cut.img");
  cut.faults.of<FlashFaults>().power_cut_at_frame = frame / 3;
  power_up(cut);
  open_through(std::get<Door>(GetParam()));
  const auto output = capture([&] { EXPECT_EQ(zvgSpiProgram(words.data(), 0x3000, 4096), -1); });
  EXPECT_NE(output.out.find("SPI PROGRAM ERROR"), std::string::npos);
  std::ifstream file(scratch_.path("cut.img"), std::ios::binary);
  std::vector<uint8_t> left((std::istreambuf_iterator<char>(file)), {});
  ASSERT_EQ(left.size(), NorFlash::size);
  EXPECT_EQ(left[0x3000], 0x00);
  EXPECT_EQ(left[0x3FFF], 0xFF);
}

INSTANTIATE_TEST_SUITE_P(Generations, SpiFlash,
                         testing::Combine(testing::Values(Generation::rq300, Generation::rq301,
                                                          Generation::rq302),
                                          testing::Values(Door::driver, Door::aperture)),
                         [](const auto& instance) {
                           return std::string(name(std::get<Generation>(instance.param))) + "By" +
                                  name(std::get<Door>(instance.param));
                         });

// What a quad read of 1 MiB costs: the words themselves, and little around them.
TEST(SpiFlashAccesses, AQuadReadTakesLittleMoreThanItsWords) {
  BoardConfig config;
  config.generation = Generation::rq301;
  Machine machine(config);
  Doors doors(machine);
  mount_doors(doors, machine);
  ASSERT_GE(zvgRwOpen(0), 0);
  std::vector<uint32_t> words(1 << 18);
  capture([&] { zvgSpiReadBuffer(words.data(), 0, 4); });
  machine.trace().start();
  capture([&] { EXPECT_EQ(zvgSpiReadBuffer(words.data(), 0, 1 << 20), 0); });
  const double accesses = static_cast<double>(machine.trace().take().size());
  EXPECT_LE(accesses / static_cast<double>(words.size()), 1.6);
  zvgClose();
  unmount_all();
}

TEST(SpiFlashImage, AWrongImageIsRefused) {
  const zvgtest::Scratch scratch;
  BoardConfig config;
  auto& flash = config.of<FlashSettings>();
  flash.image = scratch.path("short.img");
  std::ofstream(flash.image) << "short";
  EXPECT_THROW(Machine{config}, std::runtime_error);
  flash.image = scratch.path("none/flash.img");
  EXPECT_NO_THROW(Machine{config}) << "made when something is written";
}

}  // namespace
}  // namespace zvgsim
