#include "script/script_file.h"

#include <ctype.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

namespace zvg::script {

namespace {

bool starts_with(const char* text, const char* word) {
  return strncmp(text, word, strlen(word)) == 0;
}

bool is_blank(const char* text) {
  return strcmp(text, "\n") == 0 || strcmp(text, "\r") == 0 || strcmp(text, "\r\n") == 0;
}

// The first number after a command word, whatever stands between; 0 without one.
int number_after(const char* text, size_t word) {
  for (const char* at = text + word; *at != '\0'; ++at) {
    const bool signed_number = (*at == '-' || *at == '+') && isdigit(static_cast<uint8_t>(at[1]));
    if (signed_number || isdigit(static_cast<uint8_t>(*at))) {
      return static_cast<int>(strtol(at, nullptr, 10));
    }
  }
  return 0;
}

struct Delay {
  const char* word;
  void (*wait)(unsigned count);
};

constexpr Delay delays[] = {
    {"ssleep", [](unsigned count) { sleep(count); }},
    {"msleep", [](unsigned count) { usleep(count * 1000); }},
    {"usleep", [](unsigned count) { usleep(count); }},
};

// Carries a delay line out. Only the word's own length is compared: what follows it is not looked
// at but for its number. Returns whether it was a delay line.
bool wait(const char* text) {
  for (const Delay& delay : delays) {
    if (!starts_with(text, delay.word)) continue;
    const int count = number_after(text, strlen(delay.word));
    if (count > 0) delay.wait(static_cast<unsigned>(count));
    return true;
  }
  return false;
}

constexpr char echo_word[] = "echo";

}  // namespace

int ScriptFile::open(const char* path) {
  file_ = fopen(path, "r");
  if (file_ != nullptr) return 0;
  const int error = errno;
  fprintf(stderr, "open file \"%s\" failed, %s\n", path, strerror(error));
  return -error;
}

bool ScriptFile::next(Line* line) {
  if (fgets(text_, sizeof text_, file_) == nullptr) return false;
  ++number_;
  *line = classify();
  if (*line != Line::registers) return true;
  if (wait(text_)) {
    *line = Line::done;
  } else if (format_.echo && starts_with(text_, echo_word)) {
    fputs(text_ + strlen(echo_word), stdout);
    *line = Line::done;
  }
  return true;
}

Line ScriptFile::classify() const {
  if (text_[0] == '#') return format_.headers ? Line::header : Line::skipped;
  if (text_[0] == '\0' || text_[0] == '/' || is_blank(text_)) return Line::skipped;
  return Line::registers;
}

void ScriptFile::close() {
  if (file_ != nullptr) fclose(file_);
  file_ = nullptr;
}

void ScriptLine::parse(const char* text) {
  sscanf(text, "%lx %x %c %x %d", &address, &value, &operation, &mask, &width);
}

void report_bad_operation(const ScriptFile& file, const char* text) {
  fprintf(stderr, "%d %s: Operation character error!\n", file.number(), text);
}

void report_failed_write(int number, unsigned long address, uint32_t value) {
  fprintf(stderr, "%d: write reg [%lx] %x failed, exit script!\n", number, address, value);
}

void report_failed_read(int number, unsigned long address) {
  fprintf(stderr, "%d: read reg [%lx] failed, exit script!\n", number, address);
}

}  // namespace zvg::script
