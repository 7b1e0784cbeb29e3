// The register block of an HDMI transmitter: byte registers at offsets from the block's base.
#ifndef ZVG_DISPLAY_HDMI_REGISTERS_H
#define ZVG_DISPLAY_HDMI_REGISTERS_H

#include <stdint.h>

namespace zvg::display::hdmi {

constexpr uint32_t last_transmitter = 3;

enum Register : uint32_t {
  ddc_status = 0x0105,
  phy_i2c_status = 0x0108,
  ddc_mute = 0x0185,
  phy_i2c_mute = 0x0188,
  frame_composer = 0x1001,  // to 0x1010
  phy_config = 0x3000,
  phy_status = 0x3004,
  phy_mask = 0x3006,
  phy_i2c_slave = 0x3020,
  phy_i2c_address = 0x3021,
  phy_i2c_write_high = 0x3022,
  phy_i2c_write_low = 0x3023,
  phy_i2c_read_high = 0x3024,
  phy_i2c_read_low = 0x3025,
  phy_i2c_operation = 0x3026,
  phy_i2c_divider = 0x3029,
  phy_reset = 0x4005,
  clock_status = 0x4006,
  ddc_slave = 0x7E00,
  ddc_offset = 0x7E01,
  ddc_write_data = 0x7E02,
  ddc_read_data = 0x7E03,
  ddc_operation = 0x7E04,
  ddc_divider = 0x7E07,
  ddc_segment_slave = 0x7E08,
  ddc_segment = 0x7E0A,
  ddc_scl_high_msb = 0x7E0B,
  ddc_scl_high_lsb = 0x7E0C,
  ddc_scl_low_msb = 0x7E0D,
  ddc_scl_low_lsb = 0x7E0E,
};

// Both I2C masters: status bits, and the value that clears or mutes them.
constexpr uint8_t i2c_done = 0x02;
constexpr uint8_t i2c_error = 0x01;
constexpr uint8_t i2c_both = i2c_done | i2c_error;

constexpr uint8_t i2c_read = 0x01;
constexpr uint8_t i2c_segmented_read = 0x02;
constexpr uint8_t i2c_write = 0x10;

// Divider registers: fast mode.
constexpr uint8_t i2c_fast_mode = 0x08;

// PHY.
constexpr uint8_t phy_slave_address = 0x69;
constexpr uint8_t phy_pll_locked = 0x01;
constexpr uint8_t phy_hot_plug = 0x02;
constexpr uint8_t phy_interrupt = 0x01;
constexpr uint8_t phy_power_mask = 0x38;
constexpr uint8_t phy_power_configure = 0x30;
constexpr uint8_t phy_power_on = 0x2E;
constexpr uint8_t clock_pixel_on = 0x40;
constexpr uint8_t clock_tmds_on = 0x20;

// Monitor.
constexpr int edid_slave_address = 0x50;
constexpr uint8_t edid_segment_address = 0x30;

// Where a register of a transmitter stands in the MMIO space.
constexpr uint64_t at(uint32_t transmitter, uint32_t reg) {
  return ((transmitter + 0x11) << 16) + reg;
}

}  // namespace zvg::display::hdmi

#endif  // ZVG_DISPLAY_HDMI_REGISTERS_H
