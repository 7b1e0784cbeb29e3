// What the library prints, on its way from the library to whoever wants it. No descriptor and no
// stream of the process is touched: other output keeps its way.
#ifndef ZVG_SERVICE_SEAM_OUTPUT_H
#define ZVG_SERVICE_SEAM_OUTPUT_H

#include <cstdint>
#include <functional>
#include <string_view>

namespace zvg::seam {

enum class Stream { out, err };

// Gets every piece of text as the library prints it, at once and unbuffered. Must not throw.
using Sink = std::function<void(Stream, std::string_view)>;

// While it lives, what the library prints goes to the sink and nowhere else. May be nested: the
// innermost gets the text. Without any, the text goes to the process's standard streams.
class Redirection {
 public:
  explicit Redirection(Sink sink);
  ~Redirection();
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;

  // Gives a piece of text to the sink around this one, or to the standard streams.
  void pass_on(Stream stream, std::string_view text) const;

 private:
  friend void deliver(Stream stream, std::string_view text);
  Sink sink_;
  const Redirection* outer_;
};

// How many files the library closed that did not get all of their bytes, since the process began.
// Its functions do not look.
struct FileFailures {
  uint64_t count = 0;
  int error = 0;  // errno of the last
};
FileFailures file_failures();

}  // namespace zvg::seam

#endif  // ZVG_SERVICE_SEAM_OUTPUT_H
