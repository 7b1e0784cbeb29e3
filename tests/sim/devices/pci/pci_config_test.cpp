#include "devices/pci/pci_config.h"

#include <gtest/gtest.h>

#include "devices/pci/pci_settings.h"
#include "machine/machine.h"

namespace zvgsim {
namespace {

uint32_t in(Board& board, uint32_t offset) {
  return static_cast<uint32_t>(board.read(Space::pci, offset, 4));
}

TEST(PciConfigTest, HeaderDescribesADisplayController) {
  BoardConfig config;
  config.of<PciSettings>() = {0x1111, 0x2222, 0x3333, 0x4444, 0x05};
  config.aperture = {0xE0000000, 0xD0000000};
  Machine machine(config);
  Board& board = machine.card();
  EXPECT_EQ(in(board, 0x00), 0x22221111u);
  EXPECT_EQ(in(board, 0x04), 0x00000007u) << "I/O, memory and bus master are on";
  EXPECT_EQ(in(board, 0x08), 0x03000005u) << "VGA controller, revision 5";
  EXPECT_EQ(in(board, 0x0C), 0u) << "header type 0";
  EXPECT_EQ(in(board, 0x10), 0xD0000008u) << "BAR 0: video memory, prefetchable";
  EXPECT_EQ(in(board, 0x14), 0u);
  EXPECT_EQ(in(board, 0x18), 0xE0000000u) << "BAR 2: registers";
  EXPECT_EQ(in(board, 0x2C), 0x44443333u);
  EXPECT_EQ(in(board, 0x3C), 0x00000100u) << "INTA";
  EXPECT_EQ(in(board, 0xFFC), 0u);
}

TEST(PciConfigTest, DeviceIdFollowsTheGeneration) {
  for (const auto& [generation, id] :
       {std::pair{Generation::rq300, 0x0300u}, std::pair{Generation::rq301, 0x0301u},
        std::pair{Generation::rq302, 0x0302u}}) {
    BoardConfig config;
    config.generation = generation;
    Machine machine(config);
    EXPECT_EQ(in(machine.card(), 0) >> 16, id);
  }
}

TEST(PciConfigTest, BarsTellTheirSize) {
  Machine machine{BoardConfig{}};
  Board& board = machine.card();
  board.write(Space::pci, 0x10, 4, 0xFFFFFFFF);
  EXPECT_EQ(in(board, 0x10), 0xF0000008u) << "256 MiB";
  board.write(Space::pci, 0x18, 4, 0xFFFFFFFF);
  EXPECT_EQ(in(board, 0x18), 0xFF000000u) << "16 MiB";
  board.write(Space::pci, 0x18, 4, 0xE0000000);
  EXPECT_EQ(in(board, 0x18), 0xE0000000u);
  board.write(Space::pci, 0x14, 4, 0xFFFFFFFF);
  EXPECT_EQ(in(board, 0x14), 0u) << "no BAR 1";
}

TEST(PciConfigTest, IdentityIsReadOnly) {
  Machine machine{BoardConfig{}};
  Board& board = machine.card();
  const uint32_t offsets[] = {0x00, 0x08, 0x2C, 0x100, 0xFFC};
  for (const uint32_t offset : offsets) {
    const uint32_t before = in(board, offset);
    board.write(Space::pci, offset, 4, ~before);
    EXPECT_EQ(in(board, offset), before) << std::hex << offset;
  }
  board.write(Space::pci, 0x04, 4, 0xFFFFFFFF);
  EXPECT_EQ(in(board, 0x04), 0x0547u);
  board.write(Space::pci, 0x3C, 4, 0xFFFFFFFF);
  EXPECT_EQ(in(board, 0x3C), 0x01FFu);
}

}  // namespace
}  // namespace zvgsim
