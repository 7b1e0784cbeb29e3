#include "service/board/lock.h"

#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <time.h>
#include <unistd.h>

#include <fstream>
#include <string_view>
#include <utility>

#include "service/board/error.h"

namespace zvg {

namespace {

constexpr char shared_folder[] = "/run/lock";
constexpr long look_again_ns = 20'000'000;

// "process N (name)" of whoever has the file locked, by the kernel's list of locks.
std::string holder(int fd) {
  const std::string unknown = "another process";
  struct stat status;
  if (fstat(fd, &status) != 0) return unknown;
  const std::string file = format("%02x:%02x:%" PRIu64, major(status.st_dev), minor(status.st_dev),
                                  static_cast<uint64_t>(status.st_ino));
  std::ifstream locks("/proc/locks");
  for (std::string number, kind, mode, access, pid, place, rest;
       locks >> number >> kind >> mode >> access >> pid >> place && std::getline(locks, rest);) {
    if (kind != "FLOCK" || place != file || pid.starts_with('-') || pid == "0") continue;
    std::string name;
    std::getline(std::ifstream("/proc/" + pid + "/comm"), name);
    return "process " + pid + (name.empty() ? "" : " (" + name + ")");
  }
  return unknown;
}

[[noreturn]] void fail_lock(const std::string& path, int error, const char* why = nullptr) {
  Error failure(ErrorKind::not_connected,
                format("cannot lock %s: %s", path.c_str(), why != nullptr ? why : strerror(error)));
  failure.system_error = error;
  throw failure;
}

// What ended the wait.
ErrorKind kind_of(Stop::Cause cause) {
  if (cause == Stop::Cause::cancelled) return ErrorKind::cancelled;
  return cause == Stop::Cause::deadline ? ErrorKind::timeout : ErrorKind::busy;
}

// Whoever comes first makes the file; it stays, because taking it away would let two in. In a
// folder that all may write to, a file is made only where there is none, and no link is followed.
int open_name(const std::string& path) {
  constexpr int flags = O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK;
  constexpr mode_t everybody = 0644;  // whoever may read it may lock it
  for (int tries = 0; tries < 2; ++tries) {
    const int there = open(path.c_str(), O_RDONLY | flags);
    if (there >= 0 || errno != ENOENT) return there;
    const int made = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | flags, everybody);
    if (made >= 0) {
      fchmod(made, everybody);  // whatever the umask
      return made;
    }
    if (errno != EEXIST) return -1;
  }
  return -1;
}

}  // namespace

Lock::~Lock() {
  if (fd_ >= 0) close(fd_);
}

Lock::Lock(Lock&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

Lock& Lock::operator=(Lock&& other) noexcept {
  std::swap(fd_, other.fd_);
  return *this;
}

std::string Lock::lock_folder() {
  if (access(shared_folder, W_OK | X_OK) == 0) return shared_folder;
  const char* const own = getenv("XDG_RUNTIME_DIR");
  return own != nullptr && own[0] == '/' ? own : "/tmp";
}

Lock Lock::on_node(const std::string& path, const std::string& what, const Patience& patience) {
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) {
    if (errno != EBUSY) fail_lock(path, errno);
    // Somebody has claimed it in another way.
    throw_error(ErrorKind::busy, "%s is in use by another process", what.c_str());
  }
  return wait_for(fd, what, Kind::exclusive, patience);
}

Lock Lock::on_name(const std::string& name, const std::string& what, Kind kind,
                   const Patience& patience, const std::string& folder) {
  const std::string path = folder + "/zvg-" + name + ".lock";
  const int fd = open_name(path);
  if (fd < 0) fail_lock(path, errno, errno == ELOOP ? "it is a symbolic link" : nullptr);
  Lock lock(fd);
  struct stat status;
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    fail_lock(path, 0, "it is no regular file");
  }
  return wait_for(std::exchange(lock.fd_, -1), what, kind, patience);
}

Lock Lock::wait_for(int fd, const std::string& what, Kind kind, const Patience& patience) {
  Lock lock(fd);
  const int operation = (kind == Kind::exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB;
  const auto end = std::chrono::steady_clock::now() + patience.wait;
  while (flock(fd, operation) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) fail_lock(what, errno);
    const Stop::Cause cause = patience.stop == nullptr ? Stop::Cause::none : patience.stop->cause();
    if (cause != Stop::Cause::none || std::chrono::steady_clock::now() >= end) {
      throw_error(kind_of(cause), "%s is in use by %s", what.c_str(), holder(fd).c_str());
    }
    const timespec moment = {0, look_again_ns};
    nanosleep(&moment, nullptr);
  }
  return lock;
}

}  // namespace zvg
