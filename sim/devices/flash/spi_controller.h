// The SPI controller that the flash is behind.
#ifndef ZVGSIM_DEVICES_FLASH_SPI_CONTROLLER_H
#define ZVGSIM_DEVICES_FLASH_SPI_CONTROLLER_H

#include <cstdint>
#include <deque>
#include <vector>

#include "board/board.h"
#include "devices/flash/nor_flash.h"

namespace zvgsim {

// Frames of 8 or 32 bits go out and come in through two FIFOs; what is queued is sent when the
// flash is selected. Control 0 says how: transmit only, receive only, or a command whose answer is
// received. Frames that do not fit are lost. On an RQ302 the controller needs its clock.
class SpiController : public Device {
 public:
  SpiController(Board& board, uint32_t base);

  uint64_t read(uint64_t offset, unsigned width) override;
  void write(uint64_t offset, unsigned width, uint64_t value) override;

  NorFlash& flash() { return flash_; }
  // The strobe with which the chip takes the flash out of continuous read. It needs the controller
  // set up for it.
  void strobe_continuous_exit();

 private:
  bool clocked();
  uint32_t control();
  uint32_t status();
  void queue(uint32_t frame);
  void transfer();
  uint32_t word(uint32_t offset);

  Board& board_;
  const uint32_t base_;
  const FlashFaults& faults_;
  NorFlash flash_;
  const size_t depth_;  // frames of each FIFO
  std::vector<uint32_t> transmit_;
  std::deque<uint32_t> received_;
  uint64_t received_at_ = 0;
  uint64_t busy_until_ = 0;
  uint64_t frames_ = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_FLASH_SPI_CONTROLLER_H
