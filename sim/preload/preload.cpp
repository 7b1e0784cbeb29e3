// The board that comes into a program through LD_PRELOAD.
#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <exception>
#include <mutex>

#include "doors/mount_doors.h"
#include "machine/machine.h"
#include "preload/environment.h"

namespace zvgsim {

namespace {

struct Preloaded {
  Preloaded(BoardConfig config, VirtualClock::Mode mode)
      : machine(std::move(config), mode), doors(machine) {}
  Machine machine;
  Doors doors;
};

// Never destroyed: the program may use the board until it is gone.
Preloaded* preloaded = nullptr;

// A child has the parent's board as it was, with the same register file and VRAM. Neither lock may
// be in another thread's hands when it begins.
void before_fork() {
  lock_platform();
  preloaded->machine.lock().lock();
}

void after_fork() {
  preloaded->machine.lock().unlock();
  unlock_platform();
}

[[noreturn]] void give_up(const char* text) {
  fprintf(stderr, "zvgsim: %s\n", text);
  fflush(stderr);
  _exit(EXIT_FAILURE);
}

void start_trace(AccessTrace& trace, const char* path) {
  FILE* const file = fopen(path, "ae");
  if (file == nullptr) {
    char text[512];
    snprintf(text, sizeof text, "cannot write the trace to %s: %s", path, strerror(errno));
    give_up(text);
  }
  trace.start(file);
}

bool is_set(const char* value) {
  return value != nullptr && *value != '\0';
}

// Before main(), and before any other code of the program could open a device. Calls that come
// earlier still, from the loader or other libraries, go to libc.
__attribute__((constructor)) void power_up() {
  const char* const board = getenv(board_variable);
  const char* const virtual_time = getenv(virtual_time_variable);
  const char* const trace = getenv(trace_variable);
  const auto mode = virtual_time != nullptr && strcmp(virtual_time, "1") == 0
                        ? VirtualClock::Mode::virtual_time
                        : VirtualClock::Mode::real_time;
  const int saved_errno = errno;
  try {
    preloaded = new Preloaded(is_set(board) ? load_board_file(board) : BoardConfig(), mode);
  } catch (const std::exception& failure) {
    give_up(failure.what());
  }
  if (is_set(trace)) start_trace(preloaded->machine.trace(), trace);
  pthread_atfork(before_fork, after_fork, after_fork);
  mount_doors(preloaded->doors, preloaded->machine);
  errno = saved_errno;
}

// The board itself outlives the program; what it keeps in files goes there now.
__attribute__((destructor)) void power_off() {
  if (preloaded == nullptr) return;
  const std::lock_guard guard(preloaded->machine.lock());
  for (unsigned card = 0; card < preloaded->machine.cards(); ++card) {
    preloaded->machine.card(card).save();
  }
}

}  // namespace

}  // namespace zvgsim

// For programs that must not reach a real board instead: whether this one is in the process.
extern "C" __attribute__((visibility("default"))) int zvgsim_is_loaded() {
  return zvgsim::preloaded != nullptr ? 1 : 0;
}
