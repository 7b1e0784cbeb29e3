#include "zvgctl/terminal/library_text.h"

#include <errno.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "service/text.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

using zvg::seam::Stream;

constexpr std::string_view colour_begin = "\033[";
constexpr char colour_end = 'm';
constexpr size_t longest_colour = 8;

std::vector<std::string> library_colours = {"1;31", "1;33", "0"};

// What a stream's last piece has left over, by stream.
std::string pending[2];

enum class Colour { none, ours, unfinished };

// Whether a text begins with one of the library's colours; its size then is in *size.
Colour colour_at(std::string_view text, size_t* size) {
  const size_t known = std::min(text.size(), colour_begin.size());
  if (text.substr(0, known) != colour_begin.substr(0, known)) return Colour::none;
  const size_t end = text.find_first_not_of("0123456789;", known);
  if (end == std::string_view::npos || known < colour_begin.size()) {
    return text.size() < longest_colour ? Colour::unfinished : Colour::none;
  }
  const std::string_view code = text.substr(known, end - known);
  const bool ours =
      text[end] == colour_end &&
      std::find(library_colours.begin(), library_colours.end(), code) != library_colours.end();
  *size = end + 1;
  return ours ? Colour::ours : Colour::none;
}

void print(Stream stream, std::string_view text, bool last) {
  const int error = errno;  // the library may not have told of it yet
  std::string& rest = pending[stream == Stream::out ? 0 : 1];
  rest += text;
  const bool coloured = use_colour(stream == Stream::out ? STDOUT_FILENO : STDERR_FILENO);
  std::string shown;
  std::string_view left = rest;
  while (!left.empty()) {
    size_t size = 0;
    const Colour colour = colour_at(left, &size);
    if (colour == Colour::unfinished && !last) break;
    if (colour == Colour::ours) {
      if (coloured) shown += left.substr(0, size);
    } else {
      size = zvg::append_printable(left, last, &shown);
      if (size == 0) break;
    }
    left.remove_prefix(size);
  }
  rest = std::string(left);
  if (!shown.empty()) {
    fwrite(shown.data(), 1, shown.size(), stream == Stream::out ? stdout : stderr);
  }
  errno = error;
}

}  // namespace

void print_library_text(Stream stream, std::string_view text) {
  print(stream, text, false);
}

void finish_library_text() {
  print(Stream::out, {}, true);
  print(Stream::err, {}, true);
}

void expect_library_colours(std::initializer_list<std::string_view> colours) {
  library_colours.assign(colours.begin(), colours.end());
}

}  // namespace zvgctl
