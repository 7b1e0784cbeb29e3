// The VGA ports as a VGA data sheet has them, at MMIO 0x10000 + port and through the I/O ports.
#include "devices/vga/vga.h"

#include <gtest/gtest.h>

#include "machine/machine.h"

namespace zvgsim {
namespace {

class VgaTest : public ::testing::Test {
 protected:
  uint8_t in(uint32_t port) {
    return static_cast<uint8_t>(board_.read(Space::mmio, 0x10000 + port, 1));
  }
  void out(uint32_t port, uint8_t value) { board_.write(Space::mmio, 0x10000 + port, 1, value); }
  uint8_t io_in(uint8_t port) { return static_cast<uint8_t>(board_.read(Space::ioport, port, 1)); }
  void io_out(uint8_t port, uint8_t value) { board_.write(Space::ioport, port, 1, value); }

  Machine machine_{BoardConfig{}};
  Board& board_ = machine_.card();
};

TEST_F(VgaTest, MiscOutputIsWrittenAndReadAtDifferentPorts) {
  EXPECT_EQ(in(0x3CC), 0);
  out(0x3C2, 0x67);
  EXPECT_EQ(in(0x3CC), 0x67);
  EXPECT_EQ(in(0x3C2), 0) << "input status, not what was written";
  out(0x3CC, 0x12);
  EXPECT_EQ(in(0x3CC), 0x67) << "the read port is not writable";
}

TEST_F(VgaTest, MonochromeAddressingAfterReset) {
  out(0x3B4, 0x0C);
  out(0x3B5, 0x34);
  EXPECT_EQ(in(0x3B4), 0x0C);
  EXPECT_EQ(in(0x3B5), 0x34);
  EXPECT_EQ(in(0x3D4), 0xFF) << "nobody answers at the colour ports";
  EXPECT_EQ(in(0x3D5), 0xFF);
  out(0x3D4, 0x0D);
  out(0x3D5, 0x99);
  EXPECT_EQ(in(0x3B4), 0x0C) << "a write to the colour pair changed the CRTC";
  EXPECT_EQ(in(0x3B5), 0x34);
}

TEST_F(VgaTest, ColourAddressingMovesThePair) {
  out(0x3B4, 0x0C);
  out(0x3B5, 0x34);
  out(0x3C2, 0x01);
  EXPECT_EQ(in(0x3D4), 0x0C) << "the same CRTC at another place";
  EXPECT_EQ(in(0x3D5), 0x34);
  EXPECT_EQ(in(0x3B4), 0xFF);
  EXPECT_EQ(in(0x3B5), 0xFF);
  out(0x3B5, 0x77);
  EXPECT_EQ(in(0x3D5), 0x34);
  out(0x3C2, 0x02);  // RAM enable alone: back to monochrome
  EXPECT_EQ(in(0x3B5), 0x34);
}

TEST_F(VgaTest, CrtcRegistersAreIndexed) {
  out(0x3C2, 0x03);
  for (unsigned index = 0; index < 256; ++index) {
    if (index >= 0xB0 && index <= 0xBA) continue;  // the bridge
    out(0x3D4, static_cast<uint8_t>(index));
    out(0x3D5, static_cast<uint8_t>(index ^ 0x5A));
  }
  for (unsigned index = 0; index < 256; ++index) {
    if (index >= 0xB0 && index <= 0xBA) continue;
    out(0x3D4, static_cast<uint8_t>(index));
    EXPECT_EQ(in(0x3D5), (index ^ 0x5A)) << index;
  }
}

TEST_F(VgaTest, WiderAccessesGoByteByByte) {
  out(0x3C2, 0x03);
  // Index and data in one 16-bit write, as VGA drivers do.
  board_.write(Space::mmio, 0x103D4, 2, 0x7721);
  EXPECT_EQ(in(0x3D4), 0x21);
  EXPECT_EQ(in(0x3D5), 0x77);
  EXPECT_EQ(board_.read(Space::mmio, 0x103D4, 2), 0x7721u);
}

TEST_F(VgaTest, OtherPortsArePlainStorage) {
  out(0x3C8, 0x42);
  EXPECT_EQ(in(0x3C8), 0x42);
  EXPECT_EQ(board_.mmio_storage().read(0x103C8, 1), 0x42u);
}

TEST_F(VgaTest, IoPortsLeadToTheSameRegisters) {
  io_out(0xC2, 0x67);
  EXPECT_EQ(in(0x3CC), 0x67);
  EXPECT_EQ(io_in(0xCC), 0x67);
  io_out(0xD4, 0x11);
  io_out(0xD5, 0x22);
  EXPECT_EQ(in(0x3D4), 0x11);
  EXPECT_EQ(in(0x3D5), 0x22);
  out(0x3DF, 0x01);
  EXPECT_EQ(io_in(0xDF), 0x01);
}

TEST_F(VgaTest, OnOtherIoPortsNobodyAnswers) {
  for (const unsigned port : {0x00, 0xBF, 0xE0, 0xFF}) {
    io_out(static_cast<uint8_t>(port), 0x12);
    EXPECT_EQ(io_in(static_cast<uint8_t>(port)), 0xFF) << port;
  }
}

}  // namespace
}  // namespace zvgsim
