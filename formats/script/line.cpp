#include "formats/script/line.h"

#include <ctype.h>
#include <stdio.h>
#include <string.h>

namespace zvg::formats::script {

namespace {

constexpr const char* delay_words[] = {"ssleep", "msleep", "usleep"};
constexpr char echo_word[] = "echo";
constexpr size_t echo_word_length = sizeof echo_word - 1;

bool is_blank(const char* text) {
  return strcmp(text, "\n") == 0 || strcmp(text, "\r") == 0 || strcmp(text, "\r\n") == 0;
}

// Only the word's own length is compared: the word may go on, "ssleepy" is one as well.
bool is_delay(const char* text) {
  for (const char* word : delay_words) {
    if (strncmp(text, word, delay_word_length) == 0) return true;
  }
  return false;
}

}  // namespace

LineKind classify(const Format& format, const char* text) {
  if (text[0] == '#') return format.headers ? LineKind::header : LineKind::skipped;
  if (text[0] == '\0' || text[0] == '/' || is_blank(text)) return LineKind::skipped;
  if (is_delay(text)) return LineKind::delay;
  if (format.echo && strncmp(text, echo_word, echo_word_length) == 0) return LineKind::echo;
  return LineKind::registers;
}

Delay parse_delay(const char* text) {
  const char* number = text + delay_word_length;
  while (isalpha(static_cast<uint8_t>(*number)) != 0) ++number;
  Delay delay = {text[0], 0};
  sscanf(number, "%d", &delay.count);
  return delay;
}

const char* echo_text(const char* text) {
  return text + echo_word_length;
}

int ScriptLine::parse(const char* text) {
  return sscanf(text, "%lx %x %c %x %d", &address, &value, &operation, &mask, &width);
}

int BlockLine::parse(const char* text) {
  return sscanf(text, "%lx %1023s %x %d %x", &address, name, &third, &width, &value);
}

}  // namespace zvg::formats::script
