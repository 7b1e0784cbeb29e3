// An HDMI transmitter block.
#ifndef ZVGSIM_DEVICES_HDMI_HDMI_TRANSMITTER_H
#define ZVGSIM_DEVICES_HDMI_HDMI_TRANSMITTER_H

#include <cstdint>

#include "board/i2c_bus.h"
#include "devices/byte_block.h"
#include "devices/hdmi/hdmi_phy.h"
#include "devices/hdmi/hdmi_settings.h"

namespace zvgsim {

// Byte registers: the DDC master, the PHY's I2C master, PHY control and status, and the frame
// composer, which is plain storage.
class HdmiTransmitter : public ByteBlock {
 public:
  HdmiTransmitter(Board& board, unsigned port);

 protected:
  uint8_t read_byte(uint32_t offset) override;
  void write_byte(uint32_t offset, uint8_t value) override;

 private:
  // One I2C master: a transfer is on the wires for its time, then raises its status bits.
  struct Master {
    bool busy = false;
    uint64_t done_at = 0;
    uint8_t outcome = 0;  // status bits
    uint8_t status = 0;   // write 1 to clear
    unsigned clocks = 0;  // SCL periods of the transfer

    void settle(uint64_t now);
  };

  void begin(Master& master, bool hangs, bool acknowledged, uint64_t period);
  bool byte_out(Master& master, I2cBus& bus, uint8_t byte);
  bool address_out(Master& master, I2cBus& bus, uint8_t address, bool read);
  uint8_t byte_in(Master& master, I2cBus& bus);

  void ddc_operation(uint8_t operation);
  void phy_operation(uint8_t operation);
  uint64_t ddc_period();
  uint64_t phy_period();
  uint64_t now() { return board().clock().now(); }
  bool pll_locked();
  uint8_t phy_status();
  uint8_t clock_status();
  void power_phy(uint8_t configuration);
  void program_frame_composer(const ModeTiming& timing);

  const HdmiPortSettings& settings_;
  HdmiPortFaults& faults_;
  I2cBus& ddc_;
  I2cBus phy_bus_;
  HdmiPhy* phy_;
  Master ddc_master_;
  Master phy_master_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_HDMI_HDMI_TRANSMITTER_H
