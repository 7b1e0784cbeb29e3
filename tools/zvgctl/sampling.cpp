#include "zvgctl/sampling.h"

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include "zvgctl/errors.h"
#include "zvgctl/terminal/interrupts.h"

namespace zvgctl {

double parse_interval(const std::string& text) {
  char* end = nullptr;
  const double seconds = strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !(seconds >= 0.05) || seconds > 86400) {
    usage_error("--interval: expected seconds from 0.05 to 86400, found '%s'", text.c_str());
  }
  return seconds;
}

void repeat(double interval, uint64_t count, const std::function<void(uint64_t)>& sample) {
  const InterruptNotice interrupt;
  for (uint64_t i = 0; (count == 0 || i < count) && !InterruptNotice::came(); ++i) {
    if (i != 0) {
      usleep(static_cast<useconds_t>(interval * 1e6));
      if (InterruptNotice::came()) break;
    }
    sample(i);
    fflush(stdout);
  }
  // The terminal has just shown "^C" where the prompt will be.
  if (InterruptNotice::came()) fputc('\n', stderr);
}

}  // namespace zvgctl
