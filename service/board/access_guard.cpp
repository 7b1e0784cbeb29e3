#include "service/board/access_guard.h"

#include <errno.h>
#include <inttypes.h>
#include <time.h>
#include <util_zvg.h>

#include <algorithm>
#include <exception>
#include <utility>

#include "core/access_failures.h"
#include "core/connection.h"
#include "hw/bus.h"
#include "hw/driver_requests.h"
#include "hw/serial_frames.h"

namespace zvg {

namespace {

constexpr int64_t ns_per_us = 1000;
constexpr int64_t us_per_s = 1'000'000;
constexpr int64_t shortest_wait_us = 1000;

// A few milliseconds coarse, and without a system call.
int64_t now_ns() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

int64_t in_us(const timeval& time) {
  return int64_t{time.tv_sec} * us_per_s + time.tv_usec;
}

timeval from_us(int64_t us) {
  return {static_cast<time_t>(us / us_per_s), static_cast<suseconds_t>(us % us_per_s)};
}

// Whose refused accesses end the library's call; one at a time, as the library has one connection.
const AccessGuard* g_guard = nullptr;

void close_apertures() {
  using core::g_connection;
  __atomic_store_n(&g_connection.mmio.limit, 0, __ATOMIC_RELAXED);
  __atomic_store_n(&g_connection.vram.limit, 0, __ATOMIC_RELAXED);
}

bool apertures_closed() {
  return core::g_connection.mmio.limit == 0 && core::g_connection.vram.limit == 0;
}

}  // namespace

AccessGuard::AccessGuard(seam::Transport& inner, Door door, Stop* stop, Liveness& liveness,
                         std::function<void()> before_frame)
    : Forwarding(inner),
      door_(door),
      stop_(stop),
      liveness_(liveness),
      before_frame_(std::move(before_frame)) {
  g_guard = this;
  core::g_on_failed_access = [] { g_guard->end_if_over(true); };
}

AccessGuard::~AccessGuard() {
  if (stop_ != nullptr) stop_->also(nullptr);
  core::g_on_failed_access = nullptr;
  g_guard = nullptr;
}

void AccessGuard::watch_apertures() {
  if (stop_ != nullptr) stop_->also(close_apertures);
}

void AccessGuard::set_deadline(std::chrono::seconds limit) {
  limit_ = limit;
  end_ns_ = limit.count() == 0 ? 0 : now_ns() + std::chrono::nanoseconds(limit).count();
}

Stop::Cause AccessGuard::cause() const {
  if (stop_ != nullptr && stop_->cause() != Stop::Cause::none) return stop_->cause();
  return end_ns_ != 0 && now_ns() >= end_ns_ ? Stop::Cause::deadline : Stop::Cause::none;
}

int64_t AccessGuard::left_us() const {
  if (end_ns_ == 0) return INT64_MAX;
  return std::max((end_ns_ - now_ns()) / ns_per_us, shortest_wait_us);
}

void AccessGuard::end_if_over(bool refused) const {
  const Stop::Cause cause = this->cause();
  if (cause == Stop::Cause::none) [[likely]] {
    return;
  }
  // It was refused by us: nothing failed.
  if (refused && apertures_closed()) --core::g_access_failures.count;
  if (std::uncaught_exceptions() != 0) return;
  if (door_ == Door::memory && !refused && !std::exchange(ending_, true)) {
    // The next load tells what is waited for.
    close_apertures();
    return;
  }
  const std::string at = attempt_text(refused);
  const bool late = cause == Stop::Cause::deadline;
  Error error(late ? ErrorKind::timeout : ErrorKind::cancelled,
              late ? format("not done within the deadline of %lld s, gave up%s: the board does not "
                            "answer as it should, or needs a longer deadline",
                            static_cast<long long>(limit_.count()), at.c_str())
                   : "interrupted" + at);
  error.door = door_;
  if (door_ == Door::memory) {
    if (refused) error.address = core::g_access_failures.address;
  } else if (attempt_.any) {
    if (attempt_.request != 0) error.request = attempt_.request;
    if (attempt_.has_address) error.address = attempt_.address;
  }
  throw error;
}

// refused: an access to mapped memory was, because the aperture is closed.
std::string AccessGuard::attempt_text(bool refused) const {
  if (door_ == Door::memory) {
    if (!refused) return "";
    return format(" at 0x%" PRIx64 ", mapped from /dev/mem", core::g_access_failures.address);
  }
  if (!attempt_.any) return "";
  const char* const deed = attempt_.writing ? "writing" : "reading";
  if (attempt_.request == 0) {
    return format(" %s bus address 0x%010" PRIx64 " over the serial line", deed, attempt_.address);
  }
  if (!attempt_.has_address) return format(" at driver request 0x%02x", attempt_.request);
  return format(" %s %s 0x%" PRIx64 " through the driver", deed,
                attempt_.in_video_memory ? "video memory" : "register", attempt_.address);
}

void AccessGuard::note_request(unsigned long request, const void* argument) {
  attempt_ = {.any = true, .request = static_cast<uint32_t>(request & 0xFF)};
  if (request != hw::driver::request_register) return;
  const auto& record = *static_cast<const hw::driver::RegisterRecord*>(argument);
  attempt_.has_address = true;
  attempt_.writing = record.op == hw::driver::op_write;
  attempt_.in_video_memory = record.bar == ZVG_BAR_VRAM;
  attempt_.address = record.offset;
}

// Whether it is a frame that writes.
bool AccessGuard::note_frame(const void* bytes, size_t size) {
  using namespace hw::serial;
  const auto* const frame = static_cast<const uint8_t*>(bytes);
  reply_left_ = 0;
  if (size != frame_size || (frame[command_at] != read_word && frame[command_at] != write_word)) {
    return false;
  }
  attempt_ = {.any = true, .writing = frame[command_at] == write_word, .has_address = true};
  for (unsigned i = 0; i < hw::bus_address_bytes; ++i) {
    attempt_.address = attempt_.address << 8 | frame[address_at + i];
  }
  if (attempt_.writing) return true;
  reply_left_ = reply_size;
  reply_ = 0;
  reply_enables_ = frame[enables_at];
  return false;
}

void AccessGuard::take_reply(const void* bytes, size_t size) {
  const auto* byte = static_cast<const uint8_t*>(bytes);
  for (; size > 0 && reply_left_ > 0; --size) {
    reply_ = reply_ << 8 | *byte++;
    if (--reply_left_ > 0) continue;
    replied_ = attempt_.address;
    // Bytes that were not asked for say nothing.
    for (unsigned lane = 0; lane < hw::serial::reply_size; ++lane) {
      if ((reply_enables_ >> lane & 1) == 0) reply_ |= 0xFFu << (8 * lane);
    }
    liveness_.saw(reply_, hw::serial::reply_size);
  }
}

// A signal that ends the work ended the call, too.
bool AccessGuard::interrupted(int64_t result) const {
  if (result >= 0 || errno != EINTR) return false;
  end_if_over();
  return true;
}

int AccessGuard::ioctl(int fd, unsigned long request, void* argument) {
  using namespace hw::driver;
  note_request(request, argument);
  end_if_over();
  if (request != request_register) {
    const bool writes = request == request_i2c && static_cast<I2cRecord*>(argument)->op == op_write;
    if (writes) liveness_.before_write();
    const int result = Forwarding::ioctl(fd, request, argument);
    interrupted(result);
    return result;
  }
  auto& record = *static_cast<RegisterRecord*>(argument);
  // What is asked for in between goes through the same record of the library's.
  const RegisterRecord wanted = record;
  const Attempt attempt = attempt_;
  if (attempt.writing) {
    liveness_.before_write();
    record = wanted;
    attempt_ = attempt;
  }
  int result = Forwarding::ioctl(fd, request, argument);
  // A signal came in between. A register can be asked again.
  if (interrupted(result) && !attempt.writing) result = Forwarding::ioctl(fd, request, argument);
  if (result == 0 && !attempt.writing) {
    const RegisterRecord answer = record;
    liveness_.saw(answer.value, answer.width);
    record = answer;
  }
  return result;
}

ssize_t AccessGuard::read(int fd, void* bytes, size_t size) {
  end_if_over();
  const ssize_t result = Forwarding::read(fd, bytes, size);
  interrupted(result);
  if (result > 0) take_reply(bytes, static_cast<size_t>(result));
  return result;
}

ssize_t AccessGuard::write(int fd, const void* bytes, size_t size) {
  if (before_frame_) before_frame_();
  const bool writes = note_frame(bytes, size);
  end_if_over();
  if (writes) {
    liveness_.before_write();
    note_frame(bytes, size);
  }
  const ssize_t result = Forwarding::write(fd, bytes, size);
  interrupted(result);
  return result;
}

int AccessGuard::select(int count, fd_set* readable, fd_set* writable, fd_set* exceptional,
                        timeval* timeout) {
  end_if_over();
  const bool bounded = timeout != nullptr;
  int64_t left = bounded ? in_us(*timeout) : INT64_MAX;
  const auto copy = [](const fd_set* set) { return set == nullptr ? fd_set{} : *set; };
  const fd_set sets[] = {copy(readable), copy(writable), copy(exceptional)};
  for (;;) {
    const int64_t slice = std::min(left, left_us());
    timeval wait = from_us(slice);
    const int result = Forwarding::select(count, readable, writable, exceptional,
                                          slice == INT64_MAX ? nullptr : &wait);
    if (result == 0) end_if_over();
    const bool again = interrupted(result);
    if (!again && (result != 0 || slice == left)) return result;
    if (bounded && !again) left -= slice;
    if (readable != nullptr) *readable = sets[0];
    if (writable != nullptr) *writable = sets[1];
    if (exceptional != nullptr) *exceptional = sets[2];
  }
}

int AccessGuard::poll(pollfd* descriptors, nfds_t count, int timeout_ms) {
  end_if_over();
  int left = timeout_ms;
  for (;;) {
    const int64_t most = left_us() == INT64_MAX ? INT64_MAX : left_us() / 1000 + 1;
    const bool cut = most != INT64_MAX && (left < 0 || most < left);
    const int slice = cut ? static_cast<int>(std::min<int64_t>(most, INT32_MAX)) : left;
    const int result = Forwarding::poll(descriptors, count, slice);
    if (result == 0) end_if_over();
    const bool again = interrupted(result);
    if (!again && (result != 0 || !cut)) return result;
    if (!again && left > 0) left -= slice;
  }
}

int AccessGuard::tcflush(int fd, int queue) {
  if (before_frame_ && queue == TCIFLUSH) before_frame_();
  return Forwarding::tcflush(fd, queue);
}

int AccessGuard::usleep(useconds_t microseconds) {
  if (before_frame_) before_frame_();
  end_if_over();
  if (ending_) return 0;
  for (int64_t left = microseconds;;) {
    const int64_t slice = std::min(left, left_us());
    const int result = Forwarding::usleep(static_cast<useconds_t>(slice));
    end_if_over();
    left -= slice;
    if (result != 0 || left <= 0 || ending_) return result;
  }
}

unsigned AccessGuard::sleep(unsigned seconds) {
  if (before_frame_) before_frame_();
  end_if_over();
  for (unsigned left = seconds;;) {
    const auto slice = static_cast<unsigned>(std::min<int64_t>(left, left_us() / us_per_s + 1));
    const unsigned rest = Forwarding::sleep(slice);
    end_if_over();
    left -= slice - rest;
    if (rest != 0 || left == 0) return left;
  }
}

}  // namespace zvg
