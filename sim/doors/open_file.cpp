// What a device refuses unless it says otherwise.
#include <errno.h>
#include <sys/mman.h>

#include "doors/platform.h"

namespace zvgsim {

namespace {

int refuse(int error) {
  errno = error;
  return -1;
}

}  // namespace

int OpenFile::ioctl(unsigned long, void*) {
  return refuse(ENOTTY);
}
ssize_t OpenFile::read(void*, size_t) {
  return refuse(EINVAL);
}
ssize_t OpenFile::write(const void*, size_t) {
  return refuse(EINVAL);
}
int OpenFile::wait_readable(const timeval*) {
  return 1;
}
int OpenFile::wait_writable(const timeval*) {
  return 1;
}
void* OpenFile::mmap(void*, size_t, int, int, off_t) {
  errno = ENODEV;
  return MAP_FAILED;
}
int OpenFile::tcgetattr(termios*) {
  return refuse(ENOTTY);
}
int OpenFile::tcsetattr(int, const termios*) {
  return refuse(ENOTTY);
}
int OpenFile::tcflush(int) {
  return refuse(ENOTTY);
}

}  // namespace zvgsim
