#include "support/log.h"

#include <cstdarg>
#include <cstdio>

namespace zvgtest {

std::string text(const char* format, ...) {
  char line[256];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  return line;
}

Log join(std::initializer_list<Log> parts) {
  Log all;
  for (const Log& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

Log repeat(unsigned times, const Log& part) {
  Log all;
  while (times-- > 0) all.insert(all.end(), part.begin(), part.end());
  return all;
}

}  // namespace zvgtest
