#include "zvgctl/library_messages.h"

#include <errno.h>
#include <string.h>

#include "zvgctl/errors.h"

namespace zvgctl {

MessageTap::MessageTap(std::initializer_list<std::string_view> beginnings, Handler handler,
                       FILE** standard_stream)
    : beginnings_(beginnings.begin(), beginnings.end()),
      handler_(std::move(handler)),
      standard_stream_(standard_stream),
      outer_(*standard_stream) {
  cookie_io_functions_t functions = {};
  functions.write = &MessageTap::take;
  stream_ = fopencookie(this, "w", functions);
  if (stream_ == nullptr) fail("cannot follow the library's messages: %s", strerror(errno));
  setvbuf(stream_, nullptr, _IONBF, 0);
  // The standard streams are variables, here: the library's fprintf(stderr, ...) comes to take().
  *standard_stream_ = stream_;
}

MessageTap::~MessageTap() {
  release();
  fclose(stream_);
}

void MessageTap::release() {
  *standard_stream_ = outer_;
}

ssize_t MessageTap::take(void* self, const char* text, size_t size) {
  auto& tap = *static_cast<MessageTap*>(self);
  const size_t written = fwrite(text, 1, size, tap.outer_);
  for (const char c : std::string_view(text, size)) {
    if (c != '\n') {
      tap.line_.push_back(c);
      continue;
    }
    const std::string line = std::move(tap.line_);
    tap.line_.clear();
    tap.notice(line);
  }
  return static_cast<ssize_t>(written);
}

void MessageTap::notice(const std::string& line) {
  for (const std::string& beginning : beginnings_) {
    if (!line.starts_with(beginning)) continue;
    if (count_++ == 0) first_ = line;
    if (handler_) handler_(line);
    return;
  }
}

}  // namespace zvgctl
