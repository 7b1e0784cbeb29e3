// The calls by which the library reaches a board. The service's copy of the library makes them
// here: a face may put another board behind them than the one at the device nodes.
#ifndef ZVG_SERVICE_SEAM_TRANSPORT_H
#define ZVG_SERVICE_SEAM_TRANSPORT_H

#include <poll.h>
#include <sys/select.h>
#include <sys/types.h>
#include <termios.h>

#include <cstddef>

namespace zvg::seam {

// Every call does as the C library's of that name, errno included, and by default is that call: a
// library that was loaded before can still take it over.
class Transport {
 public:
  virtual ~Transport() = default;

  virtual int open(const char* path, int flags, mode_t mode);
  virtual int close(int fd);
  virtual int ioctl(int fd, unsigned long request, void* argument);
  virtual void* mmap(void* address, size_t length, int protection, int flags, int fd, off_t offset);
  virtual int munmap(void* address, size_t length);
  virtual ssize_t read(int fd, void* bytes, size_t size);
  virtual ssize_t write(int fd, const void* bytes, size_t size);
  virtual int select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                     timeval* timeout);
  virtual int poll(pollfd* descriptors, nfds_t count, int timeout_ms);
  virtual int tcgetattr(int fd, termios* attributes);
  virtual int tcsetattr(int fd, int when, const termios* attributes);
  virtual int tcflush(int fd, int queue);
  virtual int usleep(useconds_t microseconds);
  virtual unsigned sleep(unsigned seconds);
};

// Passes every call on to another transport; for those that look at a few of them.
class Forwarding : public Transport {
 public:
  explicit Forwarding(Transport& inner) : inner_(inner) {}

  int open(const char* path, int flags, mode_t mode) override;
  int close(int fd) override;
  int ioctl(int fd, unsigned long request, void* argument) override;
  void* mmap(void* address, size_t length, int protection, int flags, int fd,
             off_t offset) override;
  int munmap(void* address, size_t length) override;
  ssize_t read(int fd, void* bytes, size_t size) override;
  ssize_t write(int fd, const void* bytes, size_t size) override;
  int select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
             timeval* timeout) override;
  int poll(pollfd* descriptors, nfds_t count, int timeout_ms) override;
  int tcgetattr(int fd, termios* attributes) override;
  int tcsetattr(int fd, int when, const termios* attributes) override;
  int tcflush(int fd, int queue) override;
  int usleep(useconds_t microseconds) override;
  unsigned sleep(unsigned seconds) override;

 private:
  Transport& inner_;
};

// The one that the library uses now.
Transport& transport();

// While it lives, the library reaches boards by that transport. One at a time.
class UseTransport {
 public:
  explicit UseTransport(Transport& transport);
  ~UseTransport();
  UseTransport(const UseTransport&) = delete;
  UseTransport& operator=(const UseTransport&) = delete;

 private:
  Transport* outer_;
};

}  // namespace zvg::seam

#endif  // ZVG_SERVICE_SEAM_TRANSPORT_H
