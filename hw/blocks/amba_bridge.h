// The bridge to the chip's on-chip bus. It sits behind extended CRTC registers and moves up to
// eight byte lanes of a 16-byte bus line at a time.
#ifndef ZVG_HW_BLOCKS_AMBA_BRIDGE_H
#define ZVG_HW_BLOCKS_AMBA_BRIDGE_H

#include "hw/register.h"

namespace zvg::hw::amba {

enum Index : uint8_t {
  command = 0xB0,
  address_select = 0xB1,
  address_byte = 0xB2,
  write_data = 0xB3,
  write_lane = 0xB4,
  enables_select = 0xB5,
  enables_byte = 0xB6,
  read_lane = 0xB7,
  read_data = 0xB8,
  status = 0xB9,
  bus_mode = 0xBA,  // of bridges that have to be given the bus
};
constexpr uint8_t first_index = command;
constexpr uint8_t last_index = bus_mode;

constexpr unsigned line_size = 16;

// Commands; each acts when its bit goes from 0 to 1.
constexpr uint8_t acknowledge = 0x01;
constexpr uint8_t take_read_lane = 0x04;
constexpr uint8_t take_enables = 0x08;
constexpr uint8_t take_write_lane = 0x10;
constexpr uint8_t take_address = 0x20;
constexpr uint8_t start_read = 0x40;
constexpr uint8_t start_write = 0x80;

constexpr uint8_t address_is_write = 0x80;
constexpr uint8_t address_bytes = 0x1F;  // a bit a byte
constexpr uint8_t lane_valid = 0x10;
constexpr uint8_t lane_number = 0x0F;
constexpr uint8_t enables_low = 0x01;
constexpr uint8_t enables_high = 0x02;
constexpr uint8_t status_mask = 0xF0;

namespace map {

inline constexpr Field command_fields[] = {
    field("start_write", start_write, "begins a write"),
    field("start_read", start_read, "begins a read, or confirms its end"),
    field("take_address", take_address, "takes the address byte"),
    field("take_write_lane", take_write_lane, "takes a byte to write"),
    field("take_enables", take_enables, "takes half of the enables"),
    field("take_read_lane", take_read_lane, "shows a byte that was read"),
    field("acknowledge", acknowledge, "ends the transfer"),
};
inline constexpr Field select_fields[] = {
    field("write", address_is_write, "the address is a write's"),
    field("bytes", address_bytes, "which byte of the address, a bit each"),
};
inline constexpr Field lane_fields[] = {
    field("valid", lane_valid, "there is a lane; without one a write begins"),
    field("lane", lane_number, "byte of the bus line"),
};
inline constexpr Field enables_fields[] = {
    field("high", enables_high, "lanes 8 to 15"),
    field("low", enables_low, "lanes 0 to 7"),
};
inline constexpr Field status_fields[] = {
    field("state", status_mask, "of the transfer; what says its end differs by generation"),
};

inline constexpr Value mode_values[] = {{rq302_chip.amba_bus_mode, "bus_master"}};
inline constexpr Field mode_fields[] = {field("mode", 0xFF, "who has the bus", mode_values)};

inline constexpr Register registers[] = {
    {"command", command, 8, rw, "what the bridge does", command_fields, Effect::write_starts},
    {"address_select", address_select, 8, rw, "byte of the address", select_fields},
    {"address_byte", address_byte, 8, rw, "its value"},
    {"write_data", write_data, 8, rw, "byte to write"},
    {"write_lane", write_lane, 8, rw, "its lane", lane_fields},
    {"enables_select", enables_select, 8, rw, "half of the enables", enables_fields},
    {"enables_byte", enables_byte, 8, rw, "lanes that are written, a bit each"},
    {"read_lane", read_lane, 8, rw, "lane to show", lane_fields},
    {"read_data", read_data, 8, ro, "its byte"},
    {"status", status, 8, rw, "state of the transfer; a write selects it", status_fields},
};
inline constexpr Block block = {"amba",    Space::crtc, "bridge to the on-chip bus",
                                registers, 0x100,       &Chip::vga};

inline constexpr Register mode_registers[] = {
    {"mode", bus_mode, 8, rw, "gives the bridge the bus", mode_fields},
};
inline constexpr Block mode_block = {"amba_bus",
                                     Space::crtc,
                                     "who has the on-chip bus",
                                     mode_registers,
                                     0x100,
                                     &Chip::vga,
                                     [](const Chip& chip) { return chip.amba_bus_mode != 0; }};

}  // namespace map

}  // namespace zvg::hw::amba

#endif  // ZVG_HW_BLOCKS_AMBA_BRIDGE_H
