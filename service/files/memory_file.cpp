#include "service/files/memory_file.h"

#include <errno.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include "service/board/error.h"

namespace zvg {

MemoryFile::MemoryFile() : fd_(memfd_create("zvg", MFD_CLOEXEC)) {
  if (fd_ < 0) {
    throw_error(ErrorKind::file, "cannot make a file in memory: %s", strerror(errno));
  }
  path_ = "/proc/self/fd/" + std::to_string(fd_);
}

MemoryFile::~MemoryFile() {
  close(fd_);
}

void MemoryFile::put(const void* bytes, size_t size) {
  const auto* const first = static_cast<const char*>(bytes);
  for (size_t done = 0; done < size;) {
    const ssize_t written = pwrite(fd_, first + done, size - done, static_cast<off_t>(done));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      throw_error(ErrorKind::file, "cannot write a file in memory: %s", strerror(errno));
    }
    done += static_cast<size_t>(written);
  }
}

}  // namespace zvg
