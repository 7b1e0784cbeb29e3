// The legacy VGA: its I/O ports, which stand in the MMIO space, and the registers of the first
// display controller behind its index and data pair.
#ifndef ZVG_HW_BLOCKS_VGA_CRTC_H
#define ZVG_HW_BLOCKS_VGA_CRTC_H

#include "hw/register.h"

namespace zvg::hw::vga {

// Where port 0 is. The same on every generation, and known when an access is compiled: no family
// makes more of them.
constexpr uint32_t base = common::vga.first;

enum Port : uint32_t {
  mono_index = 0x3B4,
  mono_data = 0x3B5,
  misc_output_write = 0x3C2,  // reading it is input status 0
  misc_output_read = 0x3CC,
  colour_index = 0x3D4,
  colour_data = 0x3D5,
};

constexpr uint32_t size = 0x400;
constexpr uint32_t first_port = 0x3C0;  // of those that every VGA has
constexpr uint32_t last_port = 0x3DF;

// Miscellaneous output.
constexpr uint8_t misc_colour_addressing = 0x01;
constexpr uint8_t misc_ram_enable = 0x02;
constexpr uint8_t misc_h_negative = 0x40;
constexpr uint8_t misc_v_negative = 0x80;

// The last index of the pair is not used.
constexpr uint32_t last_crtc_index = 254;

namespace map {

inline constexpr Value addressing_values[] = {{0, "monochrome"}, {1, "colour"}};
inline constexpr Value polarity_values[] = {{0, "positive"}, {1, "negative"}};

inline constexpr Field misc_fields[] = {
    field("v_sync", misc_v_negative, "polarity of the vertical sync", polarity_values),
    field("h_sync", misc_h_negative, "polarity of the horizontal sync", polarity_values),
    field("ram_enable", misc_ram_enable, "lets the host see the memory"),
    field("addressing", misc_colour_addressing, "which pair answers", addressing_values),
};

inline constexpr Register registers[] = {
    {"mono_index", mono_index, 8, rw, "index of the monochrome pair"},
    {"mono_data", mono_data, 8, rw, "data of the monochrome pair"},
    {"misc_output_write", misc_output_write, 8, wo, "miscellaneous output", misc_fields},
    {"misc_output", misc_output_read, 8, ro, "miscellaneous output", misc_fields},
    {"index", colour_index, 8, rw, "index of the colour pair"},
    {"data", colour_data, 8, rw, "data of the colour pair"},
};
inline constexpr Block block = {"vga",     Space::mmio, "I/O ports of the VGA",
                                registers, size,        &Chip::vga};

}  // namespace map

}  // namespace zvg::hw::vga

namespace zvg::hw::crtc {

// Timing of the first display controller. Totals and actives are pairs, the high byte first.
enum Index : uint8_t {
  h_total = 0x60,
  h_active = 0x62,
  h_sync_width = 0x66,
  h_back = 0x67,
  v_total = 0x68,
  v_active = 0x6A,
  v_sync_width = 0x6E,
  v_back = 0x6F,
  h_sync_high = 0x78,
  pll_word = 0x81,  // and 0x83, 0x85, 0x87: the lowest byte first
  red_gain = 0x8C,
  green_gain = 0x8D,
  blue_gain = 0x8E,
};

constexpr uint32_t pll_word_stride = 2;
constexpr uint8_t highest_gain = 63;

namespace map {

inline constexpr Field high_fields[] = {
    field("sync_width", 0xF0, "high bits of h_sync_width"),
    field("back", 0x0F, "high bits of h_back"),
};
inline constexpr Field gain_fields[] = {field("gain", highest_gain, "0 to 63")};

inline constexpr Register registers[] = {
    {"h_total_high", h_total, 8, rw, "pixels of a line, high byte"},
    {"h_total_low", h_total + 1, 8, rw, "pixels of a line, low byte"},
    {"h_active_high", h_active, 8, rw, "active pixels of a line, high byte"},
    {"h_active_low", h_active + 1, 8, rw, "active pixels of a line, low byte"},
    {"h_sync_width", h_sync_width, 8, rw, "pixels of the sync pulse, low byte"},
    {"h_back", h_back, 8, rw, "pixels from the sync's end to the end of the line, low byte"},
    {"v_total_high", v_total, 8, rw, "lines of a frame, high byte"},
    {"v_total_low", v_total + 1, 8, rw, "lines of a frame, low byte"},
    {"v_active_high", v_active, 8, rw, "active lines of a frame, high byte"},
    {"v_active_low", v_active + 1, 8, rw, "active lines of a frame, low byte"},
    {"v_sync_width", v_sync_width, 8, rw, "lines of the sync pulse"},
    {"v_back", v_back, 8, rw, "lines from the sync's end to the end of the frame"},
    {"h_sync_high", h_sync_high, 8, rw, "high bits of the horizontal sync", high_fields},
    {.name = "pll_word",
     .offset = pll_word,
     .width = 8,
     .access = rw,
     .description = "a byte of the PLL's configuration, the lowest first",
     .count = 4,
     .stride = pll_word_stride},
    {"red_gain", red_gain, 8, rw, "gain of the DAC's red", gain_fields},
    {"green_gain", green_gain, 8, rw, "gain of the DAC's green", gain_fields},
    {"blue_gain", blue_gain, 8, rw, "gain of the DAC's blue", gain_fields},
};
inline constexpr Block block = {"crtc0",   Space::crtc, "first display controller",
                                registers, 0x100,       &Chip::vga};

}  // namespace map

}  // namespace zvg::hw::crtc

#endif  // ZVG_HW_BLOCKS_VGA_CRTC_H
