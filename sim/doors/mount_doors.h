// Every door of a machine at its usual place.
#ifndef ZVGSIM_DOORS_MOUNT_DOORS_H
#define ZVGSIM_DOORS_MOUNT_DOORS_H

#include "doors/aperture_door.h"
#include "doors/driver_door.h"
#include "doors/platform.h"
#include "doors/serial_door.h"
#include "machine/machine.h"

namespace zvgsim {

// The doors refer to the machine, and the mounted nodes to the doors: both stay until the nodes
// are unmounted and every descriptor is closed.
struct Doors {
  explicit Doors(Machine& machine) : driver(machine), aperture(machine), serial(machine) {}
  DriverDoor driver;
  ApertureDoor aperture;
  SerialDoor serial;
};

// Mounts the doors, and in virtual time takes the program's sleeps over. Inline: the program brings
// interpose.cpp along itself.
inline void mount_doors(Doors& doors, Machine& machine) {
  mount_node(driver_node, [&doors](int) { return doors.driver.open(); });
  mount_node(memory_node, [&doors](int) { return doors.aperture.open(); });
  mount_node(serial_node, [&doors](int flags) { return doors.serial.open(flags); });
  if (machine.clock().mode() == VirtualClock::Mode::virtual_time) {
    set_sleeper([&machine](uint64_t nanoseconds) { machine.clock().sleep(nanoseconds); });
  }
}

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_MOUNT_DOORS_H
