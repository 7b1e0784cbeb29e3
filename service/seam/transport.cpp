#include "service/seam/transport.h"

#include <fcntl.h>
#include <stdarg.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace zvg::seam {

int Transport::open(const char* path, int flags, mode_t mode) {
  return ::open(path, flags, mode);
}

int Transport::close(int fd) {
  return ::close(fd);
}

int Transport::ioctl(int fd, unsigned long request, void* argument) {
  return ::ioctl(fd, request, argument);
}

void* Transport::mmap(void* address, size_t length, int protection, int flags, int fd,
                      off_t offset) {
  return ::mmap(address, length, protection, flags, fd, offset);
}

int Transport::munmap(void* address, size_t length) {
  return ::munmap(address, length);
}

ssize_t Transport::read(int fd, void* bytes, size_t size) {
  return ::read(fd, bytes, size);
}

ssize_t Transport::write(int fd, const void* bytes, size_t size) {
  return ::write(fd, bytes, size);
}

int Transport::select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                      timeval* timeout) {
  return ::select(count, readable, writable, exceptional, timeout);
}

int Transport::poll(pollfd* descriptors, nfds_t count, int timeout_ms) {
  return ::poll(descriptors, count, timeout_ms);
}

int Transport::tcgetattr(int fd, termios* attributes) {
  return ::tcgetattr(fd, attributes);
}

int Transport::tcsetattr(int fd, int when, const termios* attributes) {
  return ::tcsetattr(fd, when, attributes);
}

int Transport::tcflush(int fd, int queue) {
  return ::tcflush(fd, queue);
}

int Transport::usleep(useconds_t microseconds) {
  return ::usleep(microseconds);
}

unsigned Transport::sleep(unsigned seconds) {
  return ::sleep(seconds);
}

int Forwarding::open(const char* path, int flags, mode_t mode) {
  return inner_.open(path, flags, mode);
}

int Forwarding::close(int fd) {
  return inner_.close(fd);
}

int Forwarding::ioctl(int fd, unsigned long request, void* argument) {
  return inner_.ioctl(fd, request, argument);
}

void* Forwarding::mmap(void* address, size_t length, int protection, int flags, int fd,
                       off_t offset) {
  return inner_.mmap(address, length, protection, flags, fd, offset);
}

int Forwarding::munmap(void* address, size_t length) {
  return inner_.munmap(address, length);
}

ssize_t Forwarding::read(int fd, void* bytes, size_t size) {
  return inner_.read(fd, bytes, size);
}

ssize_t Forwarding::write(int fd, const void* bytes, size_t size) {
  return inner_.write(fd, bytes, size);
}

int Forwarding::select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                       timeval* timeout) {
  return inner_.select(count, readable, writable, exceptional, timeout);
}

int Forwarding::poll(pollfd* descriptors, nfds_t count, int timeout_ms) {
  return inner_.poll(descriptors, count, timeout_ms);
}

int Forwarding::tcgetattr(int fd, termios* attributes) {
  return inner_.tcgetattr(fd, attributes);
}

int Forwarding::tcsetattr(int fd, int when, const termios* attributes) {
  return inner_.tcsetattr(fd, when, attributes);
}

int Forwarding::tcflush(int fd, int queue) {
  return inner_.tcflush(fd, queue);
}

int Forwarding::usleep(useconds_t microseconds) {
  return inner_.usleep(microseconds);
}

unsigned Forwarding::sleep(unsigned seconds) {
  return inner_.sleep(seconds);
}

namespace {

Transport g_libc;
Transport* g_transport = &g_libc;

}  // namespace

Transport& transport() {
  return *g_transport;
}

UseTransport::UseTransport(Transport& transport) : outer_(g_transport) {
  g_transport = &transport;
}

UseTransport::~UseTransport() {
  g_transport = outer_;
}

}  // namespace zvg::seam

// The names that the copy of the library calls.
extern "C" {

using zvg::seam::g_transport;

int zvg_seam_open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  return g_transport->open(path, flags, mode);
}

int zvg_seam_close(int fd) {
  return g_transport->close(fd);
}

int zvg_seam_ioctl(int fd, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  return g_transport->ioctl(fd, request, argument);
}

void* zvg_seam_mmap(void* address, size_t length, int protection, int flags, int fd, off_t offset) {
  return g_transport->mmap(address, length, protection, flags, fd, offset);
}

int zvg_seam_munmap(void* address, size_t length) {
  return g_transport->munmap(address, length);
}

ssize_t zvg_seam_read(int fd, void* bytes, size_t size) {
  return g_transport->read(fd, bytes, size);
}

ssize_t zvg_seam_write(int fd, const void* bytes, size_t size) {
  return g_transport->write(fd, bytes, size);
}

int zvg_seam_select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                    timeval* timeout) {
  return g_transport->select(count, readable, writable, exceptional, timeout);
}

int zvg_seam_poll(pollfd* descriptors, nfds_t count, int timeout_ms) {
  return g_transport->poll(descriptors, count, timeout_ms);
}

int zvg_seam_tcgetattr(int fd, termios* attributes) {
  return g_transport->tcgetattr(fd, attributes);
}

int zvg_seam_tcsetattr(int fd, int when, const termios* attributes) {
  return g_transport->tcsetattr(fd, when, attributes);
}

int zvg_seam_tcflush(int fd, int queue) {
  return g_transport->tcflush(fd, queue);
}

int zvg_seam_usleep(useconds_t microseconds) {
  return g_transport->usleep(microseconds);
}

unsigned zvg_seam_sleep(unsigned seconds) {
  return g_transport->sleep(seconds);
}

}  // extern "C"
