// The host's I/O ports, as far as the card answers on them.
#ifndef ZVGSIM_DEVICES_VGA_IO_PORTS_H
#define ZVGSIM_DEVICES_VGA_IO_PORTS_H

#include "board/board.h"
#include "board/device.h"

namespace zvgsim {

// Port numbers are 8 bits wide; 0xC0 to 0xDF are the VGA ports 0x3C0 to 0x3DF. On any other
// nobody answers: reads give 0xFF.
class IoPorts : public Device {
 public:
  explicit IoPorts(Board& board) : board_(board) {}
  uint64_t read(uint64_t port, unsigned width) override;
  void write(uint64_t port, unsigned width, uint64_t value) override;

 private:
  Board& board_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DEVICES_VGA_IO_PORTS_H
