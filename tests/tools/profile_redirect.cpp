// Preloaded into zvgctl: keeps what it does to /etc/profile.d in a folder of the test's, counts the
// calls that an edit of the profile script consists of, and kills the process at one of them.
//   PROFILE_FOLDER   the folder
//   PROFILE_COUNTER  a file of two 32-bit numbers: the calls so far, and which one to kill at
//   PROFILE_ORPHAN   kills the parent as well, when that is zvgctl, too
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <string>

#define INTERPOSED extern "C" __attribute__((visibility("default")))

namespace {

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

struct Counter {
  std::atomic<uint32_t> calls;
  std::atomic<uint32_t> kill_at;
};

Counter* counter() {
  static Counter* const shared = []() -> Counter* {
    const char* const path = getenv("PROFILE_COUNTER");
    if (path == nullptr || strcmp(program_invocation_short_name, "zvgctl") != 0) return nullptr;
    static auto* const real = next<int(const char*, int, ...)>("open");
    const int fd = real(path, O_RDWR);
    void* const memory = mmap(nullptr, sizeof(Counter), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    return memory != MAP_FAILED ? static_cast<Counter*>(memory) : nullptr;
  }();
  return shared;
}

// The process that was preloaded; those that edit are its children.
const pid_t first_process = getpid();

// A place where the process may be killed.
void point() {
  Counter* const c = counter();
  if (c == nullptr || ++c->calls != c->kill_at) return;
  if (getenv("PROFILE_ORPHAN") != nullptr && getpid() != first_process) {
    kill(getppid(), SIGKILL);
  }
  raise(SIGKILL);
}

struct Place {
  std::string path;
  bool ours;
};

Place place(const char* path) {
  constexpr char folder[] = "/etc/profile.d";
  const char* const instead = getenv("PROFILE_FOLDER");
  if (instead == nullptr || strncmp(path, folder, strlen(folder)) != 0) return {path, false};
  return {instead + std::string(path + strlen(folder)), true};
}

}  // namespace

INTERPOSED int open(const char* path, int flags, ...) {
  static auto* const real = next<int(const char*, int, ...)>("open");
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  const Place there = place(path);
  if (there.ours) point();
  return real(there.path.c_str(), flags, mode);
}

INTERPOSED FILE* fopen(const char* path, const char* mode) {
  static auto* const real = next<FILE*(const char*, const char*)>("fopen");
  const Place there = place(path);
  if (there.ours) point();
  FILE* const file = real(there.path.c_str(), mode);
  if (there.ours) point();  // a script that is truncated, and nothing written yet
  return file;
}

INTERPOSED int rename(const char* from, const char* to) noexcept {
  static auto* const real = next<int(const char*, const char*)>("rename");
  point();
  return real(place(from).path.c_str(), place(to).path.c_str());
}

INTERPOSED int unlink(const char* path) noexcept {
  static auto* const real = next<int(const char*)>("unlink");
  point();
  return real(place(path).path.c_str());
}

INTERPOSED int stat(const char* path, struct stat* status) noexcept {
  static auto* const real = next<int(const char*, struct stat*)>("stat");
  return real(place(path).path.c_str(), status);
}

INTERPOSED int access(const char* path, int mode) noexcept {
  static auto* const real = next<int(const char*, int)>("access");
  return real(place(path).path.c_str(), mode);
}

INTERPOSED int fflush(FILE* file) {
  static auto* const real = next<int(FILE*)>("fflush");
  point();
  return real(file);
}

INTERPOSED int ftruncate(int fd, off_t size) noexcept {
  static auto* const real = next<int(int, off_t)>("ftruncate");
  point();
  return real(fd, size);
}

INTERPOSED int fsync(int fd) {
  static auto* const real = next<int(int)>("fsync");
  point();
  return real(fd);
}

INTERPOSED int system(const char*) {
  point();
  return 0;
}
