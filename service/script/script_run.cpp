#include "service/script/script_run.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <util_zvg.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "core/access_failures.h"
#include "script/line_results.h"
#include "service/board/board.h"
#include "service/board/error.h"
#include "service/files/input_file.h"
#include "service/files/memory_file.h"
#include "service/files/own_path.h"
#include "service/files/work_folder.h"

namespace zvg {

namespace {

using formats::script::BlockLine;
using formats::script::LineKind;
using formats::script::ScriptLine;
using script::LineObserver;
using script::LineResult;
using script::Verdict;

bool is_block_file(FileKind kind) {
  return kind == FileKind::check || kind == FileKind::read;
}

LineVerdict verdict_of(const LineResult& result, int field_count) {
  const bool registers = result.kind == LineKind::registers;
  if (registers && result.fields < field_count) return LineVerdict::malformed;
  switch (result.verdict) {
    case Verdict::skipped:
      return LineVerdict::skipped;
    case Verdict::done:
    case Verdict::passed:
      return LineVerdict::pass;
    case Verdict::mismatch:
      return LineVerdict::fail;
    case Verdict::timed_out:
      return LineVerdict::timed_out;
    case Verdict::no_access:
      return LineVerdict::error;
    case Verdict::malformed:
      return LineVerdict::malformed;
  }
  return LineVerdict::error;
}

unsigned bits_of(int width) {
  return width > 0 ? static_cast<unsigned>(width) : 0;
}

void take_script_line(LineReport& report, const ScriptLine& line, bool ddr) {
  report.address = line.address;
  report.width = ddr ? 32 : bits_of(line.width);
  const bool writes = report.step == Step::write || report.step == Step::set_bits;
  (writes ? report.written : report.expected) = line.value;
  if (report.step != Step::write) report.mask = line.mask;
}

void take_block_line(LineReport& report, const BlockLine& line, FileKind kind) {
  report.block = line.name;
  report.address = line.address;
  report.width = bits_of(line.width);
  if (kind == FileKind::read) return;
  (report.step == Step::write ? report.written : report.expected) = line.value;
  if (report.step != Step::write) report.mask = line.third;
}

// Adds a line that was run to what the file came to.
void count(ScriptRun& run, const LineReport& line) {
  if (line.verdict == LineVerdict::malformed) {
    ++run.failures;
    return;
  }
  // What ended the run is told as that.
  if (line.verdict == LineVerdict::error) {
    if (line.line == run.stopped_at) return;
    ++run.failures;
  }
  switch (line.step) {
    case Step::write:
    case Step::set_bits:
      if (line.verdict == LineVerdict::pass) ++run.writes;
      break;
    case Step::check:
      ++run.checks;
      if (line.verdict == LineVerdict::fail) ++run.checks_failed;
      break;
    case Step::poll:
      ++run.polls;
      if (line.verdict == LineVerdict::timed_out) ++run.polls_timed_out;
      break;
    case Step::read:
      ++run.reads;
      break;
    default:
      break;
  }
}

// Listens to the library while it runs a file.
class Listener {
 public:
  Listener(const RegisterFile& file, ScriptRun& run)
      : file_(file), run_(run), observer_{.told = told, .context = this} {
    for (const PlannedLine& planned : file.plan().lines) {
      LineReport report;
      report.line = planned.number;
      report.step = planned.step;
      run_.lines.push_back(report);
    }
    script::g_line_observer = &observer_;
  }
  ~Listener() { script::g_line_observer = nullptr; }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  // A call that was ended by force left a line behind.
  void take_unfinished() {
    if (observer_.line.number == 0) return;
    observer_.line.verdict = Verdict::no_access;
    take(observer_.line);
  }

  // When the library is done with the file.
  void sum_up() {
    if (last_ == 0) return;
    // A script ends at an access that fails, a DDR script at a poll that fails, too.
    const LineVerdict verdict = run_.lines[last_ - 1].verdict;
    const FileKind kind = file_.kind();
    if (last_ < run_.lines.size() || (verdict == LineVerdict::error && !is_block_file(kind)) ||
        (verdict == LineVerdict::timed_out && kind == FileKind::ddr_script)) {
      run_.stopped_at = run_.lines[last_ - 1].line;
    }
    for (const LineReport& line : run_.lines) count(run_, line);
  }

 private:
  static void told(void* context, const LineResult& result) {
    static_cast<Listener*>(context)->take(result);
  }

  void take(const LineResult& result) {
    last_ = static_cast<size_t>(result.number);
    if (last_ > run_.lines.size()) return;
    LineReport& report = run_.lines[last_ - 1];
    const FileKind kind = file_.kind();
    if (result.script != nullptr)
      take_script_line(report, *result.script, kind == FileKind::ddr_script);
    if (result.block != nullptr) take_block_line(report, *result.block, kind);
    if (result.was_read) report.read = result.read;
    const int field_count = !is_block_file(kind)      ? ScriptLine::field_count
                            : kind == FileKind::check ? BlockLine::check_field_count
                                                      : BlockLine::read_field_count;
    report.verdict = verdict_of(result, field_count);
    // Some registers take several accesses, whose results the library drops.
    if (core::g_access_failures.count != failures_) report.verdict = LineVerdict::error;
    failures_ = core::g_access_failures.count;
  }

  const RegisterFile& file_;
  ScriptRun& run_;
  uint64_t failures_ = core::g_access_failures.count;
  size_t last_ = 0;  // the number of the last line that was run
  LineObserver observer_;
};

constexpr char read_output[] = "out_file.txt";

// Adds what the library has written, also of a run that was ended by force, to the file of the
// user's folder.
void append_output(const std::filesystem::path& folder) {
  fflush(nullptr);
  std::error_code absent;
  if (!std::filesystem::exists(read_output, absent)) return;
  const std::vector<uint8_t> text = read_input(read_output, size_t{1} << 30, "a list of values");
  const std::string path = (folder / read_output).string();
  const int fd = open_to_write(path, O_WRONLY | O_CREAT | O_APPEND);
  FILE* const file = fd < 0 ? nullptr : fdopen(fd, "a");
  const bool written = file != nullptr && fwrite(text.data(), 1, text.size(), file) == text.size();
  const bool closed = file != nullptr && fclose(file) == 0;
  if (written && closed) return;
  throw_error(ErrorKind::file, "cannot write %s: %s", path.c_str(), strerror(errno));
}

int call_library(FileKind kind, const char* path, unsigned ddr_channels) {
  switch (kind) {
    case FileKind::script:
      return zvgRunScript(path);
    case FileKind::ddr_script:
      return zvgDdrRunScript(path, ddr_channels);
    case FileKind::check:
      return zvgRunCheckReg(path);
    case FileKind::read:
      return zvgRunReadReg(path);
  }
  return -1;
}

const char* step_name(Step step) {
  switch (step) {
    case Step::nothing:
      return nullptr;
    case Step::wait:
      return "wait";
    case Step::echo:
      return "echo";
    case Step::header:
      return "header";
    case Step::write:
      return "write";
    case Step::check:
      return "check";
    case Step::poll:
      return "poll";
    case Step::set_bits:
      return "set_bits";
    case Step::read:
      return "read";
    case Step::unknown:
      return nullptr;
  }
  return nullptr;
}

const char* verdict_name(LineVerdict verdict) {
  switch (verdict) {
    case LineVerdict::pass:
      return "pass";
    case LineVerdict::fail:
      return "fail";
    case LineVerdict::timed_out:
      return "timed_out";
    case LineVerdict::error:
      return "error";
    case LineVerdict::malformed:
      return "malformed";
    case LineVerdict::skipped:
      return "skipped";
    case LineVerdict::not_run:
      return "not_run";
  }
  return "error";
}

}  // namespace

void run_register_file(Board&, const RegisterFile& file, unsigned ddr_channels, ScriptRun* run) {
  *run = {};
  // The library names its output itself, and opens whatever has that name.
  const std::filesystem::path folder = std::filesystem::current_path();
  std::optional<WorkFolder> work;
  if (file.kind() == FileKind::read) work.emplace(std::filesystem::temp_directory_path());
  MemoryFile copy;
  copy.put(file.text().data(), file.text().size());
  Listener listener(file, *run);
  int result = 0;
  try {
    result = call_library(file.kind(), copy.path(), ddr_channels);
  } catch (const Error&) {  // the connection broke
    listener.take_unfinished();
    listener.sum_up();
    if (work) append_output(folder);
    throw;
  }
  listener.sum_up();
  if (work) append_output(folder);
  if (result != 0) {
    throw_error(ErrorKind::file, "cannot run %s: %s", file.name().c_str(), strerror(-result));
  }
}

Json to_json(const LineReport& line) {
  const unsigned bytes = line.width == 8 || line.width == 16 ? line.width / 8 : 4;
  const auto value = [bytes](const std::optional<uint32_t>& number) {
    return number ? Json(value_text(*number, bytes)) : Json();
  };
  const char* const step = step_name(line.step);
  return {{"line", line.line},
          {"operation", step != nullptr ? Json(step) : Json()},
          {"block", line.block.empty() ? Json() : Json(line.block)},
          {"address", line.address ? Json(address_text(*line.address)) : Json()},
          {"width", line.address ? Json(line.width) : Json()},
          {"written", value(line.written)},
          {"read", value(line.read)},
          {"expected", value(line.expected)},
          {"mask", value(line.mask)},
          {"verdict", verdict_name(line.verdict)}};
}

Json to_json(const ScriptRun& run) {
  Json lines = Json::array();
  for (const LineReport& line : run.lines) lines.push_back(to_json(line));
  return {{"writes", run.writes},
          {"checks", run.checks},
          {"checks_failed", run.checks_failed},
          {"polls", run.polls},
          {"polls_timed_out", run.polls_timed_out},
          {"reads", run.reads},
          {"failures", run.failures},
          {"stopped_at_line", run.stopped_at != 0 ? Json(run.stopped_at) : Json()},
          {"good", run.good()},
          {"lines", lines}};
}

}  // namespace zvg
