// Ends what goes on with a board, from outside: from a signal handler or another thread.
#ifndef ZVG_SERVICE_BOARD_STOP_H
#define ZVG_SERVICE_BOARD_STOP_H

#include <atomic>

namespace zvg {

class Stop {
 public:
  enum class Cause { none, deadline, cancelled };

  // From now on the board's next access ends in an Error (timeout or cancelled). The first cause
  // counts. Safe in a signal handler.
  void request(Cause cause) noexcept {
    Cause none = Cause::none;
    cause_.compare_exchange_strong(none, cause);
    if (void (*const close)() = close_.load()) close();
  }
  Cause cause() const noexcept { return cause_.load(std::memory_order_relaxed); }

  // What the next request does as well; null for nothing. For the board, whose mapped memory is
  // reached without any call that could look at the cause.
  void also(void (*close)()) noexcept {
    close_ = close;
    if (close != nullptr && cause() != Cause::none) close();
  }

 private:
  std::atomic<Cause> cause_{Cause::none};
  std::atomic<void (*)()> close_{nullptr};
  static_assert(std::atomic<Cause>::is_always_lock_free &&
                std::atomic<void (*)()>::is_always_lock_free);
};

}  // namespace zvg

#endif  // ZVG_SERVICE_BOARD_STOP_H
