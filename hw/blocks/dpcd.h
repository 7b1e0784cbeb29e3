// Registers of a DisplayPort sink, under the names of the DisplayPort standard.
#ifndef ZVG_HW_BLOCKS_DPCD_H
#define ZVG_HW_BLOCKS_DPCD_H

#include "hw/register.h"

namespace zvg::hw::dpcd {

enum Address : uint32_t {
  // Receiver capabilities.
  revision = 0x000,
  max_link_rate = 0x001,
  max_lane_count = 0x002,
  max_downspread = 0x003,
  norp = 0x004,
  downstream_port_present = 0x005,
  main_link_coding = 0x006,
  downstream_port_count = 0x007,
  receive_port_0_capability = 0x008,
  edp_configuration_capability = 0x00D,
  training_interval = 0x00E,
  last_capability = 0x0FF,
  // Link configuration.
  link_rate_set = 0x100,
  lane_count_set = 0x101,
  training_pattern_set = 0x102,
  training_lane_set = 0x103,  // one a lane
  panel_mode = 0x10A,
  psr_enable = 0x170,
  // Link and sink status.
  sink_count = 0x200,
  service_irq = 0x201,
  lane_status_0_1 = 0x202,
  lane_status_2_3 = 0x203,
  align_status = 0x204,
  sink_status = 0x205,
  adjust_request_0_1 = 0x206,
  adjust_request_2_3 = 0x207,
  last_status = 0x2FF,
  set_power = 0x600,
  // Embedded panels.
  edp_revision = 0x700,
  edp_general_capability_1 = 0x701,
};

constexpr uint32_t size = 0x100000;

constexpr uint8_t lane_count = 0x1F;
constexpr uint8_t enhanced_framing = 0x80;
constexpr uint8_t scrambling_off = 0x20;
constexpr uint8_t training_pattern = 0x03;
constexpr uint8_t self_test = 0x80;  // of panel_mode
constexpr unsigned self_test_bit = 7;
constexpr uint8_t self_test_capable = 0x10;
constexpr uint8_t powered = 1;

// Of lanes 0 and 2; lanes 1 and 3 have the same four bits further up.
constexpr uint8_t lane_clock_recovered = 0x1;
constexpr uint8_t lane_equalised = 0x2;
constexpr uint8_t lane_symbols_locked = 0x4;
constexpr unsigned lane_bits = 4;
constexpr uint8_t lanes_aligned = 0x1;
constexpr uint8_t highest_level = 3;

namespace map {

inline constexpr Value rate_values[] = {{0x06, "1.62_gbps"}, {0x09, "2.43_gbps"},
                                        {0x0A, "2.7_gbps"},  {0x0C, "3.24_gbps"},
                                        {0x14, "5.4_gbps"},  {0x1E, "8.1_gbps"}};
inline constexpr Value coding_values[] = {{1, "8b_10b"}, {2, "128b_132b"}};
inline constexpr Value pattern_values[] = {
    {0, "none"}, {1, "pattern_1"}, {2, "pattern_2"}, {3, "pattern_3"}};
inline constexpr Value power_values[] = {{1, "on"}, {2, "off"}, {5, "off_aux_on"}};

inline constexpr Field revision_fields[] = {
    field("major", 0xF0, "of the standard"),
    field("minor", 0x0F, "of the standard"),
};
inline constexpr Field rate_fields[] = {
    field("rate", 0xFF, "units of 270 Mbit/s", rate_values, Unit::link_rate_270),
};
inline constexpr Field max_lanes_fields[] = {
    field("enhanced_frame_cap", enhanced_framing, "takes enhanced framing"),
    field("tps3_supported", 0x40, "takes training pattern 3"),
    field("max_lane_count", lane_count, "most lanes"),
};
inline constexpr Field downspread_fields[] = {
    field("no_aux_training", 0x40, "trains without the AUX channel"),
    field("max_downspread", 0x01, "takes 0.5 % of down-spread"),
};
inline constexpr Field norp_fields[] = {field("norp", 0x01, "receiver ports, less one")};
inline constexpr Field dfp_fields[] = {
    field("type", 0x06, "type of the downstream port"),
    field("present", 0x01, "there is a downstream port"),
};
inline constexpr Field coding_fields[] = {
    field("coding", 0x03, "coding of the main link", coding_values),
};
inline constexpr Field dfp_count_fields[] = {
    field("oui_support", 0x80, "has an OUI"),
    field("msa_timing_par_ignored", 0x40, "does without the stream's timing"),
    field("count", 0x0F, "downstream ports"),
};
inline constexpr Field port_0_fields[] = {field("local_edid", 0x02, "has an EDID")};
inline constexpr Field edp_capability_fields[] = {
    field("alternate_scrambler", 0x01, "resets the scrambler to the alternate seed"),
};
inline constexpr Field interval_fields[] = {
    field("interval", 0x7F, "wait of the equalisation, in 4 ms; 0 is 400 us"),
};
inline constexpr Field lanes_set_fields[] = {
    field("enhanced_frame_en", enhanced_framing, "enhanced framing"),
    field("lane_count", lane_count, "lanes in use"),
};
inline constexpr Field pattern_fields[] = {
    field("scrambling_disable", scrambling_off, "no scrambling"),
    field("pattern", training_pattern, "pattern that is sent", pattern_values),
};
inline constexpr Field lane_set_fields[] = {
    field("max_preemphasis_reached", 0x20, "no more pre-emphasis"),
    field("preemphasis", 0x18, "level of the pre-emphasis"),
    field("max_swing_reached", 0x04, "no more swing"),
    field("swing", 0x03, "level of the swing"),
};
inline constexpr Field panel_mode_fields[] = {
    field("self_test", self_test, "shows a test picture")};
inline constexpr Field psr_fields[] = {field("enable", 1, "self-refresh")};
inline constexpr Field sink_count_fields[] = {
    field("cp_ready", 0x40, "content protection is ready"),
    field("count", 0x3F, "sinks"),
};
inline constexpr Field irq_fields[] = {
    field("cp_irq", 0x04, "content protection wants something"),
    field("automated_test_request", 0x02, "a test is wanted"),
};
inline constexpr Field lanes_0_1_fields[] = {
    field("lane1_symbol_locked", lane_symbols_locked << lane_bits, "lane 1 has the symbols"),
    field("lane1_channel_eq_done", lane_equalised << lane_bits, "lane 1 is equalised"),
    field("lane1_cr_done", lane_clock_recovered << lane_bits, "lane 1 has the clock"),
    field("lane0_symbol_locked", lane_symbols_locked, "lane 0 has the symbols"),
    field("lane0_channel_eq_done", lane_equalised, "lane 0 is equalised"),
    field("lane0_cr_done", lane_clock_recovered, "lane 0 has the clock"),
};
inline constexpr Field lanes_2_3_fields[] = {
    field("lane3_symbol_locked", lane_symbols_locked << lane_bits, "lane 3 has the symbols"),
    field("lane3_channel_eq_done", lane_equalised << lane_bits, "lane 3 is equalised"),
    field("lane3_cr_done", lane_clock_recovered << lane_bits, "lane 3 has the clock"),
    field("lane2_symbol_locked", lane_symbols_locked, "lane 2 has the symbols"),
    field("lane2_channel_eq_done", lane_equalised, "lane 2 is equalised"),
    field("lane2_cr_done", lane_clock_recovered, "lane 2 has the clock"),
};
inline constexpr Field align_fields[] = {
    field("link_status_updated", 0x80, "the status has changed"),
    field("downstream_changed", 0x40, "a downstream port has changed"),
    field("interlane_align_done", lanes_aligned, "the lanes are aligned"),
};
inline constexpr Field sink_status_fields[] = {field("port_0", 0x01, "port 0 is in sync")};
inline constexpr Field requests_0_1_fields[] = {
    field("lane1_preemphasis", 0xC0, "level that lane 1 wants"),
    field("lane1_swing", 0x30, "level that lane 1 wants"),
    field("lane0_preemphasis", 0x0C, "level that lane 0 wants"),
    field("lane0_swing", 0x03, "level that lane 0 wants"),
};
inline constexpr Field requests_2_3_fields[] = {
    field("lane3_preemphasis", 0xC0, "level that lane 3 wants"),
    field("lane3_swing", 0x30, "level that lane 3 wants"),
    field("lane2_preemphasis", 0x0C, "level that lane 2 wants"),
    field("lane2_swing", 0x03, "level that lane 2 wants"),
};
inline constexpr Field power_fields[] = {field("state", 0x07, "power of the sink", power_values)};
inline constexpr Field self_test_fields[] = {
    field("self_test", self_test_capable, "has a test picture"),
};

inline constexpr Register registers[] = {
    {"revision", revision, 8, ro, "DPCD_REV", revision_fields},
    {"max_link_rate", max_link_rate, 8, ro, "MAX_LINK_RATE", rate_fields},
    {"max_lane_count", max_lane_count, 8, ro, "MAX_LANE_COUNT", max_lanes_fields},
    {"max_downspread", max_downspread, 8, ro, "MAX_DOWNSPREAD", downspread_fields},
    {"norp", norp, 8, ro, "NORP", norp_fields},
    {"downstream_port_present", downstream_port_present, 8, ro, "DOWNSTREAMPORT_PRESENT",
     dfp_fields},
    {"main_link_coding", main_link_coding, 8, ro, "MAIN_LINK_CHANNEL_CODING", coding_fields},
    {"downstream_port_count", downstream_port_count, 8, ro, "DOWN_STREAM_PORT_COUNT",
     dfp_count_fields},
    {"receive_port_0_capability", receive_port_0_capability, 8, ro, "RECEIVE_PORT0_CAP_0",
     port_0_fields},
    {"edp_configuration_capability", edp_configuration_capability, 8, ro, "eDP_CONFIGURATION_CAP",
     edp_capability_fields},
    {"training_interval", training_interval, 8, ro, "TRAINING_AUX_RD_INTERVAL", interval_fields},
    {"link_rate_set", link_rate_set, 8, rw, "LINK_BW_SET", rate_fields},
    {"lane_count_set", lane_count_set, 8, rw, "LANE_COUNT_SET", lanes_set_fields},
    {"training_pattern_set", training_pattern_set, 8, rw, "TRAINING_PATTERN_SET", pattern_fields},
    {.name = "training_lane_set",
     .offset = training_lane_set,
     .width = 8,
     .access = rw,
     .description = "TRAINING_LANEx_SET",
     .fields = lane_set_fields,
     .count = 4,
     .stride = 1},
    {"panel_mode", panel_mode, 8, rw, "eDP_CONFIGURATION_SET", panel_mode_fields},
    {"psr_enable", psr_enable, 8, rw, "PSR_EN", psr_fields},
    {"sink_count", sink_count, 8, ro, "SINK_COUNT", sink_count_fields},
    {"service_irq", service_irq, 8, rw, "DEVICE_SERVICE_IRQ_VECTOR", irq_fields,
     Effect::write_clears},
    {"lane_status_0_1", lane_status_0_1, 8, ro, "LANE0_1_STATUS", lanes_0_1_fields},
    {"lane_status_2_3", lane_status_2_3, 8, ro, "LANE2_3_STATUS", lanes_2_3_fields},
    {"align_status", align_status, 8, ro, "LANE_ALIGN_STATUS_UPDATED", align_fields},
    {"sink_status", sink_status, 8, ro, "SINK_STATUS", sink_status_fields},
    {"adjust_request_0_1", adjust_request_0_1, 8, ro, "ADJUST_REQUEST_LANE0_1",
     requests_0_1_fields},
    {"adjust_request_2_3", adjust_request_2_3, 8, ro, "ADJUST_REQUEST_LANE2_3",
     requests_2_3_fields},
    {"set_power", set_power, 8, rw, "SET_POWER", power_fields},
    {"edp_revision", edp_revision, 8, ro, "eDP_DPCD_REV"},
    {"edp_general_capability_1", edp_general_capability_1, 8, ro, "eDP_GENERAL_CAPABILITY_1",
     self_test_fields},
};
inline constexpr Block block = {"dpcd",    Space::dpcd, "DisplayPort sink",
                                registers, size,        &Chip::dp_controllers};

}  // namespace map

}  // namespace zvg::hw::dpcd

#endif  // ZVG_HW_BLOCKS_DPCD_H
