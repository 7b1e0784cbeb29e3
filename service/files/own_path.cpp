#include "service/files/own_path.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "service/board/error.h"

namespace zvg {

namespace {

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  void take(int fd) {
    if (fd_ >= 0) close(fd_);
    fd_ = fd;
  }
  int get() const { return fd_; }
  int release() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

// Whether somebody else than root and this process's user may put things there. Groups count for
// root: whoever is in one is not root.
bool others_can_write(const struct stat& folder) {
  const uid_t self = geteuid();
  if (folder.st_uid != self && folder.st_uid != 0) return true;
  return (folder.st_mode & (self == 0 ? S_IWGRP | S_IWOTH : S_IWOTH)) != 0;
}

[[noreturn]] void fail_link(const std::string& path) {
  throw_error(ErrorKind::file,
              "%s goes through a symbolic link in a folder that others can write: name the file "
              "itself",
              path.c_str());
}

// The folder of a path's last name, and that name. The descriptor is -1 with errno when there is no
// such folder.
int open_folder_of(const std::string& path, std::string* name, bool* foreign) {
  Descriptor folder(open(path.starts_with('/') ? "/" : ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
  for (size_t at = path.find_first_not_of('/'); folder.get() >= 0;) {
    struct stat status;
    if (fstat(folder.get(), &status) != 0) return -1;
    *foreign = others_can_write(status);
    const size_t slash = at == std::string::npos ? std::string::npos : path.find('/', at);
    const size_t next =
        path.find_first_not_of('/', slash == std::string::npos ? path.size() : slash);
    *name = at == std::string::npos ? "" : path.substr(at, slash - at);
    if (next == std::string::npos) return folder.release();
    struct stat step;
    if (fstatat(folder.get(), name->c_str(), &step, AT_SYMLINK_NOFOLLOW) != 0) return -1;
    if (S_ISLNK(step.st_mode) && *foreign) fail_link(path);
    const int no_link = *foreign ? O_NOFOLLOW : 0;
    folder.take(openat(folder.get(), name->c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC | no_link));
    at = next;
  }
  return -1;
}

}  // namespace

int open_to_write(const std::string& path, int flags, mode_t mode) {
  std::string name;
  bool foreign = false;
  const Descriptor folder(open_folder_of(path, &name, &foreign));
  if (folder.get() < 0) return -1;
  const int no_link = foreign ? O_NOFOLLOW : 0;
  Descriptor file(openat(folder.get(), name.c_str(), flags | O_CLOEXEC | no_link, mode));
  if (file.get() < 0) {
    if (foreign && errno == ELOOP) fail_link(path);
    return -1;
  }
  // The folder's owner may have what he puts there overwritten.
  struct stat status, of_folder;
  if (foreign && (fstat(file.get(), &status) != 0 || fstat(folder.get(), &of_folder) != 0 ||
                  !S_ISREG(status.st_mode) || status.st_nlink != 1 ||
                  (status.st_uid != geteuid() && status.st_uid != of_folder.st_uid))) {
    throw_error(ErrorKind::file,
                "%s is somebody else's, or no plain file, in a folder that others can write: give "
                "another name",
                path.c_str());
  }
  return file.release();
}

void expect_own_folders(const std::string& path) {
  std::string name;
  bool foreign = false;
  const Descriptor folder(open_folder_of(path, &name, &foreign));
}

void expect_own_folder(const std::string& path) {
  expect_own_folders(path);
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) return;
  if (S_ISLNK(status.st_mode)) {
    std::string name;
    bool foreign = false;
    const Descriptor folder(open_folder_of(path, &name, &foreign));
    if (foreign) fail_link(path);
    if (stat(path.c_str(), &status) != 0) return;
  }
  if (others_can_write(status)) {
    throw_error(ErrorKind::file, "others can write into the folder %s: give another one",
                path.c_str());
  }
}

}  // namespace zvg
