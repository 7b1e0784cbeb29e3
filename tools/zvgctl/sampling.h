// What the commands have in common that measure again and again.
#ifndef ZVGCTL_SAMPLING_H
#define ZVGCTL_SAMPLING_H

#include <functional>
#include <string>

#include "service/text.h"

namespace zvgctl {

using zvg::timestamp;

// The value of --interval, in seconds. Throws a usage Failure.
double parse_interval(const std::string& text);

// Calls sample(i) for i = 0, 1, ... with the interval between, count times (0: for ever) or until
// Ctrl-C, and writes out what it printed each time.
void repeat(double interval, uint64_t count, const std::function<void(uint64_t)>& sample);

}  // namespace zvgctl

#endif  // ZVGCTL_SAMPLING_H
