// Bytes to and from a monitor over a transmitter's DDC master, where the library has no function
// that serves.
#ifndef ZVG_SERVICE_DISPLAY_DDC_H
#define ZVG_SERVICE_DISPLAY_DDC_H

#include <cstdint>

#include "service/board/board.h"

namespace zvg {

class Ddc {
 public:
  Ddc(Board& board, uint32_t hdmi) : board_(board), hdmi_(hdmi) {}

  // slave: 7-bit address. Both throw an Error when the monitor does not answer.
  //
  // The library's own DDC write waits for the PHY's I2C master, which has nothing to do with it:
  // the wait lasts a minute and tells nothing about the write. This one waits for the DDC master.
  void write(uint8_t slave, uint8_t offset, uint8_t value);

  // A byte of the EDID behind its second block: offset from 0x100 to 0x7FFF.
  uint8_t read_behind_two_blocks(uint32_t offset);

 private:
  void put(uint64_t reg, uint64_t value);
  void begin(uint8_t slave, uint8_t offset);
  void run(uint64_t operation, const char* deed, uint8_t slave, uint32_t offset);

  Board& board_;
  uint32_t hdmi_;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_DISPLAY_DDC_H
