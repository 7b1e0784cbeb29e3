// The PHY of an HDMI transmitter: its configuration registers, reset, power-up and hot-plug sense.
#include <errno.h>
#include <stdio.h>
#include <unistd.h>

#include "core/poll.h"
#include "display/hdmi/i2c.h"
#include "util_zvg.h"

namespace zvg::display::hdmi {

namespace {

constexpr useconds_t reset_pulse_us = 1000;
constexpr unsigned lock_tries = 1000;
constexpr useconds_t lock_step_us = 1000;

// Receiver sense is the high nibble of the PHY status: any bit of it makes the byte exceed this.
constexpr uint8_t no_receiver = 0x0F;

int mask_write(uint32_t transmitter, Offset reg, uint8_t mask, uint8_t value) {
  return zvgRegMskWriteByte(at(transmitter, reg), mask, value);
}

// Starts an operation of the PHY's I2C master and waits for its end.
int transfer(uint32_t transmitter, int reg, int value, uint8_t operation) {
  const int result =
      configure(transmitter, {
                                 {phy_i2c_status, i2c_both},
                                 {phy_i2c_slave, phy_slave_address},
                                 {phy_i2c_address, static_cast<uint8_t>(reg)},
                                 {phy_i2c_write_high, static_cast<uint8_t>(value >> 8)},
                                 {phy_i2c_write_low, static_cast<uint8_t>(value)},
                                 {phy_i2c_operation, operation},
                             });
  if (result != 0) return result;
  return wait_for_end(transmitter, phy_i2c_wait);
}

void report_no_lock(uint32_t transmitter) {
  uint8_t clocks = 0;
  zvgRegReadByte(at(transmitter, clock_status), &clocks);
  printf("PHY PLL not locked: PCLK_ON=%d,TMDSCLK_ON=%d\n", (clocks & clock_pixel_on) != 0,
         (clocks & clock_tmds_on) != 0);
}

}  // namespace

}  // namespace zvg::display::hdmi

using namespace zvg::display::hdmi;

int zvgHdmiPhyRead(uint32_t hdmi, int reg, uint16_t* value) {
  if (hdmi > last_transmitter) return -EINVAL;
  const int result = transfer(hdmi, reg, 0, i2c_read);
  if (result != 0) return result;
  uint8_t low = 0;
  uint8_t high = 0;
  const int low_result = zvgRegReadByte(at(hdmi, phy_i2c_read_low), &low);
  const int high_result = zvgRegReadByte(at(hdmi, phy_i2c_read_high), &high);
  *value = static_cast<uint16_t>(low | high << 8);
  return low_result | high_result;
}

int zvgHdmiPhyWrite(uint32_t hdmi, int reg, int value) {
  if (hdmi > last_transmitter) return -EINVAL;
  return transfer(hdmi, reg, value, i2c_write);
}

int zvgHdmiPhyReset(uint32_t hdmi) {
  if (hdmi > last_transmitter) return -EINVAL;
  int result = zvgRegWriteByte(at(hdmi, phy_reset), phy_reset_held);
  usleep(reset_pulse_us);
  result |= zvgRegWriteByte(at(hdmi, phy_reset), 0);
  return result;
}

int zvgHdmiPhyStart(uint32_t hdmi) {
  if (hdmi > last_transmitter) return -EINVAL;
  int result = mask_write(hdmi, phy_i2c_divider, i2c_fast_mode, 0);
  result |= mask_write(hdmi, phy_mask, phy_interrupt, phy_interrupt);
  result |= mask_write(hdmi, phy_config, phy_power_mask, phy_power_configure);
  return result | zvgHdmiPhyReset(hdmi);
}

int zvgHdmiPhyEnd(uint32_t hdmi) {
  if (hdmi > last_transmitter) return -EINVAL;
  constexpr int no_lock = -1;
  int result = zvgRegWriteByte(at(hdmi, phy_config), phy_power_on);
  const auto look = [&] {
    uint8_t status = 0;
    result |= zvgRegReadByte(at(hdmi, phy_status), &status);
    return (status & phy_pll_locked) != 0;
  };
  const bool locked =
      zvg::core::look_then_wait(lock_tries, zvg::core::sleeping(lock_step_us), look);
  if (!locked) {
    report_no_lock(hdmi);
    return no_lock;
  }
  return result | mask_write(hdmi, phy_mask, phy_interrupt, 0);
}

int zvgHdmiHpdSense(uint32_t hdmi, uint8_t* hpd) {
  if (hdmi > last_transmitter) return -EINVAL;
  uint8_t status = 0;
  const int result = zvgRegReadByte(at(hdmi, phy_status), &status);
  // A plugged cable without a receiver behind it is no monitor.
  *hpd = status > no_receiver && (status & phy_hot_plug) != 0;
  return result;
}
