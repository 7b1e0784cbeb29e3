// Writes every access down with its time and result, for whoever has to find out what went wrong.
#ifndef ZVG_SERVICE_REGISTERS_ACCESS_LOG_H
#define ZVG_SERVICE_REGISTERS_ACCESS_LOG_H

#include <cstdint>
#include <string>

#include "service/seam/transport.h"

namespace zvg {

// A transport that logs what goes through it, a line an access:
//
//   TIME driver read register 0x308010 32 0x00000001 ok
//   TIME driver request 0x03 Input/output error
//   TIME serial read 0x0001308010 enables 0xf 0x00000001 ok
//   TIME serial read 0x0001308010 enables 0xf - no whole answer
//   TIME sleep 1000 us
//
// A line is in the file before the next access is made. Loads and stores of mapped memory pass it
// by.
class AccessLog : public seam::Forwarding {
 public:
  // Begins a new file. Throws an Error (file) when there is one of that name, or none can be made.
  explicit AccessLog(std::string path, seam::Transport& inner = seam::transport());
  ~AccessLog() override;
  AccessLog(const AccessLog&) = delete;
  AccessLog& operator=(const AccessLog&) = delete;

  // Throws an Error (file) when it did not take everything.
  void finish();

  int open(const char* path, int flags, mode_t mode) override;
  int close(int fd) override;
  int ioctl(int fd, unsigned long request, void* argument) override;
  void* mmap(void* address, size_t length, int protection, int flags, int fd,
             off_t offset) override;
  ssize_t read(int fd, void* bytes, size_t size) override;
  ssize_t write(int fd, const void* bytes, size_t size) override;
  int tcsetattr(int fd, int when, const termios* attributes) override;
  int usleep(useconds_t microseconds) override;
  unsigned sleep(unsigned seconds) override;

 private:
  // result: negative with errno for a failure. Keeps errno.
  void put(const std::string& access, int64_t result);
  void put_line(const std::string& text);
  void end_reply(const char* result);

  const std::string path_;
  int fd_ = -1;
  int failure_ = 0;  // errno of the first line that the file did not take
  // A read over the serial line whose answer has not come.
  std::string question_;
  unsigned replied_ = 0;
  uint32_t reply_ = 0;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_REGISTERS_ACCESS_LOG_H
