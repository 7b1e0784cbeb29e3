// The platform calls of a process, with some of its device nodes replaced.
//
// A program that is linked with interpose.cpp (or preloads a library that is) has its open, ioctl,
// read, write, mmap, select, poll, termios and sleep calls come through here. A path that a Node
// was mounted on is answered by that Node; everything else goes on to libc untouched.
#ifndef ZVGSIM_DOORS_PLATFORM_H
#define ZVGSIM_DOORS_PLATFORM_H

#include <sys/select.h>
#include <sys/types.h>
#include <termios.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zvgsim {

// What stands behind one open descriptor. Each call answers as the system call of its name does:
// -1 with errno set on failure. The defaults refuse what the device does not support.
class OpenFile {
 public:
  virtual ~OpenFile() = default;  // called when the descriptor is closed

  virtual int ioctl(unsigned long request, void* argument);
  virtual ssize_t read(void* buffer, size_t size);
  virtual ssize_t write(const void* buffer, size_t size);
  // Waits until read() has something to return; 1 readable, 0 timed out, -1 failed.
  virtual int wait_readable(const timeval* timeout);
  // The same for write(); what a device is sent it takes at once unless it says otherwise.
  virtual int wait_writable(const timeval* timeout);
  virtual void* mmap(void* address, size_t length, int protection, int flags, off_t offset);
  virtual int tcgetattr(termios* attributes);
  virtual int tcsetattr(int actions, const termios* attributes);
  virtual int tcflush(int queue);
};

// What answers open() on a path. Returns null with errno set to refuse.
using Opener = std::function<std::shared_ptr<OpenFile>(int flags)>;

// What a sleep of the program does instead of sleeping.
using Sleeper = std::function<void(uint64_t nanoseconds)>;

// Puts an opener on an absolute path, or takes it away (null). Descriptors that are already open
// keep what they have.
void mount_node(const std::string& path, Opener opener);

// Takes sleep() and usleep() over; null gives them back to libc.
void set_sleeper(Sleeper sleeper);

// Called with the address and length of every munmap(); null for none.
using MunmapObserver = std::function<void(void* address, size_t length)>;
void set_munmap_observer(MunmapObserver observer);

// Takes every node, the sleeper and the observer away.
void unmount_all();

// Held across a fork(), so that the child never finds the table of descriptors locked.
void lock_platform();
void unlock_platform();

}  // namespace zvgsim

#endif  // ZVGSIM_DOORS_PLATFORM_H
