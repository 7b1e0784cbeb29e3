// Stands between the library and the board's transport: ends a call of the library that would go on
// though it should not.
#ifndef ZVG_SERVICE_BOARD_ACCESS_GUARD_H
#define ZVG_SERVICE_BOARD_ACCESS_GUARD_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "service/board/error.h"
#include "service/board/liveness.h"
#include "service/board/route.h"
#include "service/board/stop.h"
#include "service/seam/transport.h"

namespace zvg {

// The library waits without bounds and goes on after a lost answer. It is ended by an Error that is
// thrown through it at its next request, frame or sleep: it holds nothing there that it would have
// to give back. Sleeps and waits end early. Mapped memory is reached without a call: there a stop
// closes the apertures, and the refusal of the next access is what throws.
//
// Nothing is thrown while another exception is on its way: what tidies up has its accesses.
class AccessGuard : public seam::Forwarding {
 public:
  // stop: null for none. before_frame: called before each frame and sleep, and before the input is
  // thrown away in front of a frame; may throw.
  AccessGuard(seam::Transport& inner, Door door, Stop* stop, Liveness& liveness,
              std::function<void()> before_frame);
  ~AccessGuard() override;
  AccessGuard(const AccessGuard&) = delete;
  AccessGuard& operator=(const AccessGuard&) = delete;

  // Once the memory is mapped.
  void watch_apertures();

  // The time from now on; 0 for no end.
  void set_deadline(std::chrono::seconds limit);

  // The bus address whose reply came whole over the serial line, the last one since this was asked.
  std::optional<uint64_t> take_replied() { return std::exchange(replied_, std::nullopt); }

  // Throws the Error when the time is over or a stop was asked for.
  void end_if_over() const { end_if_over(false); }

  int ioctl(int fd, unsigned long request, void* argument) override;
  ssize_t read(int fd, void* bytes, size_t size) override;
  ssize_t write(int fd, const void* bytes, size_t size) override;
  int select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
             timeval* timeout) override;
  int poll(pollfd* descriptors, nfds_t count, int timeout_ms) override;
  int tcflush(int fd, int queue) override;
  int usleep(useconds_t microseconds) override;
  unsigned sleep(unsigned seconds) override;

 private:
  // What the library attempted last.
  struct Attempt {
    bool any = false;
    bool writing = false;
    uint32_t request = 0;  // the driver's; 0 for a frame
    bool has_address = false;
    bool in_video_memory = false;
    uint64_t address = 0;
  };

  void end_if_over(bool refused) const;
  Stop::Cause cause() const;
  int64_t left_us() const;  // until the deadline, at least a moment
  bool interrupted(int64_t result) const;
  std::string attempt_text(bool refused) const;
  void note_request(unsigned long request, const void* argument);
  bool note_frame(const void* bytes, size_t size);
  void take_reply(const void* bytes, size_t size);

  const Door door_;
  Stop* const stop_;
  Liveness& liveness_;
  const std::function<void()> before_frame_;
  std::chrono::seconds limit_{0};
  int64_t end_ns_ = 0;           // 0 for none
  mutable bool ending_ = false;  // through mapped memory: the next load tells
  Attempt attempt_;
  // The reply that the last frame, if it was a read, has coming.
  unsigned reply_left_ = 0;
  uint32_t reply_ = 0;
  uint8_t reply_enables_ = 0;
  std::optional<uint64_t> replied_;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_BOARD_ACCESS_GUARD_H
