// The board's time.
#ifndef ZVGSIM_BOARD_VIRTUAL_CLOCK_H
#define ZVGSIM_BOARD_VIRTUAL_CLOCK_H

#include <atomic>
#include <cstdint>

namespace zvgsim {

// Virtual time advances only by what the program sleeps and by a small fixed cost of every access,
// so that it costs nothing to wait and every run sees the same times. Real time is the host's
// monotonic clock, and sleeps are real.
class VirtualClock {
 public:
  enum class Mode { virtual_time, real_time };

  explicit VirtualClock(Mode mode = Mode::virtual_time) : mode_(mode) {}

  Mode mode() const { return mode_; }

  // Nanoseconds since an arbitrary start; 0 at construction in virtual time.
  uint64_t now() const {
    return mode_ == Mode::virtual_time ? now_.load(std::memory_order_relaxed) : monotonic();
  }

  // Lets the time pass: at once in virtual time, by sleeping in real time.
  void sleep(uint64_t nanoseconds);

  // As sleep(), until a point in time; does nothing when it has passed.
  void sleep_until(uint64_t time);

  // Called once an access by whoever makes it.
  void spend_access() {
    if (mode_ == Mode::virtual_time) now_.fetch_add(access_cost, std::memory_order_relaxed);
  }

  static constexpr uint64_t access_cost = 500;  // ns

 private:
  static uint64_t monotonic();

  const Mode mode_;
  std::atomic<uint64_t> now_{0};
};

constexpr uint64_t microseconds(uint64_t count) {
  return count * 1'000;
}
constexpr uint64_t milliseconds(uint64_t count) {
  return count * 1'000'000;
}
constexpr uint64_t seconds(uint64_t count) {
  return count * 1'000'000'000;
}

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_VIRTUAL_CLOCK_H
