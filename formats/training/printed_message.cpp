#include "formats/training/printed_message.h"

#include <stddef.h>

#include <algorithm>
#include <charconv>

namespace zvg::formats::training {

namespace {

// The text up to the next number, "%%" standing for a percent sign.
class Literal {
 public:
  // Takes the text from the format's begin; what is left of the format begins with a number or is
  // empty.
  explicit Literal(std::string_view* format) {
    size_t size = 0;
    while (size < format->size() && !is_number(format->substr(size))) {
      size += format->substr(size).starts_with("%%") ? 2 : 1;
    }
    text_ = format->substr(0, size);
    format->remove_prefix(size);
  }

  // Takes the text from the line's begin.
  bool take_from(std::string_view* line) const {
    std::string_view rest = *line;
    for (size_t i = 0; i < text_.size(); ++i) {
      if (!rest.starts_with(text_[i])) return false;
      rest.remove_prefix(1);
      if (text_[i] == '%') ++i;
    }
    *line = rest;
    return true;
  }

 private:
  static bool is_number(std::string_view text) {
    return text.starts_with('%') && !text.starts_with("%%");
  }

  std::string_view text_;
};

// Takes a conversion from the format's begin: whether it prints hexadecimal digits.
bool take_conversion(std::string_view* format) {
  const size_t last = std::min(format->find_first_of("diouxX"), format->size() - 1);
  const char letter = (*format)[last];
  format->remove_prefix(last + 1);
  return letter == 'x' || letter == 'X';
}

// Takes a number and the spaces that it is filled up with from the line's begin.
std::optional<uint32_t> take_number(std::string_view* line, bool hexadecimal) {
  line->remove_prefix(std::min(line->find_first_not_of(' '), line->size()));
  int64_t value = 0;
  const auto [stop, error] =
      std::from_chars(line->data(), line->data() + line->size(), value, hexadecimal ? 16 : 10);
  if (error != std::errc()) return std::nullopt;
  line->remove_prefix(static_cast<size_t>(stop - line->data()));
  return static_cast<uint32_t>(value);
}

// Takes the begin of a message, wherever in the line it is first found.
bool find(const Literal& begin, std::string_view* line) {
  while (!begin.take_from(line)) {
    if (line->empty()) return false;
    line->remove_prefix(1);
  }
  return true;
}

}  // namespace

std::optional<size_t> read_printed(std::string_view format, std::string_view line,
                                   std::span<uint32_t> arguments) {
  if (format.ends_with('\n')) format.remove_suffix(1);
  if (!find(Literal(&format), &line)) return std::nullopt;
  size_t count = 0;
  while (!format.empty()) {
    const bool hexadecimal = take_conversion(&format);
    const std::optional<uint32_t> number = take_number(&line, hexadecimal);
    if (!number || count == arguments.size() || !Literal(&format).take_from(&line)) {
      return std::nullopt;
    }
    arguments[count++] = *number;
  }
  if (!line.empty()) return std::nullopt;
  return count;
}

}  // namespace zvg::formats::training
