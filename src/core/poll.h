// Bounded waits for the hardware, in the shapes that it needs.
#ifndef ZVG_CORE_POLL_H
#define ZVG_CORE_POLL_H

#include <unistd.h>

#include <optional>

namespace zvg::core {

// Probes, and sleeps after every probe that does not end the wait, the last one too.
//
// probe: returns the wait's result, or nothing to go on. tries: how many probes at most.
// Returns the probe's result, or timeout.
template <typename Probe>
int poll(int tries, useconds_t step_us, int timeout, Probe probe) {
  for (int i = 0; i < tries; ++i) {
    if (const std::optional<int> result = probe()) return *result;
    usleep(step_us);
  }
  return timeout;
}

// Whether a poll that found nothing to the end also waits after its last probe.
enum class LastWait { kept, left_out };

// Probes until the probe finds what it looks for, and waits between probes, by whatever clock.
//
// tries: how many probes at most.
// Returns whether it was found.
template <typename Wait, typename Probe>
bool poll_every(int tries, LastWait last, Wait wait, Probe probe) {
  for (int left = tries; left > 0; --left) {
    if (probe()) return true;
    if (left > 1 || last == LastWait::kept) wait();
  }
  return false;
}

// Whether a match that only the last repeat found still counts.
enum class LastMatch { counts, comes_too_late };

// Reads once and, while that is not what is waited for, repeats: read, sleep, compare.
//
// repeats: how many reads at most after the first.
// Returns whether the wait ended in time.
template <typename Read, typename Done>
bool poll_after_sleep(int repeats, useconds_t step_us, LastMatch last, Read read, Done done) {
  if (done(read())) return true;
  for (int left = repeats; left > 0;) {
    --left;
    const auto value = read();
    usleep(step_us);
    if (done(value)) return left > 0 || last == LastMatch::counts;
  }
  return false;
}

// Looks at what was read last and, while that does not end the wait, repeats: sleep, read, look.
//
// repeats: how many sleeps and reads at most. read: returns 0, or an error that ends the wait.
// Returns 0, read's error, or timeout.
template <typename Read, typename Done>
int poll_before_read(int repeats, useconds_t step_us, int timeout, Read read, Done done) {
  for (; !done(); --repeats) {
    if (repeats == 0) return timeout;
    usleep(step_us);
    if (const int result = read()) return result;
  }
  return 0;
}

// Reads, and reads again at once while that is not what is waited for. What the last read found is
// not looked at: whoever spins here goes on either way.
//
// rounds: how many reads at most after the first.
template <typename Read, typename Done>
void spin(int rounds, Read read, Done done) {
  auto value = read();
  for (int round = 0; round < rounds && !done(value); ++round) value = read();
}

}  // namespace zvg::core

#endif  // ZVG_CORE_POLL_H
