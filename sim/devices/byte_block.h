// A block whose registers are bytes.
#ifndef ZVGSIM_DEVICES_BYTE_BLOCK_H
#define ZVGSIM_DEVICES_BYTE_BLOCK_H

#include "board/board.h"
#include "board/device.h"

namespace zvgsim {

// Takes wider accesses apart, lowest address first. Registers that the device does not speak for
// are plain storage in the board's register file.
class ByteBlock : public Device {
 public:
  ByteBlock(Board& board, uint32_t base) : board_(board), base_(base) {}

  uint64_t read(uint64_t offset, unsigned width) final;
  void write(uint64_t offset, unsigned width, uint64_t value) final;

 protected:
  virtual uint8_t read_byte(uint32_t offset) { return stored(offset); }
  virtual void write_byte(uint32_t offset, uint8_t value) { store(offset, value); }

  uint8_t stored(uint32_t offset) {
    return static_cast<uint8_t>(board_.mmio_storage().read(base_ + offset, 1));
  }
  void store(uint32_t offset, uint8_t value) {
    board_.mmio_storage().write(base_ + offset, 1, value);
  }
  Board& board() { return board_; }

 private:
  Board& board_;
  const uint32_t base_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_BYTE_BLOCK_H
