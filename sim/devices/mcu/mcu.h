// The chip's microcontroller, as far as the host sees it.
#ifndef ZVGSIM_DEVICES_MCU_MCU_H
#define ZVGSIM_DEVICES_MCU_MCU_H

#include <cstdint>
#include <map>
#include <memory>

#include "devices/byte_block.h"
#include "devices/mcu/mcu_settings.h"

namespace zvgsim {

// A page of shared registers: the host writes a request, rings the doorbell, and the controller
// reads from the monitor on the selected bus and leaves up to 128 bytes in the FIFO window. It runs
// while the chip's reset register lets it.
class Mcu : public ByteBlock {
 public:
  explicit Mcu(Board& board);

  static constexpr uint32_t block_base = 0x3FC00;  // an attach unit; the page is its end

 protected:
  uint8_t read_byte(uint32_t offset) override;
  void write_byte(uint32_t offset, uint8_t value) override;

 private:
  bool running();
  void serve_request();
  void store_word(uint32_t offset, uint32_t word);

  struct Connector {
    I2cBus bus;
  };
  const McuFaults& faults_;
  std::map<uint8_t, Connector> connectors_;  // by target select
  uint64_t done_at_ = 0;
  bool pending_ = false;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_MCU_MCU_H
