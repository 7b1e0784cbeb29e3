// The SPI controller in front of the board's NOR flash.
#ifndef ZVG_HW_BLOCKS_SPI_H
#define ZVG_HW_BLOCKS_SPI_H

#include "hw/register.h"

namespace zvg::hw::spi {

enum Offset : uint32_t {
  control = 0x00,
  frame_count = 0x04,   // frames to receive, minus one
  enable = 0x08,        // 0 while the controller is configured
  slave_select = 0x10,  // 0 queues what is written to the data register, 1 sends it
  clock_divider = 0x14,
  transmit_threshold = 0x18,
  receive_threshold = 0x1C,
  transmit_level = 0x20,
  receive_level = 0x24,
  status = 0x28,
  interrupt_mask = 0x2C,
  data = 0x60,
  sample_delay = 0xF0,
  enhanced_control = 0xF4,
};

constexpr uint32_t size = 0x400;

// In the first page of the registers, in no block: a pulse takes the flash out of continuous read
// mode while the controller is set up for that.
constexpr uint32_t continuous_exit_strobe = 0x164;

// Control: frame format and transfer mode.
constexpr uint32_t control_mode = 3u << 8;
constexpr uint32_t control_frame_bits = 0x1Fu << 16;  // less one
constexpr uint32_t control_lines = 3u << 21;
enum Mode : uint32_t { transmit_only = 1, receive_only = 2, command_then_receive = 3 };
enum Lines : uint32_t { standard = 0, quad = 2 };
enum Control : uint32_t {
  bytes_transmit = 0x70100,
  bytes_command_receive = 0x70300,
  quad_receive = 0x5F0200,
  quad_transmit = 0x5F0100,
  quad_continuous_exit = 0x5F0300,
};

// Instruction of 8 bits and address of 24; a read waits 8 cycles before its data.
enum EnhancedControl : uint32_t {
  quad_read_format = 0x4218,
  quad_program_format = 0x218,
  continuous_exit_format = 0x2021,
};

// Status.
constexpr uint32_t status_busy = 0x01;
constexpr uint32_t status_transmit_not_full = 0x02;
constexpr uint32_t status_transmit_empty = 0x04;
constexpr uint32_t status_received = 0x08;
constexpr uint32_t status_receive_full = 0x10;

constexpr uint32_t all_interrupts = 0x3F;
constexpr uint32_t deepest_threshold = 255;

namespace map {

inline constexpr Value mode_values[] = {{transmit_only, "transmit"},
                                        {receive_only, "receive"},
                                        {command_then_receive, "command_then_receive"}};
inline constexpr Value lines_values[] = {{standard, "standard"}, {quad, "quad"}};

inline constexpr Field control_fields[] = {
    field("lines", control_lines, "data lines in use", lines_values),
    field("frame_bits", control_frame_bits, "bits of a frame, less one"),
    field("mode", control_mode, "direction of the transfer", mode_values),
};
inline constexpr Field enable_fields[] = {
    field("enable", 1, "0 while the controller is configured; clears both FIFOs"),
};
inline constexpr Field select_fields[] = {
    field("select", 1, "0 holds frames back, 1 selects the flash and sends them"),
};
inline constexpr Field status_fields[] = {
    field("receive_full", status_receive_full, "the receive FIFO holds what was asked for"),
    field("received", status_received, "a frame can be taken from the data register"),
    field("transmit_empty", status_transmit_empty, "everything that was queued is out"),
    field("transmit_not_full", status_transmit_not_full, "a frame can be queued"),
    field("busy", status_busy, "a transfer is under way"),
};
inline constexpr Field interrupt_fields[] = {
    field("masks", all_interrupts, "a bit an interrupt"),
};

inline constexpr Register registers[] = {
    {"control", control, 32, rw, "frame format and transfer mode", control_fields},
    {"frame_count", frame_count, 32, rw, "frames to receive, less one"},
    {"enable", enable, 32, rw, "lets the controller run", enable_fields},
    {"select", slave_select, 32, rw, "selects the flash", select_fields, Effect::write_starts},
    {"clock_divider", clock_divider, 32, rw, "of the block's clock for the flash"},
    {"transmit_threshold", transmit_threshold, 32, rw, "threshold of the transmit FIFO"},
    {"receive_threshold", receive_threshold, 32, rw, "threshold of the receive FIFO, less one"},
    {"transmit_level", transmit_level, 32, rw, "level of the transmit FIFO"},
    {"receive_level", receive_level, 32, rw, "level of the receive FIFO"},
    {"status", status, 32, ro, "of transfer and FIFOs", status_fields},
    {"interrupt_mask", interrupt_mask, 32, rw, "interrupts that are masked", interrupt_fields},
    {"data", data, 32, rw, "queues a frame; takes a received one", {}, Effect::read_takes},
    {"sample_delay", sample_delay, 32, rw, "clocks before input is sampled"},
    {"enhanced_control", enhanced_control, 32, rw, "instruction, address and waits of quad modes"},
};
inline constexpr Block block = {"spi",     Space::mmio, "SPI flash controller",
                                registers, size,        &Chip::spi};

inline constexpr Field strobe_fields[] = {
    field("strobe", 1, "high for as long as the exit takes"),
};
inline constexpr Register strobe_registers[] = {
    {"continuous_exit", continuous_exit_strobe, 32, rw,
     "takes the flash out of continuous read mode", strobe_fields, Effect::write_starts},
};
inline constexpr Block strobe_block = {
    "strobes",        Space::mmio, "strobes that belong to no block",
    strobe_registers, 0x400,       &Chip::first_page};

}  // namespace map

}  // namespace zvg::hw::spi

#endif  // ZVG_HW_BLOCKS_SPI_H
