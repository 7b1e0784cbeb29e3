// The display controllers. The first one's timing is in indexed registers (vga_crtc.h); the others
// have a block each. In front of the outputs is a multiplexer.
#ifndef ZVG_HW_BLOCKS_DISPLAY_CONTROLLERS_H
#define ZVG_HW_BLOCKS_DISPLAY_CONTROLLERS_H

#include "hw/register.h"

namespace zvg::hw::display_controllers {

enum Offset : uint32_t {
  h_total = 0,
  h_active = 2,
  h_sync_width = 8,
  h_back = 10,  // total less sync end
  v_total = 12,
  v_active = 14,
  v_sync_width = 18,
  v_back = 19,
  polarity = 36,
};

constexpr uint32_t size = 0x40;
constexpr uint32_t count = 4;

constexpr uint8_t v_negative = 0x10;
constexpr uint8_t h_negative = 0x08;

// The multiplexer: a byte for every output instance, with a selector of two bits for each kind of
// output. 0 selects the instance's own controller, 1 to 3 one of the others in ascending order.
constexpr uint32_t mux_instances = 4;
constexpr uint32_t mux_bits_per_instance = 8;
constexpr uint32_t mux_selector = 3;
enum MuxShift : uint32_t { mux_dac = 0, mux_hdmi = 2, mux_dvo = 4, mux_dp = 6 };

namespace map {

inline constexpr Value polarity_values[] = {{0, "positive"}, {1, "negative"}};
inline constexpr Field polarity_fields[] = {
    field("vertical", v_negative, "vertical sync", polarity_values),
    field("horizontal", h_negative, "horizontal sync", polarity_values),
};

inline constexpr Register registers[] = {
    {"h_total", h_total, 16, rw, "pixels of a line"},
    {"h_active", h_active, 16, rw, "active pixels of a line"},
    {"h_sync_width", h_sync_width, 16, rw, "pixels of the sync pulse"},
    {"h_back", h_back, 16, rw, "pixels from the sync's end to the end of the line"},
    {"v_total", v_total, 16, rw, "lines of a frame"},
    {"v_active", v_active, 16, rw, "active lines of a frame"},
    {"v_sync_width", v_sync_width, 8, rw, "lines of the sync pulse"},
    {"v_back", v_back, 8, rw, "lines from the sync's end to the end of the frame"},
    {"polarity", polarity, 8, rw, "polarity of the syncs", polarity_fields},
};
inline constexpr Block block = {"crtc",    Space::mmio, "display controller",
                                registers, size,        &Chip::display_controllers};

inline constexpr Value instance_0_values[] = {
    {0, "crtc0"}, {1, "crtc1"}, {2, "crtc2"}, {3, "crtc3"}};
inline constexpr Value instance_1_values[] = {
    {0, "crtc1"}, {1, "crtc0"}, {2, "crtc2"}, {3, "crtc3"}};
inline constexpr Value instance_2_values[] = {
    {0, "crtc2"}, {1, "crtc0"}, {2, "crtc1"}, {3, "crtc3"}};
inline constexpr Value instance_3_values[] = {
    {0, "crtc3"}, {1, "crtc0"}, {2, "crtc1"}, {3, "crtc2"}};

constexpr Field output(const char* name, uint32_t instance, MuxShift kind, List<Value> values) {
  return field(name, mux_selector << (instance * mux_bits_per_instance + kind),
               "controller that feeds the output", values);
}
inline constexpr Field mux_fields[] = {
    output("dp_3", 3, mux_dp, instance_3_values),
    output("dvo_3", 3, mux_dvo, instance_3_values),
    output("hdmi_3", 3, mux_hdmi, instance_3_values),
    output("dac_3", 3, mux_dac, instance_3_values),
    output("dp_2", 2, mux_dp, instance_2_values),
    output("dvo_2", 2, mux_dvo, instance_2_values),
    output("hdmi_2", 2, mux_hdmi, instance_2_values),
    output("dac_2", 2, mux_dac, instance_2_values),
    output("dp_1", 1, mux_dp, instance_1_values),
    output("dvo_1", 1, mux_dvo, instance_1_values),
    output("hdmi_1", 1, mux_hdmi, instance_1_values),
    output("dac_1", 1, mux_dac, instance_1_values),
    output("dp_0", 0, mux_dp, instance_0_values),
    output("dvo_0", 0, mux_dvo, instance_0_values),
    output("hdmi_0", 0, mux_hdmi, instance_0_values),
    output("dac_0", 0, mux_dac, instance_0_values),
};
inline constexpr Register mux_registers[] = {
    {"select", 0, 32, rw, "which controller feeds which output", mux_fields},
};
inline constexpr Block mux_block = {"output_mux",  Space::mmio, "multiplexer of the outputs",
                                    mux_registers, 4,           &Chip::output_mux};

}  // namespace map

}  // namespace zvg::hw::display_controllers

#endif  // ZVG_HW_BLOCKS_DISPLAY_CONTROLLERS_H
