#include "service/text.h"

#include <inttypes.h>
#include <stdio.h>
#include <time.h>

#include "service/board/error.h"

namespace zvg {

std::string hex(uint64_t value, int digits) {
  return format("0x%0*" PRIx64, digits, value);
}

std::string timestamp() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts;
  gmtime_r(&now.tv_sec, &parts);
  char text[32];
  const size_t size = strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
  snprintf(text + size, sizeof text - size, ".%03ldZ", now.tv_nsec / 1'000'000);
  return text;
}

}  // namespace zvg
