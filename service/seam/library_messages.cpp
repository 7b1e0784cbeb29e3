#include "service/seam/library_messages.h"

namespace zvg {

MessageTap::MessageTap(std::initializer_list<std::string_view> beginnings, Handler handler,
                       seam::Stream stream)
    : beginnings_(beginnings.begin(), beginnings.end()),
      handler_(std::move(handler)),
      redirection_([this, stream](seam::Stream printed_on, std::string_view text) {
        redirection_.pass_on(printed_on, text);
        if (printed_on == stream) take(text);
      }) {}

void MessageTap::take(std::string_view text) {
  for (const char c : text) {
    if (c != '\n') {
      line_.push_back(c);
      continue;
    }
    const std::string line = std::move(line_);
    line_.clear();
    notice(line);
  }
}

void MessageTap::notice(const std::string& line) {
  for (const std::string& beginning : beginnings_) {
    if (!line.starts_with(beginning)) continue;
    if (count_++ == 0) first_ = line;
    if (handler_) handler_(line);
    return;
  }
}

QuietStdout::QuietStdout()
    : redirection_([this](seam::Stream stream, std::string_view text) {
        if (stream == seam::Stream::err) redirection_.pass_on(stream, text);
      }) {}

StdoutOnStderr::StdoutOnStderr()
    : redirection_([this](seam::Stream, std::string_view text) {
        redirection_.pass_on(seam::Stream::err, text);
      }) {}

}  // namespace zvg
