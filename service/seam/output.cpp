#include "service/seam/output.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <string>

namespace zvg::seam {

namespace {

const Redirection* g_innermost = nullptr;
FileFailures g_file_failures;

// Another redirection is the innermost while it lives.
class Innermost {
 public:
  explicit Innermost(const Redirection* redirection) : saved_(g_innermost) {
    g_innermost = redirection;
  }
  ~Innermost() { g_innermost = saved_; }
  Innermost(const Innermost&) = delete;
  Innermost& operator=(const Innermost&) = delete;

 private:
  const Redirection* saved_;
};

void to_standard_stream(Stream stream, std::string_view text) {
  fwrite(text.data(), 1, text.size(), stream == Stream::out ? stdout : stderr);
}

}  // namespace

// To the innermost sink.
void deliver(Stream stream, std::string_view text) {
  if (g_innermost == nullptr) {
    to_standard_stream(stream, text);
    return;
  }
  const Redirection* const current = g_innermost;
  // What a sink itself makes the library print goes one further out.
  const Innermost outer(current->outer_);
  current->sink_(stream, text);
}

Redirection::Redirection(Sink sink) : sink_(std::move(sink)), outer_(g_innermost) {
  g_innermost = this;
}

Redirection::~Redirection() {
  g_innermost = outer_;
}

void Redirection::pass_on(Stream stream, std::string_view text) const {
  const Innermost outer(outer_);
  deliver(stream, text);
}

FileFailures file_failures() {
  return g_file_failures;
}

namespace {

// A stream of the library's whose text is delivered.
FILE* open_stream(const Stream* which) {
  cookie_io_functions_t functions = {};
  functions.write = [](void* cookie, const char* text, size_t size) {
    deliver(*static_cast<const Stream*>(cookie), {text, size});
    return static_cast<ssize_t>(size);
  };
  FILE* const stream = fopencookie(const_cast<Stream*>(which), "w", functions);
  // The standard streams serve where there is no memory for others.
  if (stream == nullptr) return *which == Stream::out ? stdout : stderr;
  setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

constexpr Stream out = Stream::out;
constexpr Stream err = Stream::err;

}  // namespace

}  // namespace zvg::seam

// The names that the copy of the library uses.
extern "C" {

FILE* zvg_seam_stdout = zvg::seam::open_stream(&zvg::seam::out);
FILE* zvg_seam_stderr = zvg::seam::open_stream(&zvg::seam::err);

[[gnu::format(printf, 1, 2)]] int zvg_seam_printf(const char* pattern, ...) {
  va_list arguments;
  va_start(arguments, pattern);
  const int result = vfprintf(zvg_seam_stdout, pattern, arguments);
  va_end(arguments);
  return result;
}

int zvg_seam_puts(const char* text) {
  return fprintf(zvg_seam_stdout, "%s\n", text);
}

int zvg_seam_putchar(int character) {
  return fputc(character, zvg_seam_stdout);
}

void zvg_seam_perror(const char* text) {
  const int error = errno;
  const bool named = text != nullptr && *text != '\0';
  fprintf(zvg_seam_stderr, "%s%s%s\n", named ? text : "", named ? ": " : "", strerror(error));
}

int zvg_seam_fclose(FILE* file) {
  const bool failed = ferror(file) != 0;
  const int result = fclose(file);
  if (failed || result != 0) {
    const int error = result != 0 ? errno : EIO;
    zvg::seam::g_file_failures = {zvg::seam::g_file_failures.count + 1, error};
  }
  return result;
}

}  // extern "C"
