// What happens when the process is told to end in the middle of a command: by Ctrl-C, by a
// termination signal, or by its own deadline.
#ifndef ZVGCTL_INTERRUPTS_H
#define ZVGCTL_INTERRUPTS_H

namespace zvgctl {

// Catches the signals that people, terminals and pipes end programs with: tidies up as told below, then ends as the signal would.
void catch_interrupts();

// The half-written file to remove; null for none. The text is copied.
void remove_when_interrupted(const char* path);

// The serial line whose board is to be sent back to 9600 baud, or else the next program would
// find it deaf; -1 for none.
void leave_at_9600_when_interrupted(int serial_fd);

// Ends the process with a clear error and status 1 after that many seconds; 0 for never.
void set_deadline(unsigned seconds);

}  // namespace zvgctl

#endif  // ZVGCTL_INTERRUPTS_H
