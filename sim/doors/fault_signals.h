// The two signals that trapped memory lives on, shared with the program.
#ifndef ZVGSIM_DOORS_FAULT_SIGNALS_H
#define ZVGSIM_DOORS_FAULT_SIGNALS_H

#include <signal.h>
#include <ucontext.h>

namespace zvgsim {

// SIGSEGV and SIGTRAP.
bool is_fault_signal(int signal);

// Answers one of them; false when it is none of ours and thus the program's, which then gets what
// the handler made of signal, info and context. Runs with every signal blocked.
using FaultHandler = bool (*)(int* signal, siginfo_t* info, ucontext_t& context);

// Takes both signals over for the rest of the process; what the program had set up for them, and
// sets up later through program_sigaction(), gets whatever the handler leaves. Does nothing the
// second time.
void take_fault_signals(FaultHandler handler);
bool fault_signals_taken();

// As the program sees sigaction() of a fault signal that is taken.
int program_sigaction(int signal, const struct sigaction* action, struct sigaction* old);

// A fault whose signal is blocked kills, so that the two signals never are: in the masks that the
// kernel sees, two of the last real-time signals stand for them. What the program blocks thus
// goes wherever masks go, into handlers, new threads and jump buffers.
sigset_t kernel_mask(const sigset_t& program);
sigset_t program_mask(const sigset_t& kernel);

// Runs as short as it lives, with all signals blocked.
class QuietScope {
 public:
  QuietScope();
  ~QuietScope();
  QuietScope(const QuietScope&) = delete;
  QuietScope& operator=(const QuietScope&) = delete;

 private:
  sigset_t before_;
};

// The calls behind those of the same names that are taken over.
int real_sigaction(int signal, const struct sigaction* action, struct sigaction* old);
int real_pthread_sigmask(int how, const sigset_t* set, sigset_t* old);

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_FAULT_SIGNALS_H
