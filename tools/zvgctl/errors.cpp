#include "zvgctl/errors.h"

#include <stdarg.h>
#include <stdio.h>
#include <unistd.h>

#include "service/text.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

std::string format_list(const char* pattern, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int size = vsnprintf(nullptr, 0, pattern, arguments);
  std::string text(size > 0 ? static_cast<size_t>(size) : 0, '\0');
  vsnprintf(text.data(), text.size() + 1, pattern, again);
  va_end(again);
  return text;
}

}  // namespace

void fail(const char* pattern, ...) {
  va_list arguments;
  va_start(arguments, pattern);
  std::string text = format_list(pattern, arguments);
  va_end(arguments);
  throw Failure(Exit::failed, std::move(text));
}

void usage_error(const char* pattern, ...) {
  va_list arguments;
  va_start(arguments, pattern);
  std::string text = format_list(pattern, arguments);
  va_end(arguments);
  throw Failure(Exit::usage, std::move(text));
}

void print_error(const std::string& message) {
  // What was printed before comes first, wherever the two streams meet.
  fflush(stdout);
  const bool colour = use_colour(STDERR_FILENO);
  fprintf(stderr, "%szvgctl:%s %s\n", colour ? "\033[1;31m" : "", colour ? "\033[0m" : "",
          printable(message).c_str());
}

void warn(const char* pattern, ...) {
  va_list arguments;
  va_start(arguments, pattern);
  const std::string text = format_list(pattern, arguments);
  va_end(arguments);
  fflush(stdout);
  fprintf(stderr, "zvgctl: %s\n", printable(text).c_str());
}

}  // namespace zvgctl
