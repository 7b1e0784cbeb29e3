// The generations of the chip, a row each: where they have their blocks, and whatever else differs
// between them as data. A new generation is a new row.
#ifndef ZVG_HW_GENERATIONS_H
#define ZVG_HW_GENERATIONS_H

#include <stdint.h>

#include "hw/axi_ports.h"
#include "hw/bases.h"

namespace zvg::hw {

enum class Generation : uint8_t { rq300, rq301, rq302 };

// Named after the generation that it came with.
enum class ClockTree : uint8_t { rq301, rq302 };

constexpr unsigned pvt_types = 5;  // temperature, voltage, three process codes
constexpr uint32_t ddr_controller_size = 0x8000;
constexpr uint32_t ddr_phy_size = 0x40000;

struct Chip {
  Generation generation;
  const char* name;
  uint32_t device_id;  // what the driver answers; an RQ300 says that it is an RQ301

  // Blocks, by their bases in the MMIO space.
  Bases system_control;
  Bases spi;
  Bases clocks;
  uint32_t unused_blocks[2];  // of which nothing but the base is known
  Bases ddr_controllers;      // one a channel, as the next one
  Bases ddr_phys;
  Bases vga;  // the I/O ports, from port 0 on
  Bases output_mux;
  Bases display_controllers;  // the first one's registers are indexed
  Bases capture_ports;
  Bases overlay_frames;  // one a window, as the next one
  Bases overlay_windows;
  Bases i2c_masters;
  Bases hdmi_transmitters;
  Bases dp_phys;
  Bases dp_controllers;
  Bases dp_windows;  // where register files look for the controllers
  Bases mcu;
  Bases mcu_reset;
  Bases first_page;  // strobes that belong to no block

  // Bus monitors of the kind that came with RQ301, by the directions that they count.
  Bases rq301_axi_both;
  Bases rq301_axi_reads;
  Bases rq301_axi_writes;
  // Of the kind that came with RQ302; the last one counts both without their sum.
  Bases rq302_axi_control;
  Bases rq302_axi_slots;  // one to each of those below
  Bases rq302_axi_both;
  Bases rq302_axi_reads;
  Bases rq302_axi_mixed;

  // Clocks.
  ClockTree clock_tree;

  // SPI controller.
  uint32_t spi_fifo_frames;
  uint32_t spi_program_frames;  // data of one program command
  bool spi_clock_gated;         // its clock has to be let through in the clock block
  uint16_t flash_identifier;    // upper half of the identification word in system control

  // AMBA bridge.
  uint8_t amba_done;      // upper half of the status when a transfer has ended
  uint8_t amba_bus_mode;  // what gives the bridge the bus; 0: it always has it

  // On-die sensors.
  uint32_t pvt_selectors[pvt_types];
  bool pvt_converts_all;  // all sensors of a type at once; otherwise the index adds to the selector
  uint32_t pvt_process_sensors;
};

constexpr uint32_t pvt_sensors = 2;       // of temperature and of voltage
constexpr uint32_t pvt_sensor_bits = 16;  // between two sensors that are converted at once

// Blocks that every generation so far has at the same place. The display controllers' timing and
// the registers of video input and overlay overlap.
namespace common {

inline constexpr Bases vga = at(0x10000);
inline constexpr Bases output_mux = at(0x10024);
inline constexpr Bases display_controllers = series(3, 0x10040, 0x40, 1);
inline constexpr Bases capture_ports = series(2, 0x100C0, 0x10);
inline constexpr Bases overlay_frames = series(2, 0x10038, 0x10);
inline constexpr Bases overlay_windows = series(2, 0x10060, 0x20);
inline constexpr Bases mcu = at(0x3FF00);
inline constexpr Bases i2c_masters = series(4, 0x100000, 0x400);
inline constexpr Bases hdmi_transmitters = series(4, 0x110000, 0x10000);
inline constexpr Bases mcu_reset = at(0x308068);
inline constexpr Bases dp_phys = series(4, 0x500000, 0x20000);
inline constexpr Bases dp_controllers = series(4, 0x510000, 0x20000);
inline constexpr Bases first_page = at(0);

}  // namespace common

inline constexpr Place rq302_ddr_controllers[] = {{0x280000}, {0x130000}};
inline constexpr Place rq302_ddr_phys[] = {{0x2C0000}, {0x1C0000}};

inline constexpr Chip rq301_chip = {
    .generation = Generation::rq301,
    .name = "RQ301",
    .device_id = 0x201,
    .system_control = at(0x308400),
    .spi = at(0x30AC00),
    .clocks = at(0x308000),
    .unused_blocks = {0x800000, 0x30A000},
    .ddr_controllers = series(4, 0x3C0000, ddr_controller_size),
    .ddr_phys = series(4, 0x400000, ddr_phy_size),
    .vga = common::vga,
    .output_mux = common::output_mux,
    .display_controllers = common::display_controllers,
    .capture_ports = common::capture_ports,
    .overlay_frames = common::overlay_frames,
    .overlay_windows = common::overlay_windows,
    .i2c_masters = common::i2c_masters,
    .hdmi_transmitters = common::hdmi_transmitters,
    .dp_phys = common::dp_phys,
    .dp_controllers = common::dp_controllers,
    .dp_windows = common::dp_controllers,
    .mcu = common::mcu,
    .mcu_reset = common::mcu_reset,
    .first_page = common::first_page,
    .rq301_axi_both = listed(rq301_axi_both_ports),
    .rq301_axi_reads = listed(rq301_axi_read_ports),
    .rq301_axi_writes = listed(rq301_axi_write_ports),
    .rq302_axi_control = {},
    .rq302_axi_slots = {},
    .rq302_axi_both = {},
    .rq302_axi_reads = {},
    .rq302_axi_mixed = {},
    .clock_tree = ClockTree::rq301,
    .spi_fifo_frames = 256,
    .spi_program_frames = 64,
    .spi_clock_gated = false,
    .flash_identifier = 0x0201,
    .amba_done = 0xE0,
    .amba_bus_mode = 0,
    .pvt_selectors = {0xF0000, 0xF0100, 0xF0600, 0xF0200, 0xF0400},
    .pvt_converts_all = false,
    .pvt_process_sensors = 2,
};

constexpr Chip make_rq300() {
  Chip chip = rq301_chip;
  chip.generation = Generation::rq300;
  chip.name = "RQ300";
  return chip;
}

inline constexpr Chip rq302_chip = {
    .generation = Generation::rq302,
    .name = "RQ302",
    .device_id = 0x202,
    .system_control = at(0x288400),
    .spi = at(0x28AC00),
    .clocks = at(0x288000),
    .unused_blocks = {0x300000, 0x28A000},
    .ddr_controllers = listed(rq302_ddr_controllers),
    .ddr_phys = listed(rq302_ddr_phys),
    .vga = common::vga,
    .output_mux = common::output_mux,
    .display_controllers = common::display_controllers,
    .capture_ports = common::capture_ports,
    .overlay_frames = common::overlay_frames,
    .overlay_windows = common::overlay_windows,
    .i2c_masters = common::i2c_masters,
    .hdmi_transmitters = common::hdmi_transmitters,
    .dp_phys = common::dp_phys,
    .dp_controllers = common::dp_controllers,
    .dp_windows = series(4, 0x2B0000, 0x20000),
    .mcu = common::mcu,
    .mcu_reset = common::mcu_reset,
    .first_page = common::first_page,
    .rq301_axi_both = {},
    .rq301_axi_reads = {},
    .rq301_axi_writes = {},
    .rq302_axi_control = at(0x288800),
    .rq302_axi_slots = series(7, 0x288824, 12),
    .rq302_axi_both = listed(rq302_axi_both_ports),
    .rq302_axi_reads = listed(rq302_axi_read_ports),
    .rq302_axi_mixed = listed(rq302_axi_mixed_ports),
    .clock_tree = ClockTree::rq302,
    .spi_fifo_frames = 32,
    .spi_program_frames = 16,
    .spi_clock_gated = true,
    .flash_identifier = 0x0202,
    .amba_done = 0xA0,
    .amba_bus_mode = 0x44,
    .pvt_selectors = {0x01E201E2, 0x01E601E6, 0x01FA01FA, 0x01EA01EA, 0x01F201F2},
    .pvt_converts_all = true,
    .pvt_process_sensors = 1,
};

// By generation.
inline constexpr Chip chips[] = {make_rq300(), rq301_chip, rq302_chip};
constexpr unsigned generation_count = sizeof chips / sizeof *chips;

constexpr const Chip& chip_of(Generation generation) {
  return chips[static_cast<unsigned>(generation)];
}

// The chip that answers with an id, the newest where several do; null where none does.
constexpr const Chip* chip_with_id(uint32_t device_id) {
  for (unsigned i = generation_count; i-- > 0;) {
    if (chips[i].device_id == device_id) return &chips[i];
  }
  return nullptr;
}

}  // namespace zvg::hw

#endif  // ZVG_HW_GENERATIONS_H
