// A test on a virtual board, in process and on virtual time.
#ifndef TESTS_SUPPORT_BOARD_FIXTURE_H
#define TESTS_SUPPORT_BOARD_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "doors/mount_doors.h"
#include "machine/machine.h"
#include "util_zvg.h"

namespace zvgtest {

// The ways into a board.
enum class Door { driver, aperture, uart };

inline std::string name(Door door) {
  constexpr const char* names[] = {"Driver", "Aperture", "Uart"};
  return names[static_cast<unsigned>(door)];
}

// Every test begins with a fresh board behind "/dev/zvgrw", "/dev/mem" and "/dev/ttyZVG0"; sleeps
// of the code under test cost nothing. No connection is open: the test opens the one that it wants.
//
//   class MyTest : public BoardFixture {
//    protected:
//     zvgsim::BoardConfig config() override {
//       auto config = BoardFixture::config();
//       config.generation = zvgsim::Generation::rq301;
//       return config;
//     }
//   };
//
//   TEST_F(MyTest, ...) {
//     ASSERT_GE(zvgRwOpen(0), 0);
//     trace().start();
//     ...
//     EXPECT_THAT(trace().take(), ElementsAre("w1 mmio 0x103d4 0xb0"));
//   }
//
// The library's process-wide state (device id, block bases, colour mode) lives as long as the
// process; CTest runs each test in a process of its own.
class BoardFixture : public ::testing::Test {
 protected:
  // The board that SetUp() powers up: an RQ302 without monitors.
  virtual zvgsim::BoardConfig config() { return {}; }

  void SetUp() override { power_up(config()); }

  void TearDown() override {
    power_down();
    zvgsim::unmount_all();
  }

  // Swaps the board for another one. An open connection is closed first. The first board of a
  // process comes up in monochrome VGA addressing, as after a reset; later ones in colour
  // addressing: the library sets it only once a process, and counts on it ever after.
  void power_up(zvgsim::BoardConfig config) {
    power_down();
    static bool first = true;
    if (!std::exchange(first, false)) {
      constexpr uint64_t misc_output = 0x103C2, colour = 3;
      config.registers.insert(config.registers.begin(),
                              {zvgsim::Space::mmio, misc_output, 1, colour});
    }
    machine_ = std::make_unique<zvgsim::Machine>(std::move(config));
    doors_ = std::make_unique<zvgsim::Doors>(*machine_);
    zvgsim::mount_doors(*doors_, *machine_);
  }

  // Opens the library's connection to the first card. Only the driver tells the chip: otherwise the
  // caller does.
  void open_through(Door door, int baud = 115200) {
    if (get_s_type() != UINT32_MAX) zvgClose();
    if (door == Door::driver) {
      ASSERT_GE(zvgRwOpen(0), 0);
      return;
    }
    const auto& bases = machine_->config().aperture;
    ASSERT_GE(door == Door::uart ? zvgSerialOpen(zvgsim::serial_node, baud)
                                 : zvgMemOpen(bases.mmio_base, zvgsim::mmio_size, bases.vram_base,
                                              zvgsim::vram_size),
              0);
    const bool rq302 = machine_->config().generation == zvgsim::Generation::rq302;
    doGetDeviceId("test", rq302 ? "rq302" : "rq301");
  }

  zvgsim::Machine& machine() { return *machine_; }
  zvgsim::Board& board(unsigned card = 0) { return machine_->card(card); }
  zvgsim::AccessTrace& trace() { return machine_->trace(); }
  zvgsim::VirtualClock& clock() { return machine_->clock(); }
  zvgsim::FaultPlan& faults() { return machine_->faults(); }
  zvgsim::SerialDoor& serial() { return doors_->serial; }

  // The board's registers and memory as they are, past the library and without a trace or a cost.
  uint64_t peek(uint64_t offset, unsigned width = 4, zvgsim::Space space = zvgsim::Space::mmio) {
    return board().dispatch_read(space, offset, width);
  }
  void poke(uint64_t offset, uint64_t value, unsigned width = 4,
            zvgsim::Space space = zvgsim::Space::mmio) {
    board().dispatch_write(space, offset, width, value);
  }

 private:
  void power_down() {
    if (get_s_type() != UINT32_MAX) zvgClose();
    doors_.reset();
    machine_.reset();
  }

  std::unique_ptr<zvgsim::Machine> machine_;
  std::unique_ptr<zvgsim::Doors> doors_;
};

}  // namespace zvgtest

#endif  // TESTS_SUPPORT_BOARD_FIXTURE_H
