// An HDMI transmitter: byte registers of its frame composer, its PHY and its two I2C masters, one
// towards the PHY and one, the DDC, towards the monitor.
#ifndef ZVG_HW_BLOCKS_HDMI_TRANSMITTER_H
#define ZVG_HW_BLOCKS_HDMI_TRANSMITTER_H

#include "hw/register.h"

namespace zvg::hw::hdmi {

enum Offset : uint32_t {
  ddc_status = 0x0105,
  phy_i2c_status = 0x0108,
  ddc_mute = 0x0185,
  phy_i2c_mute = 0x0188,
  // The frame composer's input timing; of a pair the low byte comes first.
  h_active = 0x1001,
  h_blank = 0x1003,
  v_active = 0x1005,
  v_blank = 0x1007,
  h_sync_delay = 0x1008,
  h_sync_width = 0x100A,
  v_sync_delay = 0x100C,
  v_sync_width = 0x100D,
  pixel_clock = 0x100E,  // three bytes
  last_of_timing = 0x1010,
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
  ddc_fast_scl_high_msb = 0x7E0F,
  ddc_fast_scl_high_lsb = 0x7E10,
  ddc_fast_scl_low_msb = 0x7E11,
  ddc_fast_scl_low_lsb = 0x7E12,
};

constexpr uint32_t size = 0x10000;

// High bytes of the timing.
constexpr uint8_t horizontal_high = 0x1F;
constexpr uint8_t vertical_high = 0x1F;
constexpr uint8_t sync_width_high = 0x03;

// Both I2C masters: status bits, and the value that clears or mutes them.
constexpr uint8_t i2c_error = 0x01;
constexpr uint8_t i2c_done = 0x02;
constexpr uint8_t i2c_both = i2c_done | i2c_error;

constexpr uint8_t i2c_read = 0x01;
constexpr uint8_t i2c_segmented_read = 0x02;  // not of the PHY's master
constexpr uint8_t i2c_write = 0x10;

// Divider registers: fast mode.
constexpr uint8_t i2c_fast_mode = 0x08;

// PHY.
constexpr uint8_t phy_slave_address = 0x69;
constexpr uint8_t phy_pll_locked = 0x01;
constexpr uint8_t phy_hot_plug = 0x02;
constexpr uint8_t phy_receiver_sense = 0xF0;
constexpr unsigned phy_receiver_sense_shift = 4;
constexpr uint8_t phy_interrupt = 0x01;
constexpr uint8_t phy_power_down = 0x10;
constexpr uint8_t phy_transmitter_on = 0x08;
constexpr uint8_t phy_power_mask = 0x38;
constexpr uint8_t phy_power_configure = 0x30;
constexpr uint8_t phy_power_on = 0x2E;
constexpr uint8_t phy_reset_held = 0x01;
constexpr uint8_t clock_pixel_on = 0x40;
constexpr uint8_t clock_tmds_on = 0x20;

// Monitor.
constexpr int edid_slave_address = 0x50;
constexpr uint8_t edid_segment_address = 0x30;

namespace map {

inline constexpr Value operation_values[] = {
    {i2c_read, "read"}, {i2c_segmented_read, "segmented_read"}, {i2c_write, "write"}};
inline constexpr Value phy_operation_values[] = {{i2c_read, "read"}, {i2c_write, "write"}};
inline constexpr Value on_values[] = {{0, "off"}, {1, "on"}};

inline constexpr Field status_fields[] = {
    field("done", i2c_done, "the operation has ended; a one clears it"),
    field("error", i2c_error, "nobody acknowledged; a one clears it"),
};
inline constexpr Field mute_fields[] = {
    field("done", i2c_done, "no interrupt for the end"),
    field("error", i2c_error, "no interrupt for an error"),
};
inline constexpr Field horizontal_high_fields[] = {
    field("high", horizontal_high, "high bits of the pixels"),
};
inline constexpr Field vertical_high_fields[] = {
    field("high", vertical_high, "high bits of the lines"),
};
inline constexpr Field sync_width_high_fields[] = {
    field("high", sync_width_high, "high bits of the pixels"),
};
inline constexpr Field config_fields[] = {
    field("power", phy_power_mask, "0x6 while the PHY is configured"),
};
inline constexpr Field phy_status_fields[] = {
    field("receiver_sense", phy_receiver_sense, "channels that are terminated, a bit each"),
    field("hot_plug", phy_hot_plug, "a cable is plugged in"),
    field("pll_locked", phy_pll_locked, "the PLL has the pixel clock"),
};
inline constexpr Field mask_fields[] = {
    field("pll_lock", phy_interrupt, "no interrupt for the PLL's lock"),
};
inline constexpr Field divider_fields[] = {
    field("fast_mode", i2c_fast_mode, "400 kHz instead of 100 kHz"),
};
inline constexpr Field operation_fields[] = {
    field("operation", 0xFF, "what is started", operation_values),
};
inline constexpr Field phy_operation_fields[] = {
    field("operation", 0xFF, "what is started", phy_operation_values),
};
inline constexpr Field reset_fields[] = {
    field("hold", phy_reset_held, "holds the PHY in reset"),
};
inline constexpr Field clock_fields[] = {
    field("pixel_clock", clock_pixel_on, "the pixel clock runs", on_values),
    field("tmds_clock", clock_tmds_on, "the TMDS clock runs", on_values),
};
inline constexpr Field address_fields[] = {
    field("address", 0x7F, "7-bit I2C address"),
};

inline constexpr Register registers[] = {
    {"ddc_status", ddc_status, 8, rw, "interrupts of the DDC", status_fields, Effect::write_clears},
    {"phy_i2c_status", phy_i2c_status, 8, rw, "interrupts of the PHY's I2C master", status_fields,
     Effect::write_clears},
    {"ddc_mute", ddc_mute, 8, rw, "muted interrupts of the DDC", mute_fields},
    {"phy_i2c_mute", phy_i2c_mute, 8, rw, "muted interrupts of the PHY's I2C master", mute_fields},
    {"h_active_low", h_active, 8, rw, "active pixels of a line, low byte"},
    {"h_active_high", h_active + 1, 8, rw, "active pixels of a line", horizontal_high_fields},
    {"h_blank_low", h_blank, 8, rw, "blank pixels of a line, low byte"},
    {"h_blank_high", h_blank + 1, 8, rw, "blank pixels of a line", horizontal_high_fields},
    {"v_active_low", v_active, 8, rw, "active lines, low byte"},
    {"v_active_high", v_active + 1, 8, rw, "active lines", vertical_high_fields},
    {"v_blank", v_blank, 8, rw, "blank lines"},
    {"h_sync_delay_low", h_sync_delay, 8, rw, "pixels from active to sync, low byte"},
    {"h_sync_delay_high", h_sync_delay + 1, 8, rw, "pixels from active to sync",
     horizontal_high_fields},
    {"h_sync_width_low", h_sync_width, 8, rw, "pixels of the sync pulse, low byte"},
    {"h_sync_width_high", h_sync_width + 1, 8, rw, "pixels of the sync pulse",
     sync_width_high_fields},
    {"v_sync_delay", v_sync_delay, 8, rw, "lines from active to sync"},
    {"v_sync_width", v_sync_width, 8, rw, "lines of the sync pulse"},
    {"pixel_clock_low", pixel_clock, 8, rw, "pixel clock, low byte"},
    {"pixel_clock_middle", pixel_clock + 1, 8, rw, "pixel clock, middle byte"},
    {"pixel_clock_high", pixel_clock + 2, 8, rw, "pixel clock, high byte"},
    {"phy_config", phy_config, 8, rw, "power of the PHY", config_fields},
    {"phy_status", phy_status, 8, ro, "PLL, hot plug and receivers", phy_status_fields},
    {"phy_mask", phy_mask, 8, rw, "masked interrupts of the PHY", mask_fields},
    {"phy_i2c_slave", phy_i2c_slave, 8, rw, "the PHY's address on its I2C bus", address_fields},
    {"phy_i2c_address", phy_i2c_address, 8, rw, "register of the PHY"},
    {"phy_i2c_write_high", phy_i2c_write_high, 8, rw, "high byte to write"},
    {"phy_i2c_write_low", phy_i2c_write_low, 8, rw, "low byte to write"},
    {"phy_i2c_read_high", phy_i2c_read_high, 8, ro, "high byte that was read"},
    {"phy_i2c_read_low", phy_i2c_read_low, 8, ro, "low byte that was read"},
    {"phy_i2c_operation", phy_i2c_operation, 8, wo, "starts a transfer with the PHY",
     phy_operation_fields, Effect::write_starts},
    {"phy_i2c_divider", phy_i2c_divider, 8, rw, "speed of the PHY's I2C bus", divider_fields},
    {"phy_reset", phy_reset, 8, rw, "reset of the PHY", reset_fields},
    {"clock_status", clock_status, 8, ro, "which clocks run", clock_fields},
    {"ddc_slave", ddc_slave, 8, rw, "address on the monitor's bus", address_fields},
    {"ddc_offset", ddc_offset, 8, rw, "place in the addressed device"},
    {"ddc_write_data", ddc_write_data, 8, rw, "byte to write"},
    {"ddc_read_data", ddc_read_data, 8, ro, "byte that was read"},
    {"ddc_operation", ddc_operation, 8, wo, "starts a transfer with the monitor", operation_fields,
     Effect::write_starts},
    {"ddc_divider", ddc_divider, 8, rw, "speed of the monitor's bus", divider_fields},
    {"ddc_segment_slave", ddc_segment_slave, 8, rw, "address that takes the segment",
     address_fields},
    {"ddc_segment", ddc_segment, 8, rw, "segment of a segmented read"},
    {"ddc_scl_high_msb", ddc_scl_high_msb, 8, rw, "clocks of SCL high, standard mode, high byte"},
    {"ddc_scl_high_lsb", ddc_scl_high_lsb, 8, rw, "clocks of SCL high, standard mode, low byte"},
    {"ddc_scl_low_msb", ddc_scl_low_msb, 8, rw, "clocks of SCL low, standard mode, high byte"},
    {"ddc_scl_low_lsb", ddc_scl_low_lsb, 8, rw, "clocks of SCL low, standard mode, low byte"},
    {"ddc_fast_scl_high_msb", ddc_fast_scl_high_msb, 8, rw,
     "clocks of SCL high, fast mode, high byte"},
    {"ddc_fast_scl_high_lsb", ddc_fast_scl_high_lsb, 8, rw,
     "clocks of SCL high, fast mode, low byte"},
    {"ddc_fast_scl_low_msb", ddc_fast_scl_low_msb, 8, rw,
     "clocks of SCL low, fast mode, high byte"},
    {"ddc_fast_scl_low_lsb", ddc_fast_scl_low_lsb, 8, rw, "clocks of SCL low, fast mode, low byte"},
};

inline constexpr Block block = {"hdmi",    Space::mmio, "HDMI transmitter",
                                registers, size,        &Chip::hdmi_transmitters};

}  // namespace map

}  // namespace zvg::hw::hdmi

#endif  // ZVG_HW_BLOCKS_HDMI_TRANSMITTER_H
