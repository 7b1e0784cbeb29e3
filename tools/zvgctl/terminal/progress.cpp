#include "zvgctl/terminal/progress.h"

#include <stdio.h>
#include <unistd.h>

namespace zvgctl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto redraw_interval = std::chrono::milliseconds(200);
constexpr double kibibyte = 1024;

}  // namespace

Progress::Progress(const char* what, uint64_t total)
    : what_(what),
      total_(total),
      shown_(isatty(STDERR_FILENO) == 1),
      start_(Clock::now()),
      last_(start_) {}

Progress::~Progress() {
  if (drawn_) fprintf(stderr, "\r\033[K");
}

void Progress::update(uint64_t done) {
  const auto now = Clock::now();
  if (!shown_ || now - last_ < redraw_interval) return;
  last_ = now;
  drawn_ = true;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  fprintf(stderr, "\r\033[K%s: %.0f of %.0f KiB (%.0f %%), %.1f KiB/s", what_,
          static_cast<double>(done) / kibibyte, static_cast<double>(total_) / kibibyte,
          total_ == 0 ? 100.0 : 100.0 * static_cast<double>(done) / static_cast<double>(total_),
          static_cast<double>(done) / kibibyte / seconds);
}

}  // namespace zvgctl
