// The controller of a DisplayPort transmitter: the link, the AUX channel, the main stream.
#ifndef ZVG_HW_BLOCKS_DP_CONTROLLER_H
#define ZVG_HW_BLOCKS_DP_CONTROLLER_H

#include "hw/register.h"

namespace zvg::hw::dp_controller {

enum Offset : uint32_t {
  link_rate_code = 0x000,
  link_lanes = 0x004,
  enhanced_framing = 0x008,
  training_pattern = 0x00C,
  training_active = 0x014,
  transmitter_enable = 0x080,
  stream_enable = 0x084,
  psr_set_up_88 = 0x088,
  psr_set_up_8c = 0x08C,
  link_rate_changed = 0x090,
  link_enable = 0x094,
  stream_source = 0x0C8,
  aux_command = 0x100,
  aux_write_fifo = 0x104,
  aux_address = 0x108,
  aux_clock_divider = 0x10C,  // also the scale of the reply wait
  set_up_110 = 0x110,
  hot_plug = 0x128,
  aux_signal = 0x130,
  aux_reply_fifo = 0x134,
  aux_reply_code = 0x138,
  interrupt_status = 0x140,  // cleared by the read
  interrupt_mask = 0x144,
  aux_status = 0x14C,
  timer = 0x158,
  h_total = 0x180,
  v_total = 0x184,
  sync_polarity = 0x188,
  h_sync_width = 0x18C,
  v_sync_width = 0x190,
  h_active = 0x194,
  v_active = 0x198,
  h_start = 0x19C,  // total less sync start
  v_start = 0x1A0,
  stream_1a4 = 0x1A4,
  stream_1a8 = 0x1A8,
  stream_pixel_clock = 0x1AC,
  transfer_unit = 0x1B0,
  link_clock = 0x1B4,
  stream_1b8 = 0x1B8,
  user_data_count = 0x1BC,
  stream_format = 0x1C4,
  stream_for_panel = 0x1C8,
  psr_set_up_1d0 = 0x1D0,
  psr_set_up_300 = 0x300,
  psr_set_up_310 = 0x310,
  psr_set_up_324 = 0x324,
  psr_enable = 0x360,
  psr_set_up_364 = 0x364,
  psr_set_up_368 = 0x368,
  psr_state = 0x36C,
};

// A transmitter is a PHY in the lower half of its range and this in the upper.
constexpr uint32_t offset_in_transmitter = 0x10000;
constexpr uint32_t size = 0x10000;

constexpr uint32_t max_lanes = 4;
constexpr uint32_t aux_fifo_bytes = 16;

// AUX command.
constexpr uint32_t aux_length = 0xF;  // less one
constexpr uint32_t aux_request = 0xF00;
constexpr uint32_t aux_flag_a = 1 << 12;
constexpr uint32_t aux_flag_b = 1 << 13;
enum Request : uint32_t {
  i2c_write_and_end = 0x000,
  i2c_read_and_end = 0x100,
  i2c_write_open = 0x400,
  i2c_read_open = 0x500,
  native_write = 0x800,
  native_read = 0x900,
};
constexpr unsigned aux_request_shift = 8;

enum ReplyCode : uint32_t { acknowledged = 0, native_deferred = 2, i2c_deferred = 8 };

// AUX signal.
constexpr uint32_t aux_received = 1 << 2;
constexpr uint32_t aux_timeout = 1 << 3;
// AUX status.
constexpr uint32_t aux_busy = 1 << 2;
constexpr uint32_t aux_error = 1 << 3;

// Timer.
constexpr uint32_t timer_count = 0x1FFFFF;
constexpr uint32_t timer_kept = 0xE0000000;
constexpr uint32_t timer_on = 0x80000000;

// Stream.
constexpr uint32_t stream_8_bits_rgb = 12;
constexpr uint32_t stream_source_crtc = 0x2004;
constexpr uint32_t stream_source_panel = 0x4000;
constexpr uint32_t user_data_mask = 0x1FFFFFFF;

enum SelfRefresh : uint32_t { psr_disabled = 1, psr_inactive = 2 };

namespace map {

inline constexpr Value rate_values[] = {{0x06, "1.62_gbps"}, {0x09, "2.43_gbps"},
                                        {0x0A, "2.7_gbps"},  {0x0C, "3.24_gbps"},
                                        {0x14, "5.4_gbps"},  {0x1E, "8.1_gbps"}};
inline constexpr Value lanes_values[] = {{1, "1_lane"}, {2, "2_lanes"}, {4, "4_lanes"}};
inline constexpr Value pattern_values[] = {
    {0, "none"}, {1, "pattern_1"}, {2, "pattern_2"}, {3, "pattern_3"}};
inline constexpr Value source_values[] = {{stream_source_crtc, "display_controller"},
                                          {stream_source_panel, "panel"}};
inline constexpr Value request_values[] = {
    {i2c_write_and_end >> aux_request_shift, "i2c_write_and_end"},
    {i2c_read_and_end >> aux_request_shift, "i2c_read_and_end"},
    {i2c_write_open >> aux_request_shift, "i2c_write_open"},
    {i2c_read_open >> aux_request_shift, "i2c_read_open"},
    {native_write >> aux_request_shift, "native_write"},
    {native_read >> aux_request_shift, "native_read"},
};
inline constexpr Value reply_values[] = {
    {acknowledged, "acknowledged"}, {native_deferred, "deferred"}, {i2c_deferred, "i2c_deferred"}};
inline constexpr Value psr_values[] = {{psr_disabled, "disabled"}, {psr_inactive, "inactive"}};
inline constexpr Value polarity_values[] = {{0, "positive"}, {1, "negative"}};

inline constexpr Field rate_fields[] = {
    field("rate", 0xFF, "units of 270 Mbit/s", rate_values, Unit::link_rate_270),
};
inline constexpr Field lanes_fields[] = {field("lanes", 0x1F, "lanes in use", lanes_values)};
inline constexpr Field enable_fields[] = {field("enable", 1, "1 = on")};
inline constexpr Field pattern_fields[] = {
    field("pattern", 3, "pattern that is sent", pattern_values),
};
inline constexpr Field active_fields[] = {field("active", 1, "1 while the link trains")};
inline constexpr Field changed_fields[] = {field("changed", 1, "takes a new rate over")};
inline constexpr Field source_fields[] = {
    field("source", 0xFFFF, "where the stream comes from", source_values),
};
inline constexpr Field command_fields[] = {
    field("flag_b", aux_flag_b, "optional request flag"),
    field("flag_a", aux_flag_a, "optional request flag"),
    field("request", aux_request, "type of the request", request_values),
    field("length", aux_length, "bytes, less one"),
};
inline constexpr Field byte_fields[] = {field("byte", 0xFF, "one byte an access")};
inline constexpr Field address_fields[] = {
    field("address", 0xFFFFF, "DPCD address, or the 7-bit address of an I2C slave"),
};
inline constexpr Field hot_plug_fields[] = {field("present", 1, "a sink is plugged in")};
inline constexpr Field signal_fields[] = {
    field("timeout", aux_timeout, "no reply came in time"),
    field("received", aux_received, "a reply came"),
};
inline constexpr Field reply_fields[] = {field("code", 0xF, "what the sink says", reply_values)};
inline constexpr Field status_fields[] = {
    field("error", aux_error, "the reply was damaged"),
    field("busy", aux_busy, "a request is under way"),
};
inline constexpr Field timer_fields[] = {
    field("enable", timer_on, "counts down"),
    field("kept", timer_kept & ~timer_on, "stay when the count is set"),
    field("count", timer_count, "ticks that are left"),
};
inline constexpr Field polarity_fields[] = {
    field("vertical", 1 << 1, "vertical sync", polarity_values),
    field("horizontal", 1 << 0, "horizontal sync", polarity_values),
};
inline constexpr Field clock_fields[] = {
    field("clock", 0xFFFFFFFF, "kHz", {}, Unit::kilohertz),
};
inline constexpr Field unit_fields[] = {
    field("sixteenths", 0xFF000000, "sixteenths of a valid symbol a unit"),
    field("valid", 0x00FF0000, "valid symbols a unit"),
    field("symbols", 0x0000FFFF, "symbols of a unit"),
};
inline constexpr Field count_fields[] = {field("count", user_data_mask, "data of a line")};
inline constexpr Field format_fields[] = {
    field("colour", stream_8_bits_rgb, "3 is RGB of 8 bits"),
    field("v_sync_positive", 1 << 1, "vertical sync is positive"),
    field("h_sync_positive", 1 << 0, "horizontal sync is positive"),
};
inline constexpr Field panel_fields[] = {field("panel", 1, "the stream is an embedded panel's")};
inline constexpr Field psr_fields[] = {field("state", 0xFF, "of the self-refresh", psr_values)};

inline constexpr Register registers[] = {
    {"link_rate", link_rate_code, 32, rw, "rate of the link", rate_fields},
    {"link_lanes", link_lanes, 32, rw, "lanes of the link", lanes_fields},
    {"enhanced_framing", enhanced_framing, 32, rw, "enhanced framing", enable_fields},
    {"training_pattern", training_pattern, 32, rw, "pattern of the training", pattern_fields},
    {"training_active", training_active, 32, rw, "training is under way", active_fields},
    {"transmitter_enable", transmitter_enable, 32, rw, "the transmitter", enable_fields},
    {"stream_enable", stream_enable, 32, rw, "the main stream", enable_fields},
    {"psr_set_up_88", psr_set_up_88, 32, rw, "set-up of the panel's self-refresh"},
    {"psr_set_up_8c", psr_set_up_8c, 32, rw, "set-up of the panel's self-refresh"},
    {"link_rate_changed", link_rate_changed, 32, rw, "told after a change", changed_fields,
     Effect::write_starts},
    {"link_enable", link_enable, 32, rw, "the link", enable_fields},
    {"stream_source", stream_source, 32, rw, "source of the stream", source_fields},
    {"aux_command", aux_command, 32, rw, "sends a request", command_fields, Effect::write_starts},
    {"aux_write_fifo", aux_write_fifo, 32, wo, "data of the next request", byte_fields,
     Effect::write_starts},
    {"aux_address", aux_address, 32, rw, "address of the next request", address_fields},
    {"aux_clock_divider", aux_clock_divider, 32, rw, "clock of AUX channel and timer"},
    {"set_up_110", set_up_110, 32, rw, "set-up of the AUX channel"},
    {"hot_plug", hot_plug, 32, ro, "whether there is a sink", hot_plug_fields},
    {"aux_signal", aux_signal, 32, ro, "how the request ended", signal_fields},
    {"aux_reply_fifo", aux_reply_fifo, 32, ro, "data of the reply", byte_fields,
     Effect::read_takes},
    {"aux_reply_code", aux_reply_code, 32, ro, "the reply", reply_fields},
    {"interrupt_status", interrupt_status, 32, ro, "pending interrupts", {}, Effect::read_takes},
    {"interrupt_mask", interrupt_mask, 32, rw, "masked interrupts"},
    {"aux_status", aux_status, 32, ro, "state of the AUX channel", status_fields},
    {"timer", timer, 32, rw, "count-down timer", timer_fields},
    {"h_total", h_total, 32, rw, "pixels of a line"},
    {"v_total", v_total, 32, rw, "lines of a frame"},
    {"sync_polarity", sync_polarity, 32, rw, "polarity of the syncs", polarity_fields},
    {"h_sync_width", h_sync_width, 32, rw, "pixels of the sync pulse"},
    {"v_sync_width", v_sync_width, 32, rw, "lines of the sync pulse"},
    {"h_active", h_active, 32, rw, "active pixels of a line"},
    {"v_active", v_active, 32, rw, "active lines of a frame"},
    {"h_start", h_start, 32, rw, "pixels from the sync's start to the end of the line"},
    {"v_start", v_start, 32, rw, "lines from the sync's start to the end of the frame"},
    {"stream_1a4", stream_1a4, 32, rw, "set-up of the stream"},
    {"stream_1a8", stream_1a8, 32, rw, "set-up of the stream"},
    {"stream_pixel_clock", stream_pixel_clock, 32, rw, "pixel clock", clock_fields},
    {"transfer_unit", transfer_unit, 32, rw, "how full a transfer unit is", unit_fields},
    {"link_clock", link_clock, 32, rw, "link clock", clock_fields},
    {"stream_1b8", stream_1b8, 32, rw, "set-up of the stream"},
    {"user_data_count", user_data_count, 32, rw, "data of a line", count_fields},
    {"stream_format", stream_format, 32, rw, "colour and syncs", format_fields},
    {"stream_for_panel", stream_for_panel, 32, rw, "whose stream it is", panel_fields},
    {"psr_set_up_1d0", psr_set_up_1d0, 32, rw, "set-up of the panel's self-refresh"},
    {"psr_set_up_300", psr_set_up_300, 32, rw, "set-up of the panel's self-refresh"},
    {"psr_set_up_310", psr_set_up_310, 32, rw, "set-up of the panel's self-refresh"},
    {"psr_set_up_324", psr_set_up_324, 32, rw, "set-up of the panel's self-refresh"},
    {"psr_enable", psr_enable, 32, rw, "the panel's self-refresh", enable_fields},
    {"psr_set_up_364", psr_set_up_364, 32, rw, "set-up of the panel's self-refresh"},
    {"psr_set_up_368", psr_set_up_368, 32, rw, "set-up of the panel's self-refresh"},
    {"psr_state", psr_state, 32, ro, "state of the panel's self-refresh", psr_fields},
};

inline constexpr Block block = {"dp",      Space::mmio, "DisplayPort controller",
                                registers, size,        &Chip::dp_controllers};

}  // namespace map

}  // namespace zvg::hw::dp_controller

#endif  // ZVG_HW_BLOCKS_DP_CONTROLLER_H
