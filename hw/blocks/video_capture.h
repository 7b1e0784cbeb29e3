// Live video input: capture ports, and the overlay windows that show it.
#ifndef ZVG_HW_BLOCKS_VIDEO_CAPTURE_H
#define ZVG_HW_BLOCKS_VIDEO_CAPTURE_H

#include "hw/register.h"

namespace zvg::hw::video_capture {

// Of a capture port.
enum CaptureOffset : uint32_t {
  capture_control = 0x0,
  capture_buffer_0 = 0x4,
  capture_buffer_1 = 0x8,
  capture_source_size = 0xC,
};
constexpr uint32_t ports = common::capture_ports.count;

constexpr uint32_t capture_on = 0x1;
constexpr uint32_t uses_window_a = 0x100;
constexpr uint32_t uses_window_b = 0x200;

// A width or x in the low half of a word, a height or y in the high half.
constexpr uint32_t low_half = 0x0000FFFF;
constexpr uint32_t high_half = 0xFFFF0000;
constexpr unsigned half_bits = 16;

// Of the frames of a window, in units of 4 bytes.
enum FrameOffset : uint32_t { frame_0 = 0x0, frame_1 = 0x4 };

// Of a window.
enum WindowOffset : uint32_t {
  window_control = 0x00,
  window_position = 0x04,
  window_size = 0x08,
  window_alpha = 0x0C,
  window_colour_key = 0x10,
};

constexpr uint32_t window_on = 0x100;
constexpr uint32_t window_constant = 0x1102;
constexpr uint32_t window_source = 0x7FFF;
constexpr unsigned window_source_shift = 14;
constexpr uint32_t window_format = 3;
constexpr unsigned window_format_a_shift = 3;
constexpr unsigned window_format_b_shift = 5;
constexpr unsigned window_flag_shift = 13;

namespace map {

inline constexpr Field control_fields[] = {
    field("window_b", uses_window_b, "shown in window B"),
    field("window_a", uses_window_a, "shown in window A"),
    field("enable", capture_on, "the port captures"),
};
inline constexpr Field size_fields[] = {
    field("height", high_half, "lines"),
    field("width", low_half, "pixels"),
};
inline constexpr Field position_fields[] = {
    field("y", high_half, "line"),
    field("x", low_half, "pixel"),
};
inline constexpr Field window_fields[] = {
    field("source", window_source << window_source_shift, "low bits of the source's size"),
    field("flag", 1u << window_flag_shift, "flag of the caller's"),
    field("enable", window_on, "the window is shown"),
    field("format_b", window_format << window_format_b_shift, "second format"),
    field("format_a", window_format << window_format_a_shift, "first format"),
};
inline constexpr Field alpha_fields[] = {field("alpha", 0xFF, "0xFF is opaque")};

inline constexpr Register capture_registers[] = {
    {"control", capture_control, 32, rw, "capture", control_fields},
    {"buffer_0", capture_buffer_0, 32, rw, "address of the first buffer"},
    {"buffer_1", capture_buffer_1, 32, rw, "address of the second buffer"},
    {"source_size", capture_source_size, 32, ro, "size that was measured", size_fields},
};
inline constexpr Block capture_block = {"capture",         Space::mmio, "capture port",
                                        capture_registers, 0x10,        &Chip::capture_ports};

inline constexpr Register frame_registers[] = {
    {"frame_0", frame_0, 32, rw, "address of the first frame, by 4"},
    {"frame_1", frame_1, 32, rw, "address of the second frame, by 4"},
};
inline constexpr Block frame_block = {"overlay_frame", Space::mmio, "frames of an overlay window",
                                      frame_registers, 0x10,        &Chip::overlay_frames};

inline constexpr Register window_registers[] = {
    {"control", window_control, 32, rw, "format and source", window_fields},
    {"position", window_position, 32, rw, "where the window is", position_fields},
    {"size", window_size, 32, rw, "how large the window is", size_fields},
    {"alpha", window_alpha, 32, rw, "opacity", alpha_fields},
    {"colour_key", window_colour_key, 32, rw, "colour that is seen through"},
};
inline constexpr Block window_block = {"overlay",        Space::mmio, "overlay window",
                                       window_registers, 0x20,        &Chip::overlay_windows};

}  // namespace map

}  // namespace zvg::hw::video_capture

#endif  // ZVG_HW_BLOCKS_VIDEO_CAPTURE_H
