#include "doors/fault_signals.h"

#include <dlfcn.h>
#include <errno.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <mutex>

namespace zvgsim {

namespace {

// Programs take real-time signals from SIGRTMIN on, so that two near the last are most likely free.
constexpr int last_real_time_signal = 64;
struct Stand {
  int signal;
  int stand_in;  // in the kernel's masks
};
constexpr Stand stands[] = {{SIGSEGV, last_real_time_signal - 1},
                            {SIGTRAP, last_real_time_signal - 2}};

const Stand* stand_of(int signal) {
  for (const Stand& stand : stands) {
    if (stand.signal == signal) return &stand;
  }
  return nullptr;
}

std::atomic<bool> taken{false};
FaultHandler fault_handler = nullptr;

// What the program wants done, by signal number. Held for a copy only, with all signals blocked.
constinit std::mutex actions_lock;
struct sigaction actions[NSIG];

template <typename Function>
Function* next_symbol(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// In a signal's frame the kernel keeps 64 signals and no more room than that.
sigset_t mask_of(const ucontext_t& context) {
  sigset_t mask;
  sigemptyset(&mask);
  memcpy(&mask, &context.uc_sigmask, sizeof(uint64_t));
  return mask;
}

void unblock(ucontext_t& context, int signal) {
  sigset_t mask = mask_of(context);
  sigdelset(&mask, signal);
  memcpy(&context.uc_sigmask, &mask, sizeof(uint64_t));
}

// The process ends by the signal, with what is known about its cause, on the return to the program.
void die_by(int signal, siginfo_t* info, ucontext_t& context) {
  struct sigaction action = {};
  action.sa_handler = SIG_DFL;
  real_sigaction(signal, &action, nullptr);
  unblock(context, signal);
  syscall(SYS_rt_tgsigqueueinfo, getpid(), syscall(SYS_gettid), signal, info);
}

// Does to the program what the kernel would have done.
void deliver(int signal, siginfo_t* info, ucontext_t& context) {
  const Stand& stand = *stand_of(signal);
  const bool forced = info->si_code > 0;  // by what the thread did, not sent by somebody
  sigset_t mask = mask_of(context);
  struct sigaction action;
  {
    const std::lock_guard guard(actions_lock);
    action = actions[signal];
    if ((action.sa_flags & SA_RESETHAND) != 0) actions[signal].sa_handler = SIG_DFL;
  }
  const bool ignored = action.sa_handler == SIG_IGN;
  if (ignored && !forced) return;
  const bool blocked = sigismember(&mask, stand.stand_in) == 1;
  if (action.sa_handler == SIG_DFL || ignored || (blocked && forced)) {
    die_by(signal, info, context);
    return;
  }
  if ((action.sa_flags & SA_NODEFER) == 0) sigaddset(&mask, stand.stand_in);
  const sigset_t more = kernel_mask(action.sa_mask);
  sigorset(&mask, &mask, &more);
  real_pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  if ((action.sa_flags & SA_SIGINFO) != 0) {
    action.sa_sigaction(signal, info, &context);
  } else {
    action.sa_handler(signal);
  }
}

void on_fault_signal(int signal, siginfo_t* info, void* context) {
  const int saved_errno = errno;
  auto& frame = *static_cast<ucontext_t*>(context);
  const bool ours = fault_handler(&signal, info, frame);
  errno = saved_errno;
  if (!ours) deliver(signal, info, frame);
}

// The handlers that are there already must not block what they need when they touch the memory.
void open_masks_of_handlers() {
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction action;
    if (is_fault_signal(signal) || real_sigaction(signal, nullptr, &action) != 0) continue;
    if (action.sa_handler == SIG_DFL || action.sa_handler == SIG_IGN) continue;
    const sigset_t mask = kernel_mask(action.sa_mask);
    if (memcmp(&mask, &action.sa_mask, sizeof(uint64_t)) == 0) continue;
    action.sa_mask = mask;
    real_sigaction(signal, &action, nullptr);
  }
}

}  // namespace

bool is_fault_signal(int signal) {
  return stand_of(signal) != nullptr;
}

int real_sigaction(int signal, const struct sigaction* action, struct sigaction* old) {
  static auto* const real = next_symbol<decltype(::sigaction)>("sigaction");
  return real(signal, action, old);
}

int real_pthread_sigmask(int how, const sigset_t* set, sigset_t* old) {
  static auto* const real = next_symbol<decltype(::pthread_sigmask)>("pthread_sigmask");
  return real(how, set, old);
}

void take_fault_signals(FaultHandler handler) {
  const QuietScope quiet;
  if (taken.load(std::memory_order_acquire)) return;
  fault_handler = handler;
  open_masks_of_handlers();
  struct sigaction action = {};
  action.sa_sigaction = on_fault_signal;
  // On the alternate stack where there is one: a program may count on it for its own faults.
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigfillset(&action.sa_mask);
  for (const Stand& stand : stands) {
    real_sigaction(stand.signal, nullptr, &actions[stand.signal]);
    real_sigaction(stand.signal, &action, nullptr);
  }
  taken.store(true, std::memory_order_release);
}

bool fault_signals_taken() {
  return taken.load(std::memory_order_acquire);
}

int program_sigaction(int signal, const struct sigaction* action, struct sigaction* old) {
  const QuietScope quiet;
  const std::lock_guard guard(actions_lock);
  const struct sigaction before = actions[signal];
  if (action != nullptr) actions[signal] = *action;
  if (old != nullptr) *old = before;
  return 0;
}

sigset_t kernel_mask(const sigset_t& program) {
  sigset_t mask = program;
  for (const Stand& stand : stands) {
    if (sigismember(&mask, stand.signal) != 1) continue;
    sigdelset(&mask, stand.signal);
    sigaddset(&mask, stand.stand_in);
  }
  return mask;
}

sigset_t program_mask(const sigset_t& kernel) {
  sigset_t mask = kernel;
  for (const Stand& stand : stands) {
    if (sigismember(&mask, stand.stand_in) == 1) sigaddset(&mask, stand.signal);
  }
  return mask;
}

QuietScope::QuietScope() {
  sigset_t all;
  sigfillset(&all);
  real_pthread_sigmask(SIG_SETMASK, &all, &before_);
}

QuietScope::~QuietScope() {
  real_pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace zvgsim
