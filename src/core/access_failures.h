// What did not reach the board. The families return results that their callers may drop, and over a
// serial line the dispatcher returns 0 whatever happened; whoever must know asks here. Written only
// when an access fails, so that the others pay nothing for it.
#ifndef ZVG_CORE_ACCESS_FAILURES_H
#define ZVG_CORE_ACCESS_FAILURES_H

#include <stdint.h>

namespace zvg::core {

enum class FailedAccess {
  none,
  request,        // the driver refused a request, or there is no such descriptor
  aperture,       // outside the mapped aperture
  frame_lost,     // a frame did not get onto the serial line
  no_reply,       // no whole reply came in time
  long_reply,     // more came than a reply; the library cannot see it, whoever listens does
  no_connection,  // no access mode
};

struct AccessFailures {
  uint64_t count = 0;  // since the process began
  // Of the last one:
  FailedAccess kind = FailedAccess::none;
  unsigned long request = 0;  // the driver's request number
  uint64_t address = 0;       // the offset or bus address, where the access has one
  int error = 0;              // errno
};

extern AccessFailures g_access_failures;

// Called behind the count, when somebody listens. It may throw: nothing is held at an access.
extern void (*g_on_failed_access)();

// Keeps errno as it is.
[[gnu::cold]] void note_failed_access(FailedAccess kind, unsigned long request, uint64_t address);

}  // namespace zvg::core

#endif  // ZVG_CORE_ACCESS_FAILURES_H
