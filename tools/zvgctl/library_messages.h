// The library's messages, some of which are the only sign of a failure.
#ifndef ZVGCTL_LIBRARY_MESSAGES_H
#define ZVGCTL_LIBRARY_MESSAGES_H

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "service/seam/output.h"

namespace zvgctl {

// While it lives, every line that the library prints on a stream, standard error unless told
// otherwise, still gets where it would, unchanged and at once, and those that begin with one of the
// given texts are noticed. Taps may be nested.
class MessageTap {
 public:
  using Handler = std::function<void(const std::string& line)>;

  explicit MessageTap(std::initializer_list<std::string_view> beginnings, Handler handler = {},
                      zvg::seam::Stream stream = zvg::seam::Stream::err);
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
  zvg::seam::Redirection redirection_;
};

}  // namespace zvgctl

#endif  // ZVGCTL_LIBRARY_MESSAGES_H
