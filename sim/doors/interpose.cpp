// The libc calls that this process or preload library takes over. Each finds what was mounted on
// the descriptor or path and hands the call to it, or passes it on to the next library.
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdarg.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <map>
#include <mutex>
#include <utility>

#include "doors/fault_signals.h"
#include "doors/platform.h"
#include "doors/trapped_memory.h"

namespace zvgsim {

namespace {

// The real calls are looked up on first use: a preloaded library is called before its own
// initialisers have run.
template <typename Function>
Function* next_symbol(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

#define ZVGSIM_REAL(name)                                                   \
  ([] {                                                                     \
    static auto* const real = zvgsim::next_symbol<decltype(::name)>(#name); \
    return real;                                                            \
  }())

// Descriptors are small numbers; the few that stand for a device are found without a lock.
constexpr size_t max_descriptors = 4096;

struct Platform {
  std::mutex lock;
  std::map<std::string, Opener> nodes;
  std::array<std::shared_ptr<OpenFile>, max_descriptors> files;
  std::array<std::atomic<OpenFile*>, max_descriptors> open_files{};
  Sleeper sleeper;
  MunmapObserver munmap_observer;
};

// Never destroyed: descriptors are closed and memory is unmapped until the very end of a process.
Platform& platform() {
  static Platform& instance = *new Platform;
  return instance;
}

std::atomic<bool> mounted{false};

OpenFile* device_behind(int fd) {
  if (!mounted.load(std::memory_order_acquire)) return nullptr;
  if (fd < 0 || static_cast<size_t>(fd) >= max_descriptors) return nullptr;
  return platform().open_files[static_cast<size_t>(fd)].load(std::memory_order_acquire);
}

int refuse(int error) {
  errno = error;
  return -1;
}

// Returns true when a node answered; *fd is then the result of the open call.
bool open_node(const char* path, int flags, int* fd) {
  if (path == nullptr || !mounted.load(std::memory_order_acquire)) return false;
  Opener opener;
  {
    std::lock_guard guard(platform().lock);
    const auto node = platform().nodes.find(path);
    if (node == platform().nodes.end()) return false;
    opener = node->second;
  }
  std::shared_ptr<OpenFile> file = opener(flags);
  if (!file) {
    *fd = -1;
    return true;
  }
  // A real descriptor keeps the number unique and makes any call that is not taken over fail
  // quietly.
  *fd = ZVGSIM_REAL(open)("/dev/null", O_RDWR | O_CLOEXEC);
  if (*fd < 0) return true;
  const auto index = static_cast<size_t>(*fd);
  if (index >= max_descriptors) {
    ZVGSIM_REAL(close)(*fd);
    *fd = refuse(EMFILE);
    return true;
  }
  std::lock_guard guard(platform().lock);
  platform().open_files[index].store(file.get(), std::memory_order_release);
  platform().files[index] = std::move(file);
  return true;
}

void forget(int fd) {
  std::shared_ptr<OpenFile> file;
  {
    std::lock_guard guard(platform().lock);
    const auto index = static_cast<size_t>(fd);
    platform().open_files[index].store(nullptr, std::memory_order_release);
    file = std::move(platform().files[index]);
  }
}  // the file is destroyed outside the lock: it may call back

int open_with(int (*real)(const char*, int, ...), const char* path, int flags, mode_t mode) {
  int fd = -1;
  if (open_node(path, flags, &fd)) return fd;
  return real(path, flags, mode);
}

constexpr bool takes_mode(int flags) {
  return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

// A mapping at a fixed place ends whatever was there.
void forget_replaced(const void* address, size_t length, int flags) {
  if ((flags & MAP_FIXED) != 0) forget_trapped(address, length);
}

template <typename Function>
int change_mask(Function real, int how, const sigset_t* set, sigset_t* old) {
  // Before there is trapped memory, too: what is blocked then stays blocked.
  const bool concerned = mounted.load(std::memory_order_acquire) || fault_signals_taken();
  if (!concerned) return real(how, set, old);
  sigset_t open_set;
  if (set != nullptr) open_set = kernel_mask(*set);
  const int result = real(how, set != nullptr ? &open_set : nullptr, old);
  if (result == 0 && old != nullptr) *old = program_mask(*old);
  return result;
}

// A device's answer to poll(). One that is asked for both has room to write.
int wait_for(OpenFile* device, pollfd* asked, int timeout_ms) {
  const timeval limit = {timeout_ms / 1000, timeout_ms % 1000 * 1000};
  const timeval* const timeout = timeout_ms < 0 ? nullptr : &limit;
  const bool writing = (asked->events & POLLOUT) != 0;
  const int result = writing ? device->wait_writable(timeout) : device->wait_readable(timeout);
  asked->revents = static_cast<short>(result <= 0 ? 0 : writing ? POLLOUT : POLLIN);
  return result;
}

bool take_sleep(uint64_t nanoseconds) {
  if (!mounted.load(std::memory_order_acquire) || !platform().sleeper) return false;
  platform().sleeper(nanoseconds);
  return true;
}

}  // namespace

void mount_node(const std::string& path, Opener opener) {
  std::lock_guard guard(platform().lock);
  if (opener) {
    platform().nodes[path] = std::move(opener);
  } else {
    platform().nodes.erase(path);
  }
  mounted.store(true, std::memory_order_release);
}

void set_sleeper(Sleeper sleeper) {
  platform().sleeper = std::move(sleeper);
  mounted.store(true, std::memory_order_release);
}

void set_munmap_observer(MunmapObserver observer) {
  platform().munmap_observer = std::move(observer);
  mounted.store(true, std::memory_order_release);
}

void unmount_all() {
  std::lock_guard guard(platform().lock);
  platform().nodes.clear();
  platform().sleeper = nullptr;
  platform().munmap_observer = nullptr;
}

void lock_platform() {
  platform().lock.lock();
}
void unlock_platform() {
  platform().lock.unlock();
}

}  // namespace zvgsim

using zvgsim::device_behind;

#define ZVGSIM_INTERPOSED extern "C" __attribute__((visibility("default")))

// libc declares these only for its own use.
extern "C" int __open_2(const char* path, int flags);
extern "C" int __open64_2(const char* path, int flags);

ZVGSIM_INTERPOSED int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = zvgsim::takes_mode(flags) ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return zvgsim::open_with(ZVGSIM_REAL(open), path, flags, mode);
}

ZVGSIM_INTERPOSED int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = zvgsim::takes_mode(flags) ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return zvgsim::open_with(ZVGSIM_REAL(open64), path, flags, mode);
}

// What open() without a mode becomes in programs that are built with _FORTIFY_SOURCE.
ZVGSIM_INTERPOSED int __open_2(const char* path, int flags) {
  return zvgsim::open_with(ZVGSIM_REAL(open), path, flags, 0);
}

ZVGSIM_INTERPOSED int __open64_2(const char* path, int flags) {
  return zvgsim::open_with(ZVGSIM_REAL(open64), path, flags, 0);
}

ZVGSIM_INTERPOSED int close(int fd) {
  if (device_behind(fd) != nullptr) zvgsim::forget(fd);
  return ZVGSIM_REAL(close)(fd);
}

ZVGSIM_INTERPOSED int ioctl(int fd, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (auto* file = device_behind(fd)) return file->ioctl(request, argument);
  return ZVGSIM_REAL(ioctl)(fd, request, argument);
}

ZVGSIM_INTERPOSED ssize_t read(int fd, void* buffer, size_t size) {
  if (auto* file = device_behind(fd)) return file->read(buffer, size);
  return ZVGSIM_REAL(read)(fd, buffer, size);
}

ZVGSIM_INTERPOSED ssize_t write(int fd, const void* buffer, size_t size) {
  if (auto* file = device_behind(fd)) return file->write(buffer, size);
  return ZVGSIM_REAL(write)(fd, buffer, size);
}

ZVGSIM_INTERPOSED void* mmap(void* address, size_t length, int protection, int flags, int fd,
                             off_t offset) noexcept {
  if (auto* file = device_behind(fd)) {
    return file->mmap(address, length, protection, flags, offset);
  }
  zvgsim::forget_replaced(address, length, flags);
  return ZVGSIM_REAL(mmap)(address, length, protection, flags, fd, offset);
}

ZVGSIM_INTERPOSED void* mmap64(void* address, size_t length, int protection, int flags, int fd,
                               off64_t offset) noexcept {
  if (auto* file = device_behind(fd)) {
    return file->mmap(address, length, protection, flags, offset);
  }
  zvgsim::forget_replaced(address, length, flags);
  return ZVGSIM_REAL(mmap64)(address, length, protection, flags, fd, offset);
}

ZVGSIM_INTERPOSED int munmap(void* address, size_t length) noexcept {
  if (zvgsim::mounted.load(std::memory_order_acquire) && zvgsim::platform().munmap_observer) {
    zvgsim::platform().munmap_observer(address, length);
  }
  zvgsim::forget_trapped(address, length);
  return ZVGSIM_REAL(munmap)(address, length);
}

// The signals that trapped memory lives on are the program's as far as it can tell.
ZVGSIM_INTERPOSED int sigaction(int signal, const struct sigaction* action,
                                struct sigaction* old) noexcept {
  if (!zvgsim::fault_signals_taken()) return zvgsim::real_sigaction(signal, action, old);
  if (zvgsim::is_fault_signal(signal)) return zvgsim::program_sigaction(signal, action, old);
  if (action == nullptr) return zvgsim::real_sigaction(signal, action, old);
  struct sigaction open_action = *action;
  open_action.sa_mask = zvgsim::kernel_mask(action->sa_mask);
  return zvgsim::real_sigaction(signal, &open_action, old);
}

ZVGSIM_INTERPOSED sighandler_t signal(int signal, sighandler_t handler) noexcept {
  if (!zvgsim::fault_signals_taken() || !zvgsim::is_fault_signal(signal)) {
    return ZVGSIM_REAL(signal)(signal, handler);
  }
  struct sigaction action = {};
  struct sigaction old = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  zvgsim::program_sigaction(signal, &action, &old);
  return old.sa_handler;
}

ZVGSIM_INTERPOSED int sigprocmask(int how, const sigset_t* set, sigset_t* old) noexcept {
  return zvgsim::change_mask(ZVGSIM_REAL(sigprocmask), how, set, old);
}

ZVGSIM_INTERPOSED int pthread_sigmask(int how, const sigset_t* set, sigset_t* old) noexcept {
  return zvgsim::change_mask(ZVGSIM_REAL(pthread_sigmask), how, set, old);
}

// A wait for a device's input. Next to a real descriptor a device only counts when its input is
// there already: the wait itself is then libc's.
ZVGSIM_INTERPOSED int select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                             timeval* timeout) {
  int device = -1;
  bool others = writable != nullptr || exceptional != nullptr;
  for (int fd = 0; readable != nullptr && fd < count && fd < FD_SETSIZE; ++fd) {
    if (!FD_ISSET(fd, readable)) continue;
    if (device < 0 && device_behind(fd) != nullptr) {
      device = fd;
    } else {
      others = true;
    }
  }
  if (device < 0) return ZVGSIM_REAL(select)(count, readable, writable, exceptional, timeout);
  constexpr timeval at_once = {0, 0};
  const int result = device_behind(device)->wait_readable(others ? &at_once : timeout);
  if (result != 0 || !others) {
    FD_ZERO(readable);
    if (writable != nullptr) FD_ZERO(writable);
    if (exceptional != nullptr) FD_ZERO(exceptional);
    if (result > 0) FD_SET(device, readable);
    return result;
  }
  FD_CLR(device, readable);
  return ZVGSIM_REAL(select)(count, readable, writable, exceptional, timeout);
}

// As select().
ZVGSIM_INTERPOSED int poll(pollfd* files, nfds_t count, int timeout_ms) {
  pollfd* const end = files + count;
  pollfd* const device = std::find_if(
      files, end, [](const pollfd& file) { return device_behind(file.fd) != nullptr; });
  if (device == end) return ZVGSIM_REAL(poll)(files, count, timeout_ms);
  const bool others = count > 1;
  for (pollfd* file = files; file != end; ++file) file->revents = 0;
  const int result = zvgsim::wait_for(device_behind(device->fd), device, others ? 0 : timeout_ms);
  if (result != 0 || !others) return result;
  // What libc would find under the device's number is another file.
  const int fd = std::exchange(device->fd, -1);
  const int others_ready = ZVGSIM_REAL(poll)(files, count, timeout_ms);
  device->fd = fd;
  return others_ready;
}

ZVGSIM_INTERPOSED int tcgetattr(int fd, termios* attributes) noexcept {
  if (auto* file = device_behind(fd)) return file->tcgetattr(attributes);
  return ZVGSIM_REAL(tcgetattr)(fd, attributes);
}

ZVGSIM_INTERPOSED int tcsetattr(int fd, int actions, const termios* attributes) noexcept {
  if (auto* file = device_behind(fd)) return file->tcsetattr(actions, attributes);
  return ZVGSIM_REAL(tcsetattr)(fd, actions, attributes);
}

ZVGSIM_INTERPOSED int tcflush(int fd, int queue) noexcept {
  if (auto* file = device_behind(fd)) return file->tcflush(queue);
  return ZVGSIM_REAL(tcflush)(fd, queue);
}

ZVGSIM_INTERPOSED int usleep(useconds_t microseconds) {
  if (zvgsim::take_sleep(uint64_t{microseconds} * 1000)) return 0;
  return ZVGSIM_REAL(usleep)(microseconds);
}

ZVGSIM_INTERPOSED unsigned sleep(unsigned seconds) {
  if (zvgsim::take_sleep(uint64_t{seconds} * 1'000'000'000)) return 0;
  return ZVGSIM_REAL(sleep)(seconds);
}
