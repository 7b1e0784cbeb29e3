// The body of poll_register().
#ifndef ZVG_SCRIPT_SCRIPT_POLL_H
#define ZVG_SCRIPT_SCRIPT_POLL_H

#include <unistd.h>

#include <optional>

#include "core/poll.h"
#include "script/script_file.h"

namespace zvg::script {

constexpr int poll_countdown = 10000;
constexpr int poll_progress_every = 100;
constexpr useconds_t poll_step_us = 1000;

template <typename Read, typename Done>
Poll poll_register(int number, const ScriptLine& line, const char* progress, bool give_up,
                   Read read, Done done) {
  uint32_t value = 0;
  for (int countdown = poll_countdown - 1; countdown > 0; --countdown) {
    value = 0;
    if (read(&value) != 0) {
      report_failed_read(number, line.address);
      return Poll::read_failed;
    }
    if (done(value)) return Poll::matched;
    usleep(poll_step_us);
    if (countdown % poll_progress_every == 0) {
      printf(progress, number, poll_countdown - countdown, line.address, value, line.value,
             line.mask);
      if (give_up) return Poll::gave_up;
    }
  }
  fprintf(stderr, "%d: check reg timeout, read [0x%08lx] out 0x%08x, should be 0x%08x!\n", number,
          line.address, value, line.value);
  return Poll::timed_out;
}

}  // namespace zvg::script

#endif  // ZVG_SCRIPT_SCRIPT_POLL_H
