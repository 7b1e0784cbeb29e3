// Register scripts: writes, checks, polls and bit sets, in the order of a text file.
#include <stdint.h>
#include <stdio.h>

#include "script/line_results.h"
#include "script/reg_width.h"
#include "script/script_file.h"
#include "script/script_poll.h"
#include "util_zvg.h"

namespace zvg::script {

namespace {

// Whether the script goes on after a line.
enum class Run { on, stop };

Run write(int number, const ScriptLine& line, uint32_t value) {
  if (write_reg(line.address, line.width, value) != 0) {
    report_failed_write(number, line.address, value);
    return Run::stop;
  }
  tell_verdict(Verdict::done);
  return Run::on;
}

Run read(int number, const ScriptLine& line, uint32_t* value) {
  if (read_reg(line.address, line.width, value) != 0) {
    report_failed_read(number, line.address);
    return Run::stop;
  }
  tell_read(*value);
  return Run::on;
}

Run check(int number, const ScriptLine& line) {
  uint32_t value = 0;
  if (read(number, line, &value) == Run::stop) return Run::stop;
  const bool good = matches(line, value);
  tell_verdict(good ? Verdict::passed : Verdict::mismatch);
  if (!good) {
    printf("%d: read [%lx] == 0x%x != %x (mask %X)\n", number, line.address, value, line.value,
           line.mask);
  }
  return Run::on;
}

// A poll that times out is reported and the script goes on; only a failed read stops it.
Run poll(int number, const ScriptLine& line, bool until_equal) {
  const char* const progress =
      until_equal ? "%d (%d times): read reg [%lx] out %x, but not %x (mask %X)\n"
                  : "%d (%d times): read reg [%lx] out %x, but not !%x (mask %X)\n";
  const Poll end = poll_register(
      number, line, progress, /*give_up=*/false,
      [&](uint32_t* value) { return read_reg(line.address, line.width, value); },
      [&](uint32_t value) { return matches(line, value) == until_equal; });
  return end == Poll::read_failed ? Run::stop : Run::on;
}

Run set_bits(int number, const ScriptLine& line) {
  uint32_t value = 0;
  if (read(number, line, &value) == Run::stop) return Run::stop;
  return write(number, line, ((line.value ^ value) & line.mask) ^ value);
}

Run run(const ScriptFile& file, const char* text, const ScriptLine& line) {
  const int number = file.number();
  switch (line.operation) {
    case 'W':
    case 'w':
      return write(number, line, line.value);
    case 'C':
    case 'c':
      return check(number, line);
    case 'R':
    case 'r':
      return poll(number, line, /*until_equal=*/true);
    case 'N':
    case 'n':
      return poll(number, line, /*until_equal=*/false);
    case 'S':
    case 's':
      return set_bits(number, line);
    default:
      report_bad_operation(file, text);
      return Run::on;
  }
}

}  // namespace

}  // namespace zvg::script

int zvgRunScript(const char* path) {
  using namespace zvg::script;
  ScriptFile file(script_format);
  if (const int result = file.open(path); result != 0) return result;
  ScriptLine line;
  Line kind;
  while (file.next(&kind)) {
    if (kind != Line::registers) continue;
    tell_fields(line.parse(file.text()), &line, nullptr);
    if (run(file, file.text(), line) == Run::stop) break;
  }
  return 0;
}
