#include "board/virtual_clock.h"

#include <errno.h>
#include <time.h>

namespace zvgsim {

uint64_t VirtualClock::monotonic() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return seconds(static_cast<uint64_t>(time.tv_sec)) + static_cast<uint64_t>(time.tv_nsec);
}

void VirtualClock::sleep(uint64_t nanoseconds) {
  if (mode_ == Mode::virtual_time) {
    now_.fetch_add(nanoseconds, std::memory_order_relaxed);
    return;
  }
  timespec left = {static_cast<time_t>(nanoseconds / seconds(1)),
                   static_cast<long>(nanoseconds % seconds(1))};
  while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
  }
}

void VirtualClock::sleep_until(uint64_t time) {
  const uint64_t start = now();
  if (time > start) sleep(time - start);
}

}  // namespace zvgsim
