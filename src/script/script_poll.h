// Polls of a script line.
#ifndef ZVG_SCRIPT_SCRIPT_POLL_H
#define ZVG_SCRIPT_SCRIPT_POLL_H

#include <unistd.h>

#include <optional>

#include "core/poll.h"
#include "script/line_results.h"
#include "script/script_file.h"

namespace zvg::script {

constexpr int poll_reads = 9999;
constexpr int poll_progress_every = 100;
constexpr useconds_t poll_step_us = 1000;

// How a poll of a script line ended.
enum class Poll { matched, timed_out, read_failed, gave_up };

// Polls until done(value) holds, at most 9,999 reads a millisecond apart, and reports progress at
// every hundredth.
//
// read: stores a value, returns 0 or an error. progress: the text of a progress line, with
// conversions for line, times, address, value, expected value and mask. give_up: end at the first
// progress line.
template <typename Read, typename Done>
Poll poll_register(int number, const ScriptLine& line, const char* progress, bool give_up,
                   Read read, Done done) {
  uint32_t value = 0;
  int reads = 0;
  const auto look = [&]() -> std::optional<Poll> {
    value = 0;
    ++reads;
    if (read(&value) != 0) return Poll::read_failed;
    return done(value) ? std::optional(Poll::matched) : std::nullopt;
  };
  const auto wait = [&] {
    usleep(poll_step_us);
    if (reads % poll_progress_every != 0) return;
    printf(progress, number, reads, line.address, value, line.value, line.mask);
  };
  const auto most = static_cast<unsigned>(give_up ? poll_progress_every : poll_reads);
  const std::optional<Poll> end = core::look_then_wait(most, wait, look);
  if (end == Poll::read_failed) {
    report_failed_read(number, line.address);
    return *end;
  }
  tell_read(value);
  tell_verdict(end ? Verdict::passed : Verdict::timed_out);
  if (end) return *end;
  if (give_up) return Poll::gave_up;
  fprintf(stderr, "%d: check reg timeout, read [0x%08lx] out 0x%08x, should be 0x%08x!\n", number,
          line.address, value, line.value);
  return Poll::timed_out;
}

}  // namespace zvg::script

#endif  // ZVG_SCRIPT_SCRIPT_POLL_H
