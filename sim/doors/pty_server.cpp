#include "doors/pty_server.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <system_error>

#include "doors/serial_door.h"

namespace zvgsim {

namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

timespec to_timespec(uint64_t nanoseconds) {
  return {static_cast<time_t>(nanoseconds / seconds(1)),
          static_cast<long>(nanoseconds % seconds(1))};
}

}  // namespace

PtyServer::PtyServer(Machine& machine) : machine_(machine), uart_(machine) {
  master_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
  if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0) fail("no pseudo-terminal");
  char path[128];
  if (ptsname_r(master_, path, sizeof path) != 0) fail("no pseudo-terminal");
  path_ = path;
  slave_ = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
  termios attributes;
  if (slave_ < 0 || tcgetattr(slave_, &attributes) != 0) fail(path);
  // A serial line passes every byte on as it is, at the rate that a board starts with.
  cfmakeraw(&attributes);
  cfsetispeed(&attributes, B9600);
  cfsetospeed(&attributes, B9600);
  if (tcsetattr(slave_, TCSANOW, &attributes) != 0) fail(path);
}

PtyServer::~PtyServer() {
  if (slave_ >= 0) close(slave_);
  if (master_ >= 0) close(master_);
}

void PtyServer::receive() {
  termios attributes;
  // The slave's settings, seen from the master.
  if (tcgetattr(master_, &attributes) != 0) fail(path_.c_str());
  const unsigned baud = baud_of(cfgetospeed(&attributes));
  uint8_t bytes[4096];
  const ssize_t size = read(master_, bytes, sizeof bytes);
  if (size < 0 && errno != EAGAIN && errno != EINTR && errno != EIO) fail(path_.c_str());
  if (baud == 0) return;
  uint64_t time = machine_.clock().now();
  for (ssize_t i = 0; i < size; ++i) uart_.receive(bytes[i], baud, time);
}

void PtyServer::send() {
  auto& replies = uart_.replies();
  while (!replies.empty() && replies.front().ready_at <= machine_.clock().now()) {
    const UartLine::Reply reply = std::move(replies.front());
    replies.pop_front();
    termios attributes;
    if (tcgetattr(master_, &attributes) != 0) fail(path_.c_str());
    const unsigned baud = baud_of(cfgetispeed(&attributes));
    if (std::abs(baud - reply.baud) > UartLine::tolerance * reply.baud) continue;
    // A host that never reads fills the line's buffer; what does not fit is lost, as on a wire.
    const ssize_t sent = write(master_, reply.bytes.data(), reply.bytes.size());
    if (sent < 0 && errno != EAGAIN && errno != EINTR && errno != EIO) fail(path_.c_str());
  }
}

void PtyServer::run(const std::atomic<bool>& stop, std::optional<uint64_t> nanoseconds) {
  VirtualClock& clock = machine_.clock();
  const uint64_t end = nanoseconds ? clock.now() + *nanoseconds : UINT64_MAX;
  // Signals are let in only while waiting: one that comes just before the wait still ends it.
  sigset_t during_wait, blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGINT);
  sigaddset(&blocked, SIGTERM);
  sigaddset(&blocked, SIGHUP);
  sigprocmask(SIG_BLOCK, &blocked, &during_wait);
  while (!stop && clock.now() < end) {
    uint64_t wake = end;
    if (!uart_.replies().empty()) wake = std::min(wake, uart_.replies().front().ready_at);
    const uint64_t now = clock.now();
    const timespec left = to_timespec(wake > now ? wake - now : 0);
    pollfd input = {master_, POLLIN, 0};
    const int ready = ppoll(&input, 1, wake == UINT64_MAX ? nullptr : &left, &during_wait);
    if (ready < 0 && errno != EINTR) fail("poll");
    if (ready > 0) receive();
    send();
  }
  sigprocmask(SIG_SETMASK, &during_wait, nullptr);
}

}  // namespace zvgsim
