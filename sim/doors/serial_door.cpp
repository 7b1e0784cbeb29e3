#include "doors/serial_door.h"

#include <errno.h>
#include <fcntl.h>

#include <algorithm>
#include <cmath>

namespace zvgsim {

namespace {

constexpr struct {
  speed_t speed;
  unsigned baud;
} speeds[] = {
    {B1200, 1200},     {B2400, 2400},     {B4800, 4800},     {B9600, 9600},
    {B19200, 19200},   {B38400, 38400},   {B57600, 57600},   {B115200, 115200},
    {B230400, 230400}, {B460800, 460800}, {B921600, 921600},
};

int refuse(int error) {
  errno = error;
  return -1;
}

}  // namespace

unsigned baud_of(speed_t speed) {
  for (const auto& known : speeds) {
    if (known.speed == speed) return known.baud;
  }
  return 0;
}

class SerialDoor::File : public OpenFile {
 public:
  File(std::shared_ptr<State> state, int flags)
      : state_(std::move(state)), blocking_((flags & O_NONBLOCK) == 0) {}

  ssize_t write(const void* buffer, size_t size) override {
    const std::lock_guard guard(state_->lock);
    const unsigned baud = baud_of(cfgetospeed(&state_->attributes));
    if (baud == 0) return static_cast<ssize_t>(size);  // B0 and the like: nothing leaves the line
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    state_->sent_at = std::max(state_->sent_at, state_->machine.clock().now());
    for (size_t i = 0; i < size; ++i) {
      if (!state_->machine.config().uart.instant) state_->sent_at += wire_time(1, baud);
      state_->uart.receive(bytes[i], baud, state_->sent_at);
    }
    return static_cast<ssize_t>(size);
  }

  ssize_t read(void* buffer, size_t size) override {
    if (size == 0) return 0;
    std::unique_lock guard(state_->lock);
    state_->collect();
    if (state_->received.empty() && blocking_) state_->wait(UINT64_MAX, guard);
    // A blocking read that nothing will ever answer fails, too: it would hang the program.
    if (state_->received.empty()) return refuse(EAGAIN);
    const size_t count = std::min(size, state_->received.size());
    std::copy_n(state_->received.begin(), count, static_cast<uint8_t*>(buffer));
    state_->received.erase(state_->received.begin(),
                           state_->received.begin() + static_cast<ptrdiff_t>(count));
    return static_cast<ssize_t>(count);
  }

  int wait_readable(const timeval* timeout) override {
    const uint64_t limit = timeout == nullptr
                               ? UINT64_MAX
                               : seconds(static_cast<uint64_t>(timeout->tv_sec)) +
                                     microseconds(static_cast<uint64_t>(timeout->tv_usec));
    std::unique_lock guard(state_->lock);
    return state_->wait(limit, guard) ? 1 : 0;
  }

  int tcgetattr(termios* attributes) override {
    const std::lock_guard guard(state_->lock);
    *attributes = state_->attributes;
    return 0;
  }

  int tcsetattr(int actions, const termios* attributes) override {
    if (actions == TCSAFLUSH) tcflush(TCIFLUSH);
    const std::lock_guard guard(state_->lock);
    state_->attributes = *attributes;
    return 0;
  }

  // What the host wrote is on the wire at once; only input waits to be discarded. What is still on
  // the wire arrives later all the same.
  int tcflush(int queue) override {
    if (queue != TCIFLUSH && queue != TCOFLUSH && queue != TCIOFLUSH) return refuse(EINVAL);
    if (queue == TCOFLUSH) return 0;
    const std::lock_guard guard(state_->lock);
    state_->collect();
    state_->received.clear();
    return 0;
  }

 private:
  const std::shared_ptr<State> state_;
  const bool blocking_;
};

void SerialDoor::State::collect() {
  const uint64_t now = machine.clock().now();
  auto& replies = uart.replies();
  const unsigned baud = baud_of(cfgetispeed(&attributes));
  while (!replies.empty() && replies.front().ready_at <= now) {
    const UartLine::Reply& reply = replies.front();
    // At another rate the host's receiver sees framing errors only.
    if (std::abs(baud - reply.baud) <= UartLine::tolerance * reply.baud) {
      received.insert(received.end(), reply.bytes.begin(), reply.bytes.end());
    }
    replies.pop_front();
  }
}

bool SerialDoor::State::wait(uint64_t nanoseconds, std::unique_lock<std::mutex>& guard) {
  VirtualClock& clock = machine.clock();
  const uint64_t start = clock.now();
  const uint64_t end = nanoseconds > UINT64_MAX - start ? UINT64_MAX : start + nanoseconds;
  for (;;) {
    collect();
    if (!received.empty()) return true;
    if (uart.replies().empty() || uart.replies().front().ready_at > end) break;
    const uint64_t ready_at = uart.replies().front().ready_at;
    guard.unlock();
    clock.sleep_until(ready_at);
    guard.lock();
  }
  guard.unlock();
  if (end != UINT64_MAX) clock.sleep_until(end);
  guard.lock();
  return false;
}

SerialDoor::SerialDoor(Machine& machine) : state_(std::make_shared<State>(machine)) {
  // A raw line at the rate that every board starts with.
  termios& attributes = state_->attributes;
  cfmakeraw(&attributes);
  attributes.c_cflag |= CREAD | CLOCAL;
  attributes.c_cc[VMIN] = 1;
  cfsetispeed(&attributes, B9600);
  cfsetospeed(&attributes, B9600);
}

std::shared_ptr<OpenFile> SerialDoor::open(int flags) {
  return std::make_shared<File>(state_, flags);
}

}  // namespace zvgsim
