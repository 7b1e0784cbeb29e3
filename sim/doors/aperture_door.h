// The host's physical memory, "/dev/mem", as far as the card's apertures are in it.
#ifndef ZVGSIM_DOORS_APERTURE_DOOR_H
#define ZVGSIM_DOORS_APERTURE_DOOR_H

#include <memory>

#include "board/machine.h"
#include "doors/platform.h"

namespace zvgsim {

constexpr char memory_node[] = "/dev/mem";

// Maps the first card's register file and VRAM, the very memory that the board works on. Loads and
// stores reach plain storage only: they do not wake a device, and leave no trace.
class ApertureDoor {
 public:
  explicit ApertureDoor(Machine& machine) : machine_(machine) {}
  std::shared_ptr<OpenFile> open();

 private:
  Machine& machine_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_APERTURE_DOOR_H
