// What every line of a register file came to. The runners print it, or say nothing, and return 0
// whatever their lines came to; whoever must know listens here. Nobody listens as a rule, which
// costs a line a test of a pointer.
#ifndef ZVG_SCRIPT_LINE_RESULTS_H
#define ZVG_SCRIPT_LINE_RESULTS_H

#include <stdint.h>

#include "formats/script/line.h"

namespace zvg::script {

enum class Verdict {
  skipped,    // a comment, a blank line or a header
  done,       // carried out, and there was nothing to compare
  passed,     // the register had what was expected, or came to have it
  mismatch,   // it had not
  timed_out,  // it did not come to have it
  no_access,  // the access failed, or the register does not take the line's width or channel
  malformed,  // names no operation, or no block
};

struct LineResult {
  int number = 0;  // of the line, as the runners count; 0 while there is none
  formats::script::LineKind kind = formats::script::LineKind::skipped;
  Verdict verdict = Verdict::skipped;
  // Of a register line: how many fields it has, and all of them; those that it has not are the
  // line's before. One of the two is null, and both are after the call.
  int fields = 0;
  const formats::script::ScriptLine* script = nullptr;
  const formats::script::BlockLine* block = nullptr;
  bool was_read = false;
  uint32_t read = 0;  // what the register had, the last time
};

struct LineObserver {
  void (*told)(void* context, const LineResult& line);  // once a line, when it is done
  void* context;
  // The line that is being carried out. When a call of the library is ended by force, it was this.
  LineResult line = {};
};

// Null when nobody listens.
extern LineObserver* g_line_observer;

// For the runners. The first and the last are the file's, the others the line's.
inline void begin_line(int number, formats::script::LineKind kind) {
  if (g_line_observer == nullptr) return;
  g_line_observer->line = {.number = number, .kind = kind};
}

inline void tell_fields(int fields, const formats::script::ScriptLine* script,
                        const formats::script::BlockLine* block) {
  if (g_line_observer == nullptr) return;
  LineResult& line = g_line_observer->line;
  line.fields = fields;
  line.script = script;
  line.block = block;
}

inline void tell_read(uint32_t value) {
  if (g_line_observer == nullptr) return;
  g_line_observer->line.was_read = true;
  g_line_observer->line.read = value;
}

inline void tell_verdict(Verdict verdict) {
  if (g_line_observer != nullptr) g_line_observer->line.verdict = verdict;
}

inline void end_line() {
  if (g_line_observer == nullptr || g_line_observer->line.number == 0) return;
  g_line_observer->told(g_line_observer->context, g_line_observer->line);
  g_line_observer->line = {};
}

}  // namespace zvg::script

#endif  // ZVG_SCRIPT_LINE_RESULTS_H
