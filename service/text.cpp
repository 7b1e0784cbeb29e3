#include "service/text.h"

#include <inttypes.h>
#include <stdio.h>
#include <time.h>

#include <algorithm>

#include "service/board/error.h"

namespace zvg {

std::string hex(uint64_t value, int digits) {
  return format("0x%0*" PRIx64, digits, value);
}

std::string timestamp() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts;
  gmtime_r(&now.tv_sec, &parts);
  char text[32];
  const size_t size = strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
  snprintf(text + size, sizeof text - size, ".%03ldZ", now.tv_nsec / 1'000'000);
  return text;
}

namespace {

// The bytes of a character by its first one; 0 for none.
size_t utf8_size(unsigned char first) {
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first <= 0xDF) return 2;
  if (first >= 0xE0 && first <= 0xEF) return 3;
  return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

bool continues(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

size_t append_printable(std::string_view text, bool last, std::string* shown) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first == '\r') {
    // As the beginning of a line's end it is one.
    if (text.size() == 1 && !last) return 0;
    *shown += text.substr(0, 2) == "\r\n" ? "\r" : "\\x0d";
    return 1;
  }
  const size_t size = utf8_size(first);
  size_t whole = 1;
  while (whole < std::min(size, text.size()) && continues(text[whole])) ++whole;
  if (whole < size && whole == text.size() && !last) return 0;
  const bool control = (first < 0x20 && first != '\n' && first != '\t') || first == 0x7F;
  if (size == 0 || whole < size || control) {
    *shown += format("\\x%02x", first);
    return 1;
  }
  // Terminals obey these as well.
  if (first == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0) {
    *shown += format("\\u%04x", static_cast<unsigned char>(text[1]));
  } else {
    *shown += text.substr(0, size);
  }
  return size;
}

std::string printable(std::string_view text) {
  std::string shown;
  while (!text.empty()) text.remove_prefix(append_printable(text, true, &shown));
  return shown;
}

}  // namespace zvg
