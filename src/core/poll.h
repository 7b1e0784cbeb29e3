// Waits for the hardware, in the shapes that it needs. Each is named after what it repeats:
//
//   look_then_wait     look, wait, look, wait ...
//   read_wait_compare  read, compare; then read, wait, compare, read, wait, compare ...
//   wait_read_compare  compare what was read before; then wait, read, compare, wait, read, compare
//   ...
#ifndef ZVG_CORE_POLL_H
#define ZVG_CORE_POLL_H

#include <stdint.h>
#include <unistd.h>

#include <optional>

namespace zvg::core {

// A count that is never used up.
constexpr uint64_t endless = UINT64_MAX;

// What is done between two looks: one of these, or the caller's own.
constexpr auto at_once = [] {};
inline auto sleeping(useconds_t us) {
  return [us] { usleep(us); };
}

// Whether a wait that found nothing to the end also waits after its last look.
enum class LastWait { kept, left_out };

// tries: how many looks at most. look: returns what it found, or what counts as false to go on.
// Returns what the last look did.
template <typename Wait, typename Look>
auto look_then_wait(uint64_t tries, Wait wait, Look look, LastWait last = LastWait::kept)
    -> decltype(look()) {
  for (uint64_t left = tries; left > 0; --left) {
    if (auto found = look()) return found;
    if (left > 1 || last == LastWait::kept) wait();
  }
  return {};
}

// Whether what only the last repeat read is compared at all.
enum class LastRead { counts, comes_too_late };

namespace detail {

template <typename Step, typename Done>
std::optional<int> repeat_until(uint64_t repeats, LastRead last, Step step, Done done) {
  for (uint64_t left = repeats; left > 0; --left) {
    if (done()) return 0;
    if (const int error = step()) return error;
  }
  if (last == LastRead::counts && done()) return 0;
  return std::nullopt;
}

}  // namespace detail

// repeats: how many reads at most after the first. read: returns 0, or an error that ends the wait
// at once. done: whether what was read last is what is waited for.
// Returns 0, read's error, or nothing when the repeats are used up.
template <typename Wait, typename Read, typename Done>
std::optional<int> read_wait_compare(uint64_t repeats, Wait wait, Read read, Done done,
                                     LastRead last = LastRead::counts) {
  if (const int error = read()) return error;
  const auto step = [&] {
    const int error = read();
    if (error == 0) wait();
    return error;
  };
  return detail::repeat_until(repeats, last, step, done);
}

// The same, but for the order and for the first read, which the caller has made.
template <typename Wait, typename Read, typename Done>
std::optional<int> wait_read_compare(uint64_t repeats, Wait wait, Read read, Done done,
                                     LastRead last = LastRead::counts) {
  const auto step = [&] {
    wait();
    return read();
  };
  return detail::repeat_until(repeats, last, step, done);
}

}  // namespace zvg::core

#endif  // ZVG_CORE_POLL_H
