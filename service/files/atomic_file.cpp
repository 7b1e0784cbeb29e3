#include "service/files/atomic_file.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "service/board/error.h"
#include "service/files/own_path.h"

namespace zvg {

AtomicFile::AtomicFile(std::string path, bool overwrite, int stream, const char* or_else)
    : path_(std::move(path)), fd_(stream) {
  if (stream >= 0) return;
  expect_own_folders(path_);
  struct stat status;
  if (stat(path_.c_str(), &status) == 0) {
    if (!S_ISREG(status.st_mode))
      throw_error(ErrorKind::file, "%s exists and is no regular file", path_.c_str());
    if (!overwrite) {
      throw_error(ErrorKind::file, "%s exists already: give another name%s", path_.c_str(),
                  or_else);
    }
  }
  temporary_ = path_ + ".part-XXXXXX";
  fd_ = mkstemp(temporary_.data());
  if (fd_ < 0) throw_error(ErrorKind::file, "cannot create %s: %s", path_.c_str(), strerror(errno));
  const mode_t mask = umask(0);
  umask(mask);
  fchmod(fd_, 0666 & ~mask);
}

AtomicFile::~AtomicFile() {
  if (fd_ >= 0) close(fd_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void AtomicFile::write(const void* bytes, size_t size) {
  const auto* next = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t written = ::write(fd_, next, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0)
      throw_error(ErrorKind::file, "cannot write %s: %s", path_.c_str(), strerror(errno));
    next += written;
    size -= static_cast<size_t>(written);
  }
}

void AtomicFile::commit() {
  const int closed = close(fd_);
  fd_ = -1;
  const bool named = !temporary_.empty();
  if (closed != 0 || (named && rename(temporary_.c_str(), path_.c_str()) != 0)) {
    throw_error(ErrorKind::file, "cannot write %s: %s", path_.c_str(), strerror(errno));
  }
  temporary_.clear();
}

}  // namespace zvg
