// The DDC of an HDMI transmitter: its I2C master towards the monitor.
#include "display/hdmi/ddc.h"

#include <errno.h>

#include "display/hdmi/i2c.h"
#include "util_zvg.h"

namespace zvg::display::hdmi {

// Standard mode at the DDC's clock.
constexpr uint16_t scl_high_count = 0x0104;
constexpr uint16_t scl_low_count = 0x010E;

int read_segmented(uint32_t transmitter, uint32_t offset, uint8_t* byte) {
  // The mute goes to the PHY's register, not the DDC's: the transmitter is driven so on every
  // board.
  int result = write_registers(transmitter, {
                                                {ddc_status, i2c_both},
                                                {ddc_segment_slave, edid_segment_address},
                                                {ddc_segment, static_cast<uint8_t>(offset >> 8)},
                                                {ddc_slave, edid_slave_address},
                                                {ddc_offset, static_cast<uint8_t>(offset)},
                                                {phy_i2c_mute, i2c_both},
                                                {ddc_operation, i2c_segmented_read},
                                            });
  if (result != 0) return result;
  result = wait_for_end(transmitter, ddc_wait);
  if (result != 0) return result;
  return zvgRegReadByte(at(transmitter, ddc_read_data), byte);
}

}  // namespace zvg::display::hdmi

using namespace zvg::display::hdmi;

int zvgHdmiDDCInit(uint32_t hdmi) {
  if (hdmi > last_transmitter) return -EINVAL;
  const int result = write_registers(hdmi, {
                                               {ddc_scl_high_lsb, scl_high_count & 0xFF},
                                               {ddc_scl_high_msb, scl_high_count >> 8},
                                               {ddc_scl_low_lsb, scl_low_count & 0xFF},
                                               {ddc_scl_low_msb, scl_low_count >> 8},
                                           });
  return result | zvgRegMskWriteByte(at(hdmi, ddc_divider), i2c_fast_mode, 0);
}

int zvgHdmiDDCRead(uint32_t hdmi, int slave, int offset, uint8_t* byte) {
  if (hdmi > last_transmitter) return -EINVAL;
  int result = configure(hdmi, {
                                   {ddc_status, i2c_both},
                                   {ddc_slave, static_cast<uint8_t>(slave)},
                                   {ddc_offset, static_cast<uint8_t>(offset)},
                                   {ddc_mute, i2c_both},
                                   {ddc_operation, i2c_read},
                               });
  if (result != 0) return result;
  result = wait_for_end(hdmi, ddc_wait);
  if (result != 0) return result;
  return zvgRegReadByte(at(hdmi, ddc_read_data), byte);
}

// Unlike its neighbours this takes any transmitter number and goes on after a failed write.
int zvgHdmiDDCWrite(uint32_t hdmi, int slave, uint32_t offset, int value) {
  const int written = write_registers(hdmi, {
                                                {ddc_status, i2c_both},
                                                {ddc_slave, static_cast<uint8_t>(slave)},
                                                {ddc_offset, static_cast<uint8_t>(offset)},
                                                {ddc_write_data, static_cast<uint8_t>(value)},
                                                {ddc_mute, i2c_both},
                                                {ddc_operation, i2c_write},
                                            });
  // The end is looked for in the PHY's status register, not in the DDC's, at the PHY's pace.
  const int result = wait_for_end(hdmi, phy_i2c_wait);
  return result != 0 ? result : written;
}
