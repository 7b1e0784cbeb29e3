// The library's messages, some of which are the only sign of a failure.
#ifndef ZVG_SERVICE_SEAM_LIBRARY_MESSAGES_H
#define ZVG_SERVICE_SEAM_LIBRARY_MESSAGES_H

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "service/seam/output.h"

namespace zvg {

// While it lives, every line that the library prints on a stream, standard error unless told
// otherwise, still gets where it would, unchanged and at once, and those that begin with one of the
// given texts are noticed. Taps may be nested.
class MessageTap {
 public:
  using Handler = std::function<void(const std::string& line)>;

  explicit MessageTap(std::initializer_list<std::string_view> beginnings, Handler handler = {},
                      seam::Stream stream = seam::Stream::err);
  MessageTap(const MessageTap&) = delete;
  MessageTap& operator=(const MessageTap&) = delete;

  size_t count() const { return count_; }
  const std::string& first() const { return first_; }

 private:
  void take(std::string_view text);
  void notice(const std::string& line);

  std::vector<std::string> beginnings_;
  Handler handler_;
  std::string line_;
  size_t count_ = 0;
  std::string first_;
  seam::Redirection redirection_;
};

// While one lives, what the library prints on standard output goes nowhere.
class QuietStdout {
 public:
  QuietStdout();

 private:
  seam::Redirection redirection_;
};

// While one lives, it goes to standard error: the library's remarks where data is printed.
class StdoutOnStderr {
 public:
  StdoutOnStderr();

 private:
  seam::Redirection redirection_;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_SEAM_LIBRARY_MESSAGES_H
