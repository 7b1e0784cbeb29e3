// The library's messages, some of which are the only sign of a failure.
#ifndef ZVGCTL_LIBRARY_MESSAGES_H
#define ZVGCTL_LIBRARY_MESSAGES_H

#include <cstddef>
#include <cstdio>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace zvgctl {

// While it lives, every line that is printed on a standard stream, stderr unless told otherwise,
// still gets there, unchanged and at once, and those that begin with one of the given texts are
// noticed. Taps may be nested.
class MessageTap {
 public:
  using Handler = std::function<void(const std::string& line)>;

  explicit MessageTap(std::initializer_list<std::string_view> beginnings, Handler handler = {},
                      FILE** standard_stream = &stderr);
  ~MessageTap();
  MessageTap(const MessageTap&) = delete;
  MessageTap& operator=(const MessageTap&) = delete;

  size_t count() const { return count_; }
  const std::string& first() const { return first_; }

  // Gives the stream back for good, for a handler that does not return.
  void release();

 private:
  static ssize_t take(void* self, const char* text, size_t size);
  void notice(const std::string& line);

  std::vector<std::string> beginnings_;
  Handler handler_;
  FILE** standard_stream_;
  FILE* outer_;
  FILE* stream_ = nullptr;
  std::string line_;
  size_t count_ = 0;
  std::string first_;
};

}  // namespace zvgctl

#endif  // ZVGCTL_LIBRARY_MESSAGES_H
