#include "service/display/dpcd_fields.h"

#include <bit>

#include "service/board/error.h"
#include "service/display/dp_link_status.h"
#include "service/number.h"

namespace zvg {

namespace {

std::string number(uint8_t value) {
  return std::to_string(value);
}
std::string yes(uint8_t value) {
  return value != 0 ? "yes" : "no";
}
std::string rate(uint8_t code) {
  return link_rate_text(code);
}
std::string revision_digit(uint8_t value) {
  return format("%u", value);
}
std::string interval(uint8_t value) {
  return value == 0 ? "400 us" : format("%u ms", value * 4u);
}
std::string pattern(uint8_t value) {
  return value == 0 ? "none" : format("pattern %u", value);
}
std::string power(uint8_t value) {
  return value == 1 ? "on" : value == 2 ? "off" : value == 5 ? "off, AUX on" : hex(value, 2);
}
std::string coding(uint8_t value) {
  return value == 1 ? "8b/10b" : value == 2 ? "128b/132b" : hex(value, 2);
}
std::string downspread(uint8_t value) {
  return value != 0 ? "0.5 %" : "none";
}

constexpr DpcdField fields[] = {
    // Receiver capabilities.
    {0x000, 0xF0, "DPCD_REV major", revision_digit},
    {0x000, 0x0F, "DPCD_REV minor", revision_digit},
    {0x001, 0xFF, "MAX_LINK_RATE", rate},
    {0x002, 0x1F, "MAX_LANE_COUNT", number},
    {0x002, 0x40, "TPS3_SUPPORTED", yes},
    {0x002, 0x80, "ENHANCED_FRAME_CAP", yes},
    {0x003, 0x01, "MAX_DOWNSPREAD", downspread},
    {0x003, 0x40, "NO_AUX_TRANSACTION_LINK_TRAINING", yes},
    {0x004, 0x01, "NORP", number},
    {0x005, 0x01, "DFP_PRESENT", yes},
    {0x005, 0x06, "DFP_TYPE", number},
    {0x006, 0x03, "MAIN_LINK_CHANNEL_CODING", coding},
    {0x007, 0x0F, "DFP_COUNT", number},
    {0x007, 0x40, "MSA_TIMING_PAR_IGNORED", yes},
    {0x007, 0x80, "OUI_SUPPORT", yes},
    {0x008, 0x02, "RX_PORT0_LOCAL_EDID_PRESENT", yes},
    {0x00D, 0x01, "ALTERNATE_SCRAMBLER_RESET_CAP", yes},
    {0x00E, 0x7F, "TRAINING_AUX_RD_INTERVAL", interval},
    // Link configuration.
    {0x100, 0xFF, "LINK_BW_SET", rate},
    {0x101, 0x1F, "LANE_COUNT_SET", number},
    {0x101, 0x80, "ENHANCED_FRAME_EN", yes},
    {0x102, 0x03, "TRAINING_PATTERN_SELECT", pattern},
    {0x102, 0x20, "SCRAMBLING_DISABLE", yes},
    {0x103, 0x03, "TRAINING_LANE0_SET swing", number},
    {0x103, 0x18, "TRAINING_LANE0_SET pre-emphasis", number},
    {0x104, 0x03, "TRAINING_LANE1_SET swing", number},
    {0x104, 0x18, "TRAINING_LANE1_SET pre-emphasis", number},
    {0x105, 0x03, "TRAINING_LANE2_SET swing", number},
    {0x105, 0x18, "TRAINING_LANE2_SET pre-emphasis", number},
    {0x106, 0x03, "TRAINING_LANE3_SET swing", number},
    {0x106, 0x18, "TRAINING_LANE3_SET pre-emphasis", number},
    // Link status.
    {0x200, 0x3F, "SINK_COUNT", number},
    {0x200, 0x40, "CP_READY", yes},
    {0x201, 0x02, "AUTOMATED_TEST_REQUEST", yes},
    {0x201, 0x04, "CP_IRQ", yes},
    {0x202, 0x01, "LANE0_CR_DONE", yes},
    {0x202, 0x02, "LANE0_CHANNEL_EQ_DONE", yes},
    {0x202, 0x04, "LANE0_SYMBOL_LOCKED", yes},
    {0x202, 0x10, "LANE1_CR_DONE", yes},
    {0x202, 0x20, "LANE1_CHANNEL_EQ_DONE", yes},
    {0x202, 0x40, "LANE1_SYMBOL_LOCKED", yes},
    {0x203, 0x01, "LANE2_CR_DONE", yes},
    {0x203, 0x02, "LANE2_CHANNEL_EQ_DONE", yes},
    {0x203, 0x04, "LANE2_SYMBOL_LOCKED", yes},
    {0x203, 0x10, "LANE3_CR_DONE", yes},
    {0x203, 0x20, "LANE3_CHANNEL_EQ_DONE", yes},
    {0x203, 0x40, "LANE3_SYMBOL_LOCKED", yes},
    {0x204, 0x01, "INTERLANE_ALIGN_DONE", yes},
    {0x204, 0x40, "DOWNSTREAM_PORT_STATUS_CHANGED", yes},
    {0x204, 0x80, "LINK_STATUS_UPDATED", yes},
    {0x205, 0x01, "RECEIVE_PORT_0_STATUS", yes},
    {0x206, 0x03, "VOLTAGE_SWING_LANE0", number},
    {0x206, 0x0C, "PRE-EMPHASIS_LANE0", number},
    {0x206, 0x30, "VOLTAGE_SWING_LANE1", number},
    {0x206, 0xC0, "PRE-EMPHASIS_LANE1", number},
    {0x207, 0x03, "VOLTAGE_SWING_LANE2", number},
    {0x207, 0x0C, "PRE-EMPHASIS_LANE2", number},
    {0x207, 0x30, "VOLTAGE_SWING_LANE3", number},
    {0x207, 0xC0, "PRE-EMPHASIS_LANE3", number},
    {0x600, 0x07, "SET_POWER_STATE", power},
};

}  // namespace

uint8_t DpcdField::of(uint8_t byte) const {
  return static_cast<uint8_t>((byte & mask) >> std::countr_zero(mask));
}

std::span<const DpcdField> dpcd_fields() {
  return fields;
}

}  // namespace zvg
