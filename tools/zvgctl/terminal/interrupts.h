// What happens when the process is told to end in the middle of a command: by Ctrl-C, by a
// termination signal, or by its own deadline.
#ifndef ZVGCTL_INTERRUPTS_H
#define ZVGCTL_INTERRUPTS_H

#include "service/board/stop.h"

namespace zvgctl {

// Catches the signals that people, terminals and pipes end programs with: tidies up as told below,
// then ends as the signal would. While a board is open, the first Ctrl-C, SIGTERM or SIGHUP only
// stops what goes on with it; the command ends by the Error that comes of it. The second one ends
// the process.
void catch_interrupts();

// What ends the work with the board that is open.
zvg::Stop& board_stop();

// While it lives, signals stop the board instead of ending the process.
class StoppableBoard {
 public:
  StoppableBoard();
  ~StoppableBoard();
  StoppableBoard(const StoppableBoard&) = delete;
  StoppableBoard& operator=(const StoppableBoard&) = delete;
};

// When a signal stopped the board: ends the process as that signal would have.
void end_as_interrupted();

// Ends the process with status 1 and a message, tidied up, when an exception has nowhere to go.
void catch_terminate();

// The half-written file to remove; null for none. The text is copied.
void remove_when_interrupted(const char* path);

// The serial line whose board is to be sent back to 9600 baud, or else the next program would
// find it deaf; -1 for none.
void leave_at_9600_when_interrupted(int serial_fd);

// The terminal that a full-screen view has taken over is given back first: its settings are put
// back as they are now, and the text is written to it, which is copied. Null for none.
void restore_terminal_when_interrupted(const char* text);

// While it lives, the first Ctrl-C or SIGTERM ends nothing and is only noticed, for commands that
// then have work to finish; waits like usleep() end early. The second one ends the process.
class InterruptNotice {
 public:
  // Whether what goes on with the board ends, too.
  enum class Board { goes_on, stopped };
  explicit InterruptNotice(Board board = Board::goes_on);
  ~InterruptNotice();
  InterruptNotice(const InterruptNotice&) = delete;
  InterruptNotice& operator=(const InterruptNotice&) = delete;

  // May be asked on any thread.
  static bool came();
};

// Stops the board after that many seconds; 0 for never. A process that does not end by that is
// ended a while later, with a clear error and status 1.
void set_deadline(unsigned seconds);

}  // namespace zvgctl

#endif  // ZVGCTL_INTERRUPTS_H
