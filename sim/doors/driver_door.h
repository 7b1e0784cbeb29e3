// The kernel driver's node, "/dev/zvgrw".
#ifndef ZVGSIM_DOORS_DRIVER_DOOR_H
#define ZVGSIM_DOORS_DRIVER_DOOR_H

#include <memory>

#include "board/machine.h"
#include "doors/platform.h"

namespace zvgsim {

constexpr char driver_node[] = "/dev/zvgrw";

// Answers the driver's requests, each with a record of exactly the size that its number encodes.
//   ENOTTY   a number that the driver does not know, also for a wrong size, type or direction
//   EFAULT   no record; kernel memory outside its range
//   ENODEV   a card that is not there
//   EINVAL   a field out of its range
// and whatever the fault plan says.
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
