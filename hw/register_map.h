// All blocks that registers are described of.
#ifndef ZVG_HW_REGISTER_MAP_H
#define ZVG_HW_REGISTER_MAP_H

#include "hw/blocks/amba_bridge.h"
#include "hw/blocks/axi_monitor_rq301.h"
#include "hw/blocks/axi_monitor_rq302.h"
#include "hw/blocks/clocks.h"
#include "hw/blocks/ddr_controller.h"
#include "hw/blocks/ddr_phy.h"
#include "hw/blocks/display_controllers.h"
#include "hw/blocks/dp_cdb.h"
#include "hw/blocks/dp_controller.h"
#include "hw/blocks/dp_phy.h"
#include "hw/blocks/dpcd.h"
#include "hw/blocks/fan.h"
#include "hw/blocks/hdmi_transmitter.h"
#include "hw/blocks/i2c_master.h"
#include "hw/blocks/mcu.h"
#include "hw/blocks/panel_pwm.h"
#include "hw/blocks/pci.h"
#include "hw/blocks/pvt.h"
#include "hw/blocks/spi.h"
#include "hw/blocks/system_control.h"
#include "hw/blocks/vga_crtc.h"
#include "hw/blocks/video_capture.h"

namespace zvg::hw {

// Several blocks of a name are the same block of different generations.
inline constexpr const Block* blocks[] = {
    &system_control::map::block,
    &pvt::map::rq301_block,
    &pvt::map::rq302_block,
    &clocks::map::rq301_block,
    &clocks::map::rq302_block,
    &spi::map::block,
    &spi::map::strobe_block,
    &ddr_controller::map::block,
    &ddr_phy::map::block,
    &vga::map::block,
    &crtc::map::block,
    &amba::map::block,
    &amba::map::mode_block,
    &panel_pwm::map::block,
    &fan::map::block,
    &display_controllers::map::mux_block,
    &display_controllers::map::block,
    &video_capture::map::capture_block,
    &video_capture::map::frame_block,
    &video_capture::map::window_block,
    &hdmi::map::block,
    &dp_controller::map::block,
    &dp_phy::map::block,
    &dp_cdb::map::block,
    &dpcd::map::block,
    &i2c::map::block,
    &mcu::map::block,
    &mcu::map::reset_block,
    &axi_rq301::map::both_block,
    &axi_rq301::map::reads_block,
    &axi_rq301::map::writes_block,
    &axi_rq302::map::control_block,
    &axi_rq302::map::slot_block,
    &axi_rq302::map::both_block,
    &axi_rq302::map::reads_block,
    &axi_rq302::map::mixed_block,
    &pci::map::block,
};

}  // namespace zvg::hw

#endif  // ZVG_HW_REGISTER_MAP_H
