// What a board is made of. A board file (board_file.h) fills it; tests fill it by hand.
#ifndef ZVGSIM_BOARD_BOARD_CONFIG_H
#define ZVGSIM_BOARD_BOARD_CONFIG_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "board/fault_config.h"
#include "board/generation.h"
#include "board/settings.h"
#include "board/signal.h"
#include "board/space.h"

namespace zvgsim {

constexpr unsigned hdmi_ports = 4;
constexpr unsigned dp_ports = 4;
constexpr unsigned crtcs = 4;
constexpr unsigned max_cards = 16;
constexpr unsigned i2c_buses = 6;  // a master of the chip's own drives the first four
constexpr unsigned engines = 21;

struct InitialValue {
  Space space = Space::mmio;  // mmio, vram or kmem
  uint64_t offset = 0;        // kmem: the address
  unsigned width = 4;
  uint64_t value = 0;
  // The register takes the value only after it has been read so many times (mmio only): what a poll
  // waits for.
  uint64_t after_reads = 0;
};

// What every board has, and of(): the settings of each model.
struct BoardConfig : Settings {
  std::string description;
  Generation generation = Generation::rq302;
  unsigned cards = 1;  // this many boards of this kind, each with registers of its own

  // The driver's answers.
  std::array<uint32_t, 4> kernel_version = {1, 4, 0, 218};
  std::string gop_version = "GOP 1.3.2";
  std::string firmware_version = "FW 2.7.1";
  struct {
    uint32_t core_3d = 8, core_2d = 2;
  } cores;
  struct {
    Signal used = {128};    // MiB
    uint32_t free = 1920;   // MiB, when the value is used
    uint32_t channels = 3;  // a bit each
  } memory;
  std::vector<Signal> engine_load;  // per cent, engine 0 first; engines after the last are absent

  struct {
    uint64_t mmio_base = 0xE0000000, vram_base = 0xD0000000;  // physical
  } aperture;
  struct {
    uint64_t base = 0xFFFF888000000000, size = 1u << 20;
  } kernel;
  struct {
    unsigned baud = 9600;
    unsigned reply_delay_us = 50;
    bool instant = false;  // bytes take no time on the line, and replies none to begin
  } uart;

  FaultConfig faults;
  std::vector<InitialValue> registers;  // written at power-up, in order
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_BOARD_CONFIG_H
