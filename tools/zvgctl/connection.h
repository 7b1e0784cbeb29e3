// The board that the command line names, open.
#ifndef ZVGCTL_CONNECTION_H
#define ZVGCTL_CONNECTION_H

#include <optional>
#include <string>

#include "service/board/board.h"
#include "zvgctl/connection_options.h"
#include "zvgctl/context.h"
#include "zvgctl/terminal/interrupts.h"

namespace zvgctl {

using zvg::last_register;
using zvg::last_vram;
using zvg::reason;

// Signals that come while it lives end the work with the board, and the command by that.
class Connection : private StoppableBoard, public zvg::Board {
 public:
  // Opens the board that the options name; with --sim, runs this very command on a virtual board
  // instead and does not return. Also starts the deadline: what --deadline says, else
  // default_deadline seconds (0 for none). With --json, standard output is kept for the document.
  // Throws a zvg::Error when there is no such board, or when its driver does not tell which chip it
  // has, unless any will do.
  explicit Connection(const Context& context, unsigned default_deadline = 0, bool any_chip = false);
  ~Connection();

  // Another deadline, from now on; 0 for none.
  void set_deadline(std::chrono::seconds limit);

  // "RQ301", "RQ302", or "RQ300" where --generation says so.
  std::string generation_name() const;

 private:
  const bool dead_ok_;
};

// What the last connection found out about a board that reads as ones, unless that may be.
std::optional<zvg::Error> found_dead_board();

}  // namespace zvgctl

#endif  // ZVGCTL_CONNECTION_H
