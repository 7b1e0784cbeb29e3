// Registers of an HDMI transmitter that the tool itself reads or writes.
#ifndef ZVG_SERVICE_DISPLAY_HDMI_REGISTERS_H
#define ZVG_SERVICE_DISPLAY_HDMI_REGISTERS_H

#include <cstdint>

namespace zvg {

inline constexpr uint32_t last_hdmi = 3;

// The register block of a transmitter; the offsets below count from here.
constexpr uint64_t hdmi_base(uint32_t hdmi) {
  return 0x110000 + uint64_t{hdmi} * 0x10000;
}

inline constexpr uint64_t ddc_status = 0x0105;  // write both bits to clear them
inline constexpr uint64_t ddc_done = 0x02;
inline constexpr uint64_t ddc_error = 0x01;
inline constexpr uint64_t ddc_mute = 0x0185;
inline constexpr uint64_t ddc_both = ddc_done | ddc_error;

inline constexpr uint64_t phy_status = 0x3004;
inline constexpr uint64_t phy_pll_locked = 0x01;
inline constexpr uint64_t phy_receiver_sense_shift = 4;
inline constexpr uint64_t phy_receiver_sense = 0xF0;

inline constexpr uint64_t clock_status = 0x4006;
inline constexpr uint64_t pixel_clock_on = 0x40;
inline constexpr uint64_t tmds_clock_on = 0x20;

inline constexpr uint64_t ddc_slave = 0x7E00;
inline constexpr uint64_t ddc_offset = 0x7E01;
inline constexpr uint64_t ddc_write_data = 0x7E02;
inline constexpr uint64_t ddc_read_data = 0x7E03;
inline constexpr uint64_t ddc_operation = 0x7E04;
inline constexpr uint64_t ddc_operation_segment_read = 0x02;
inline constexpr uint64_t ddc_operation_write = 0x10;
inline constexpr uint64_t ddc_segment_slave = 0x7E08;
inline constexpr uint64_t ddc_segment = 0x7E0A;

inline constexpr uint8_t edid_slave = 0x50;
inline constexpr uint8_t edid_segment_slave = 0x30;

}  // namespace zvg

#endif  // ZVG_SERVICE_DISPLAY_HDMI_REGISTERS_H
