#include "service/files/input_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "service/board/error.h"

namespace zvg {

namespace {

class Input {
 public:
  explicit Input(const std::string& path)
      : fd_(path == standard_stream ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (fd_ < 0) {
      throw_error(ErrorKind::file, "cannot read %s: %s", path.c_str(), strerror(errno));
    }
  }
  ~Input() {
    if (fd_ != STDIN_FILENO) close(fd_);
  }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  int get() const { return fd_; }

 private:
  int fd_;
};

// In the largest unit of which it is a whole number: 2,097,152 bytes are "2 MiB".
std::string size_text(uint64_t size) {
  constexpr const char* units[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
  size_t unit = 0;
  for (; size != 0 && size % 1024 == 0 && unit + 1 < std::size(units); ++unit) size /= 1024;
  return format("%zu %s", static_cast<size_t>(size), units[unit]);
}

// Terminals come to an end when people say so, and nothing is in /dev/null.
bool has_an_end(int fd, const struct stat& status) {
  constexpr unsigned memory_devices = 1, null_device = 3;
  if (S_ISBLK(status.st_mode)) return false;
  if (!S_ISCHR(status.st_mode)) return true;
  return status.st_rdev == makedev(memory_devices, null_device) || isatty(fd) == 1;
}

[[noreturn]] void fail_too_large(const std::string& name, const std::string& has, size_t most,
                                 const char* use) {
  throw_error(ErrorKind::bad_data, "%s has %s: %s has at most %s", name.c_str(), has.c_str(), use,
              size_text(most).c_str());
}

}  // namespace

std::string input_name(const std::string& path) {
  return path == standard_stream ? "standard input" : path;
}

void expect_input(const std::string& path, size_t most, const char* use) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return;
  constexpr int no_terminal = -1;
  if (S_ISDIR(status.st_mode)) {
    throw_error(ErrorKind::file, "%s is a folder, not a file", path.c_str());
  }
  if (!has_an_end(no_terminal, status)) {
    throw_error(ErrorKind::file, "%s is a device, not a file", path.c_str());
  }
  const auto size = S_ISREG(status.st_mode) ? static_cast<uint64_t>(status.st_size) : 0;
  if (size > most) fail_too_large(path, size_text(size), most, use);
}

std::vector<uint8_t> read_input(const std::string& path, size_t most, const char* use) {
  const std::string name = input_name(path);
  struct stat status;
  // Before it is opened: the opening of some devices does something.
  if (path != standard_stream && stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) {
      throw_error(ErrorKind::file, "%s is a folder, not a file", name.c_str());
    }
    if (S_ISBLK(status.st_mode)) {
      throw_error(ErrorKind::file, "%s is a device, not a file", name.c_str());
    }
  }
  const Input input(path);
  if (fstat(input.get(), &status) != 0) {
    throw_error(ErrorKind::file, "cannot read %s: %s", name.c_str(), strerror(errno));
  }
  if (S_ISDIR(status.st_mode)) {
    throw_error(ErrorKind::file, "%s is a folder, not a file", name.c_str());
  }
  if (!has_an_end(input.get(), status)) {
    throw_error(ErrorKind::file, "%s is a device, not a file", name.c_str());
  }
  const auto announced = S_ISREG(status.st_mode) ? static_cast<uint64_t>(status.st_size) : 0;
  if (announced > most) fail_too_large(name, size_text(announced), most, use);

  std::vector<uint8_t> bytes;
  constexpr size_t piece = 65536;
  for (size_t size = 0;;) {
    // One byte more than there may be tells that there are too many.
    bytes.resize(size + std::min(piece, most + 1 - size));
    const ssize_t got = read(input.get(), bytes.data() + size, bytes.size() - size);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      throw_error(ErrorKind::file, "cannot read %s: %s", name.c_str(), strerror(errno));
    }
    size += static_cast<size_t>(got);
    if (size > most) fail_too_large(name, "more than " + size_text(most), most, use);
    if (got == 0) {
      bytes.resize(size);
      return bytes;
    }
  }
}

std::string read_input_text(const std::string& path, size_t most, const char* use) {
  const std::vector<uint8_t> bytes = read_input(path, most, use);
  std::string text(bytes.begin(), bytes.end());
  if (text.find('\0') != std::string::npos) {
    throw_error(ErrorKind::file, "%s is not a text file: it has zero bytes",
                input_name(path).c_str());
  }
  return text;
}

}  // namespace zvg
