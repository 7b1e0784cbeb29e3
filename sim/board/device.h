// One block of registers on the board.
#ifndef ZVGSIM_BOARD_DEVICE_H
#define ZVGSIM_BOARD_DEVICE_H

#include <cstdint>

namespace zvgsim {

// A device answers accesses at byte offsets inside its own block. It never knows which door the
// access came through. width is 1, 2, 4 or 8 bytes; values are zero-extended.
class Device {
 public:
  virtual ~Device() = default;
  virtual uint64_t read(uint64_t offset, unsigned width) = 0;
  virtual void write(uint64_t offset, unsigned width, uint64_t value) = 0;
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_DEVICE_H
