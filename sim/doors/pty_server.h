// The board's debug UART on a pseudo-terminal.
#ifndef ZVGSIM_DOORS_PTY_SERVER_H
#define ZVGSIM_DOORS_PTY_SERVER_H

#include <atomic>
#include <optional>
#include <string>

#include "doors/uart_line.h"
#include "machine/machine.h"

namespace zvgsim {

// Opens a pseudo-terminal whose slave side is the host's serial device. The host's rate is what it
// set with tcsetattr(). The machine runs in real time.
class PtyServer {
 public:
  // Throws std::system_error when there is no pseudo-terminal.
  explicit PtyServer(Machine& machine);
  ~PtyServer();
  PtyServer(const PtyServer&) = delete;
  PtyServer& operator=(const PtyServer&) = delete;

  // The serial device for the host.
  const std::string& path() const { return path_; }

  // Serves until stop becomes true (checked when a signal interrupts, and after every event) or the
  // time is over. Throws std::system_error when the pseudo-terminal fails.
  void run(const std::atomic<bool>& stop, std::optional<uint64_t> nanoseconds);

  const UartLine& uart() const { return uart_; }

 private:
  void receive();
  void send();

  Machine& machine_;
  UartLine uart_;
  int master_ = -1;
  int slave_ = -1;  // kept open: the line stays up between two hosts
  std::string path_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_PTY_SERVER_H
