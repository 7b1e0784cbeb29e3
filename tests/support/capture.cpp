#include "support/capture.h"

#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

namespace zvgtest {

namespace {

// One standard stream, redirected into an unlinked temporary file while the object lives.
class Redirection {
 public:
  Redirection(FILE* stream, int fd) : stream_(stream), fd_(fd) {
    fflush(stream_);
    saved_ = dup(fd_);
    file_ = tmpfile();
    if (saved_ < 0 || file_ == nullptr || dup2(fileno(file_), fd_) < 0) abort();
  }
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;
  ~Redirection() { finish(); }

  std::string finish() {
    std::string text;
    if (file_ == nullptr) return text;
    fflush(stream_);
    dup2(saved_, fd_);
    close(saved_);
    rewind(file_);
    char buffer[4096];
    size_t size;
    while ((size = fread(buffer, 1, sizeof buffer, file_)) > 0) text.append(buffer, size);
    fclose(file_);
    file_ = nullptr;
    return text;
  }

 private:
  FILE* stream_;
  int fd_;
  int saved_ = -1;
  FILE* file_ = nullptr;
};

}  // namespace

Output capture(const std::function<void()>& call) {
  Redirection out(stdout, STDOUT_FILENO);
  Redirection err(stderr, STDERR_FILENO);
  call();
  Output output;
  output.err = err.finish();
  output.out = out.finish();
  return output;
}

}  // namespace zvgtest
