// The kernel driver's node, "/dev/zvgrw".
#ifndef ZVGSIM_DOORS_DRIVER_DOOR_H
#define ZVGSIM_DOORS_DRIVER_DOOR_H

#include <memory>

#include "doors/platform.h"
#include "machine/machine.h"

namespace zvgsim {

constexpr char driver_node[] = "/dev/zvgrw";

// The driver for programs of this process. A request that has a record fails with EFAULT when it is
// given none.
class DriverDoor {
 public:
  explicit DriverDoor(Machine& machine) : machine_(machine) {}

  // Any number of opens at a time.
  std::shared_ptr<OpenFile> open();

 private:
  Machine& machine_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_DRIVER_DOOR_H
