// Register scripts for the DDR channels: the same lines, of which two operations exist, and every
// access is 32 bits on all the channels of a mask.
#include <stdint.h>
#include <stdio.h>

#include "script/line_results.h"
#include "script/script_file.h"
#include "script/script_poll.h"
#include "util_zvg.h"

namespace zvg::script {

namespace {

enum class Run { on, stop };

Run write(int number, const ScriptLine& line, unsigned mask) {
  if (zvgDdrRegWriteLong(mask, line.address, line.value) != 0) {
    report_failed_write(number, line.address, line.value);
    return Run::stop;
  }
  tell_verdict(Verdict::done);
  return Run::on;
}

// A DDR register that does not come within the first hundred reads will not come: the whole script
// is given up.
Run poll(int number, const ScriptLine& line, unsigned mask) {
  const Poll end = poll_register(
      number, line, "%d (%d times): read reg [%lx] out %x, but not %x (mask %X)\n",
      /*give_up=*/true,
      [&](uint32_t* value) { return zvgDdrRegReadLong(mask, line.address, value); },
      [&](uint32_t value) { return matches(line, value); });
  if (end == Poll::gave_up) puts("trainning failed");
  return end == Poll::gave_up || end == Poll::read_failed ? Run::stop : Run::on;
}

}  // namespace

}  // namespace zvg::script

int zvgDdrRunScript(const char* path, unsigned channel_mask) {
  using namespace zvg::script;
  puts("zvgDdrRunScript");
  ScriptFile file(script_format);
  if (const int result = file.open(path); result != 0) return result;
  ScriptLine line;
  Line kind;
  Run run = Run::on;
  while (run == Run::on && file.next(&kind)) {
    if (kind != Line::registers) continue;
    tell_fields(line.parse(file.text()), &line, nullptr);
    if (line.operation == 'W' || line.operation == 'w') {
      run = write(file.number(), line, channel_mask);
    } else if (line.operation == 'R' || line.operation == 'r') {
      run = poll(file.number(), line, channel_mask);
    } else {
      report_bad_operation(file, file.text());
    }
  }
  return 0;
}
