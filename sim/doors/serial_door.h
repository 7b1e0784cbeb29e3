// A serial device in this process with the board's debug UART at its other end.
#ifndef ZVGSIM_DOORS_SERIAL_DOOR_H
#define ZVGSIM_DOORS_SERIAL_DOOR_H

#include <deque>
#include <memory>
#include <mutex>

#include "doors/platform.h"
#include "doors/uart_line.h"
#include "machine/machine.h"

namespace zvgsim {

constexpr char serial_node[] = "/dev/ttyZVG0";

// The line: what is on the wires, on the machine's clock, at the rates that the host sets with
// tcsetattr(). Bytes take their time; a wait for a reply spends it. It outlives its opens, as a
// tty's settings do.
class SerialDoor {
 public:
  explicit SerialDoor(Machine& machine);
  std::shared_ptr<OpenFile> open(int flags);

  UartLine& uart() { return state_->uart; }

 private:
  struct State;
  class File;
  struct State {
    explicit State(Machine& m) : machine(m), uart(m) {}
    Machine& machine;
    UartLine uart;
    termios attributes{};
    uint64_t sent_at = 0;            // when the last byte of the host is out
    std::deque<uint8_t> received{};  // at the host, not yet read
    std::mutex lock{};

    // Moves what has arrived by now into the host's buffer.
    void collect();
    // Lets time pass until something can be read, at most for that long. False when nothing came.
    // The lock is free while time passes.
    bool wait(uint64_t nanoseconds, std::unique_lock<std::mutex>& guard);
  };
  std::shared_ptr<State> state_;
};

// The rate of a termios speed constant; 0 for one that is not known.
unsigned baud_of(speed_t speed);

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_SERIAL_DOOR_H
