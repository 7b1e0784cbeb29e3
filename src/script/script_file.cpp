#include "script/script_file.h"

#include <errno.h>
#include <limits.h>
#include <string.h>
#include <unistd.h>

#include "script/line_results.h"

namespace zvg::script {

LineObserver* g_line_observer = nullptr;

namespace {

// A number of milliseconds may be more microseconds than one usleep() takes.
void wait_milliseconds(unsigned count) {
  constexpr unsigned most = UINT_MAX / 1000;
  for (; count > most; count -= most) {
    if (usleep(most * 1000) != 0) return;  // a signal ends the whole delay, as it does a short one
  }
  usleep(count * 1000);
}

void wait(const formats::script::Delay& delay) {
  if (delay.count <= 0) return;
  const auto count = static_cast<unsigned>(delay.count);
  switch (delay.unit) {
    case 's':
      sleep(count);
      break;
    case 'm':
      wait_milliseconds(count);
      break;
    default:
      usleep(count);
      break;
  }
}

}  // namespace

int ScriptFile::open(const char* path) {
  file_ = fopen(path, "r");
  if (file_ != nullptr) return 0;
  const int error = errno;
  fprintf(stderr, "open file \"%s\" failed, %s\n", path, strerror(error));
  return -error;
}

bool ScriptFile::next(Line* line) {
  using namespace formats::script;
  end_line();
  if (fgets(text_, sizeof text_, file_) == nullptr) return false;
  ++number_;
  *line = Line::nothing;
  const LineKind kind = classify(format_, text_);
  begin_line(number_, kind);
  switch (kind) {
    case LineKind::skipped:
      break;
    case LineKind::delay:
      wait(parse_delay(text_));
      tell_verdict(Verdict::done);
      break;
    case LineKind::echo:
      fputs(echo_text(text_), stdout);
      tell_verdict(Verdict::done);
      break;
    case LineKind::header:
      *line = Line::header;
      break;
    case LineKind::registers:
      *line = Line::registers;
      tell_verdict(Verdict::no_access);  // until it was made
      break;
  }
  return true;
}

void ScriptFile::close() {
  end_line();
  if (file_ != nullptr) fclose(file_);
  file_ = nullptr;
}

void ScriptFile::abandon() {
  end_line();
  file_ = nullptr;
}

void report_bad_operation(const ScriptFile& file, const char* text) {
  tell_verdict(Verdict::malformed);
  fprintf(stderr, "%d %s: Operation character error!\n", file.number(), text);
}

void report_failed_write(int number, unsigned long address, uint32_t value) {
  fprintf(stderr, "%d: write reg [%lx] %x failed, exit script!\n", number, address, value);
}

void report_failed_read(int number, unsigned long address) {
  fprintf(stderr, "%d: read reg [%lx] failed, exit script!\n", number, address);
}

}  // namespace zvg::script
