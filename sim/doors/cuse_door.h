// The kernel driver behind a character device that the kernel forwards to this process.
#ifndef ZVGSIM_DOORS_CUSE_DOOR_H
#define ZVGSIM_DOORS_CUSE_DOOR_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "doors/caller_memory.h"
#include "doors/driver.h"
#include "machine/machine.h"

namespace zvgsim {

// The kernel knows nothing of a request's arguments: it hands over the number and the argument, and
// is told which ranges of the caller's memory to bring (`fetch`) and which to fill when the request
// is done (`fill`). Then it asks again, with the bytes of all ranges in a row. It fails the
// request with EFAULT itself when a range is not the caller's. Nothing is kept between two calls:
// a caller that dies in between leaves nothing behind.
class CuseDoor {
 public:
  explicit CuseDoor(Machine& machine) : driver_(machine) {}

  struct Reply {
    // Not empty: ask again with these.
    std::vector<CallerRange> fetch;
    std::vector<CallerRange> fill;
    // Otherwise how the request ended: 0 or an errno, and with 0 the bytes for the caller's record.
    int error = 0;
    std::vector<uint8_t> out;
  };
  // `in` are the bytes of the ranges that the last reply to this request asked for: none at first.
  Reply ioctl(unsigned long request, uint64_t argument, const void* in, size_t in_size);

 private:
  Driver driver_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_CUSE_DOOR_H
