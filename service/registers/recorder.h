// Writes every register access down as a register script, which can be run again.
#ifndef ZVG_SERVICE_REGISTERS_RECORDER_H
#define ZVG_SERVICE_REGISTERS_RECORDER_H

#include <cstdint>
#include <string>

#include "service/files/atomic_file.h"
#include "service/seam/transport.h"

namespace zvg {

// A transport that records what goes through the driver's node or over the serial line: writes as W
// lines, reads as C lines with an empty mask (which read and never fail), sleeps as delays. What a
// script cannot say, such as video memory or 64 bits, is a comment. Loads and stores of mapped
// memory pass it by.
class Recorder : public seam::Forwarding {
 public:
  // Both have to outlive it.
  explicit Recorder(AtomicFile& file, seam::Transport& inner = seam::transport());

  // Puts the file in place. Throws an Error (file) when it did not take everything.
  void finish();

  int ioctl(int fd, unsigned long request, void* argument) override;
  ssize_t write(int fd, const void* bytes, size_t size) override;
  ssize_t read(int fd, void* bytes, size_t size) override;
  int usleep(useconds_t microseconds) override;

 private:
  void put(const std::string& line);
  void put_access(bool write, uint64_t offset, unsigned width, uint64_t value);
  void put_elsewhere(bool write, const char* space, uint64_t offset, unsigned width,
                     uint64_t value);
  void put_word(bool write, uint64_t address, uint8_t enables, uint32_t word);
  void take_frame(const uint8_t* frame);
  void take_reply(const uint8_t* bytes, size_t size);

  AtomicFile& file_;
  std::string failure_;  // why the file did not take a line
  // A read over the serial line whose reply has not come yet.
  bool read_pending_ = false;
  uint64_t read_address_ = 0;
  uint8_t read_enables_ = 0;
  uint8_t reply_[4] = {};
  size_t replied_ = 0;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_REGISTERS_RECORDER_H
