// The host's physical memory, "/dev/mem", as far as the card's apertures are in it.
#ifndef ZVGSIM_DOORS_APERTURE_DOOR_H
#define ZVGSIM_DOORS_APERTURE_DOOR_H

#include <memory>

#include "doors/platform.h"
#include "machine/machine.h"

namespace zvgsim {

constexpr char memory_node[] = "/dev/mem";

// Maps the first card's register file and VRAM. Every load and store in the register aperture is an
// access to the board, as if it came through another door; VRAM is the very memory that the board
// works on, at full speed and without a trace.
//
// A handler that interrupts a request at another door must not touch the registers: the board
// answers one access after the other.
class ApertureDoor {
 public:
  // Plain registers are storage, too: accesses do not wake a device. So they are on a machine that
  // cannot trap memory; a line on standard error says it, once.
  enum class Registers { live, plain };

  explicit ApertureDoor(Machine& machine, Registers registers = Registers::live);
  // Mappings that are left have nothing behind them.
  ~ApertureDoor();

  std::shared_ptr<OpenFile> open();

 private:
  class Model;
  Machine& machine_;
  const Registers registers_;
  const std::unique_ptr<Model> model_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_APERTURE_DOOR_H
