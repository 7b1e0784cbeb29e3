// What happens when the process is told to end in the middle of a command: by Ctrl-C, by a
// termination signal, or by its own deadline.
#ifndef ZVGCTL_INTERRUPTS_H
#define ZVGCTL_INTERRUPTS_H

namespace zvgctl {

// Catches the signals that people, terminals and pipes end programs with: tidies up as told below,
// then ends as the signal would.
void catch_interrupts();

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
  InterruptNotice();
  ~InterruptNotice();
  InterruptNotice(const InterruptNotice&) = delete;
  InterruptNotice& operator=(const InterruptNotice&) = delete;

  // May be asked on any thread.
  static bool came();
};

// Ends the process with a clear error and status 1 after that many seconds; 0 for never.
void set_deadline(unsigned seconds);

}  // namespace zvgctl

#endif  // ZVGCTL_INTERRUPTS_H
