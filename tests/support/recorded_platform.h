// Device nodes that write down every call made on them and answer as a test wants.
#ifndef TESTS_SUPPORT_RECORDED_PLATFORM_H
#define TESTS_SUPPORT_RECORDED_PLATFORM_H

#include <termios.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace zvgtest {

// The process's platform calls, one line of text each, in order:
//   "open /dev/zvgrw 0x2"            path and flags
//   "ioctl 0xc0206401 00000000..."   number and the record as it went in, in hex
//   "write ff00..."                  the bytes
//   "read 4"                         the size asked for
//   "select 2.000000"                a wait for input: the time limit in seconds
//   "room 2.000000"                  the same for room to write
//   "mmap 0x1000 prot 0x3 flags 0x1 offset 0xe0000000"
//   "munmap 0x1000"                  the length, for mappings of these nodes
//   "tcgetattr", "tcsetattr 0", "tcflush 0"
//   "usleep 200000"                  every sleep, in microseconds
//   "close"
// Nothing sleeps: time only passes in the log.
class RecordedPlatform {
 public:
  explicit RecordedPlatform(const std::vector<std::string>& nodes = {"/dev/zvgrw", "/dev/mem",
                                                                     "/dev/ttyTEST"});
  ~RecordedPlatform();
  RecordedPlatform(const RecordedPlatform&) = delete;
  RecordedPlatform& operator=(const RecordedPlatform&) = delete;

  std::vector<std::string>& log() { return log_; }
  // The log since the last call, and forgets it.
  std::vector<std::string> take();

  // What the calls do beside being written down. Defaults succeed and change nothing.
  std::function<int(const std::string& path)> on_open;                 // errno to refuse with, or 0
  std::function<int(unsigned long number, void* record)> on_ioctl;     // result
  std::function<ssize_t(const std::vector<uint8_t>& bytes)> on_write;  // result
  std::function<ssize_t(uint8_t* buffer, size_t size)> on_read;        // result
  std::function<int()> on_select;                                      // 1, 0 or -1
  std::function<int()> on_room;                                        // 1, 0 or -1
  std::function<void*(size_t length, off_t offset)> on_mmap;           // address
  std::function<int()> on_tcgetattr;                                   // result
  std::function<int(const termios& attributes)> on_tcsetattr;          // result

  // Whether requests are written down, too.
  bool notes_requests = true;
  termios attributes{};  // what tcgetattr hands out and tcsetattr replaces

  void note(const std::string& line) { log_.push_back(line); }

 private:
  std::vector<std::string> log_;
};

// Hex of bytes, two digits each.
std::string hex(const void* bytes, size_t size);

// A driver node, or a serial line, with plain registers behind it. Register accesses are written
// down as
//   "r1 0x110105" and "w1 0x110105 0x3" (width in bytes; "v" after the width marks VRAM),
// sleeps as "usleep 5"; other requests go to on_request, or are refused.
class RegisterNode {
 public:
  RegisterNode();

  RecordedPlatform platform;
  std::map<uint64_t, uint8_t> bytes;  // MMIO, by byte offset

  // Answers a read instead of the stored bytes, when it returns true.
  std::function<bool(uint64_t offset, uint64_t* value)> on_read;
  // Is told of every write that is stored.
  std::function<void(uint64_t offset, uint64_t value)> on_write;
  // Decides the result of an access, after it was written down: 0 or -1.
  std::function<int(bool write, uint64_t offset)> result;
  uint32_t device_id = 0x201;
  // When set, accesses are not written down (long polls).
  bool quiet = false;
  uint64_t accesses = 0;
  uint64_t slept_us = 0;

  // Answers another driver request than a register's: its result.
  std::function<int(unsigned long number, void* record)> on_request;

  // Opens the connection, in driver or in serial mode, and empties the log.
  void open();
  void open_serial();
  std::vector<std::string> take() { return platform.take(); }

 private:
  struct Access {
    uint32_t card, bar, op, width;
    uint64_t offset, value;
  };

  int answer(unsigned long number, void* record);
  int carry_out(Access* access);
  // One frame of the serial link, and the reply that it leaves.
  ssize_t take_frame(const std::vector<uint8_t>& frame);
  ssize_t give_reply(uint8_t* buffer, size_t size);

  std::vector<uint8_t> reply_;
};

}  // namespace zvgtest

#endif  // TESTS_SUPPORT_RECORDED_PLATFORM_H
