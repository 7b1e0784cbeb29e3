// A register file that is carried out, and what each of its lines came to.
#ifndef ZVG_SERVICE_SCRIPT_SCRIPT_RUN_H
#define ZVG_SERVICE_SCRIPT_SCRIPT_RUN_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "service/json.h"
#include "service/script/script_plan.h"

namespace zvg {

class Board;

enum class LineVerdict {
  pass,       // did what it says, and the register had what was expected
  fail,       // the register has something else
  timed_out,  // the register did not come to have it
  error,      // the access failed, or the block does not take the width or channel
  malformed,  // not a whole line: it did nothing, or what the line before says
  skipped,    // a comment, a blank line or a header
  not_run,    // the run ended before it
};

struct LineReport {
  int line = 0;
  Step step = Step::nothing;
  LineVerdict verdict = LineVerdict::not_run;
  // Of a register line:
  std::string block;  // the name in a check or read file: "RM0"; empty in scripts
  std::optional<uint64_t> address;
  unsigned width = 0;  // bits
  std::optional<uint32_t> written;
  std::optional<uint32_t> expected;
  std::optional<uint32_t> mask;
  std::optional<uint32_t> read;
};

struct ScriptRun {
  std::vector<LineReport> lines;  // all of the file's, also those that were not run
  int stopped_at = 0;             // the line that ended the run early; 0 for none

  // What was carried out, well or not.
  size_t writes = 0;
  size_t checks = 0;
  size_t checks_failed = 0;
  size_t polls = 0;
  size_t polls_timed_out = 0;
  size_t reads = 0;
  size_t failures = 0;  // accesses and lines that did not work, beside the one that ended the run

  bool good() const {
    return checks_failed == 0 && polls_timed_out == 0 && failures == 0 && stopped_at == 0;
  }
};

// Runs a file on the board. run is filled as far as it came, also when this throws: an Error when
// the connection broke, or the file could not be run. What a read file reads goes into out_file.txt
// in the current folder.
//
// ddr_channels: a mask; of a DDR script only.
void run_register_file(Board& board, const RegisterFile& file, unsigned ddr_channels,
                       ScriptRun* run);

Json to_json(const LineReport& line);
Json to_json(const ScriptRun& run);

}  // namespace zvg

#endif  // ZVG_SERVICE_SCRIPT_SCRIPT_RUN_H
