// zvgctl script, check and read: files of register lines.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/number.h"
#include "service/script/script_plan.h"
#include "service/seam/library_messages.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

struct Arguments {
  std::string file;
  std::string ddr;  // channel mask; empty for a plain script
  bool dry_run = false;
};

// How a run ended, beside what the library printed.
struct Summary {
  size_t writes = 0;
  size_t checks = 0;
  size_t checks_failed = 0;
  size_t polls = 0;
  size_t polls_timed_out = 0;
  size_t reads = 0;
  size_t failures = 0;  // accesses and lines that did not work
  int stopped_at = 0;   // the line that ended the run early; 0 for none

  bool good() const {
    return checks_failed == 0 && polls_timed_out == 0 && failures == 0 && stopped_at == 0;
  }
};

void print_summary(const Context& context, const Summary& summary) {
  if (context.json) {
    Json document = {{"writes", summary.writes},
                     {"checks", summary.checks},
                     {"checks_failed", summary.checks_failed},
                     {"polls", summary.polls},
                     {"polls_timed_out", summary.polls_timed_out},
                     {"reads", summary.reads},
                     {"failures", summary.failures},
                     {"stopped_at_line", nullptr},
                     {"good", summary.good()}};
    if (summary.stopped_at != 0) document["stopped_at_line"] = summary.stopped_at;
    print_json(document);
    return;
  }
  std::string text;
  const auto add = [&text](size_t count, const char* noun, size_t bad, const char* how) {
    if (count == 0) return;
    if (!text.empty()) text += ", ";
    text += format("%zu %s%s", count, noun, count == 1 ? "" : "s");
    if (bad != 0) text += format(" (%zu %s)", bad, how);
  };
  add(summary.writes, "write", 0, "");
  add(summary.checks, "check", summary.checks_failed, "failed");
  add(summary.polls, "poll", summary.polls_timed_out, "timed out");
  add(summary.reads, "read", 0, "");
  add(summary.failures, "failure", 0, "");
  if (text.empty()) text = "nothing to do";
  if (summary.stopped_at != 0) text += format("; stopped at line %d", summary.stopped_at);
  printf("%s\n", text.c_str());
}

void end_with(const Context& context, const std::string& file, const Summary& summary) {
  print_summary(context, summary);
  if (!summary.good()) fail("%s did not run as it should", file.c_str());
}

// The remarks of a file, as warnings.
void warn_of_remarks(const std::string& file, const Plan& plan) {
  for (const PlannedLine& line : plan.lines) {
    if (!line.remark.empty()) warn("%s:%d: %s", file.c_str(), line.number, line.remark.c_str());
  }
}

void print_plan(const Context& context, const std::string& file, const Plan& plan) {
  if (context.json) {
    Json lines = Json::array();
    for (const PlannedLine& line : plan.lines) {
      if (line.deed.empty() && line.remark.empty()) continue;
      Json entry = {{"line", line.number}, {"does", line.deed}};
      if (!line.remark.empty()) entry["remark"] = line.remark;
      lines.push_back(entry);
    }
    print_json({{"file", file}, {"lines", lines}, {"remarks", plan.remarks()}});
  } else {
    for (const PlannedLine& line : plan.lines) {
      if (!line.deed.empty()) printf("%5d  %s\n", line.number, line.deed.c_str());
      if (!line.remark.empty()) printf("%5d  ! %s\n", line.number, line.remark.c_str());
    }
  }
  if (plan.remarks() != 0) {
    fail("%s: %zu lines may not mean what was meant", file.c_str(), plan.remarks());
  }
}

// What the library's messages about a script tell: "LINE: ...".
struct ScriptMessages {
  size_t mismatches = 0;
  size_t timeouts = 0;
  int stopped_at = 0;
  bool gave_up = false;  // a DDR poll that ended its script
  int last_line = 0;

  void take(const std::string& message) {
    if (message == "trainning failed") {
      gave_up = true;
      stopped_at = last_line;
      return;
    }
    char* rest = nullptr;
    const long number = strtol(message.c_str(), &rest, 10);
    if (rest == message.c_str()) return;
    const std::string text = rest;
    last_line = static_cast<int>(number);
    if (text.starts_with(": check reg timeout")) ++timeouts;
    if (text.starts_with(": read [") && text.find("] == ") != std::string::npos) ++mismatches;
    if (text.ends_with("failed, exit script!")) stopped_at = last_line;
  }
};

Summary summarise(const Plan& plan, const ScriptMessages& messages) {
  Summary summary;
  for (const PlannedLine& line : plan.lines) {
    const bool reached = messages.stopped_at == 0 || line.number < messages.stopped_at;
    // The poll that gave up a DDR script was made; an access that failed was not.
    if (!reached && !(messages.gave_up && line.number == messages.stopped_at)) break;
    if (line.step == Step::write || line.step == Step::set_bits) ++summary.writes;
    if (line.step == Step::check) ++summary.checks;
    if (line.step == Step::poll) ++summary.polls;
    if (line.step == Step::unknown) ++summary.failures;
  }
  summary.checks_failed = messages.mismatches;
  summary.polls_timed_out = messages.timeouts + (messages.gave_up ? 1 : 0);
  summary.stopped_at = messages.stopped_at;
  return summary;
}

unsigned parse_mask(const std::string& text) {
  return static_cast<unsigned>(parse_number("--ddr", text, 0xF));
}

void run_script(const Context& context, const Arguments& arguments) {
  const bool ddr = !arguments.ddr.empty();
  const unsigned mask = ddr ? parse_mask(arguments.ddr) : 0;
  const Plan plan = plan_file(arguments.file, ddr ? FileKind::ddr_script : FileKind::script);
  if (arguments.dry_run) {
    print_plan(context, arguments.file, plan);
    return;
  }
  if (ddr) require_generation(parse_connection(context.connection), "where the DDR channels are");
  if (context.json) reserve_stdout_for_json();
  Connection connection(context);
  warn_of_remarks(arguments.file, plan);
  ScriptMessages messages;
  {
    const auto take = [&messages](const std::string& line) { messages.take(line); };
    const MessageTap errors({""}, take);
    const MessageTap results({""}, take, zvg::seam::Stream::out);
    const int result =
        ddr ? zvgDdrRunScript(arguments.file.c_str(), mask) : zvgRunScript(arguments.file.c_str());
    if (result != 0) fail("cannot run %s: %s", arguments.file.c_str(), strerror(-result));
  }
  end_with(context, arguments.file, summarise(plan, messages));
}

// What the library's messages about a check or read file tell.
struct BlockMessages {
  size_t mismatches = 0;
  size_t errors = 0;  // of a check file's lines
  size_t writes_done = 0;
  size_t reads_done = 0;  // lines "[ADDRESS]: VALUE" of a read file
  size_t failed_reads = 0;

  void take(const std::string& line) {
    if (line.find("expected \033[34m") != std::string::npos) ++mismatches;
    if (line.ends_with("read/write err!")) ++errors;
    if (line.ends_with("success!")) ++writes_done;
    const bool read_failed = line.ends_with("failed, exit script!") || line.ends_with(" error") ||
                             line.ends_with("is err!");
    if (read_failed) ++failed_reads;
    if (line.starts_with("[") && line.find("]: ") != std::string::npos) ++reads_done;
  }
};

void check_file(const Context& context, const Arguments& arguments) {
  const Plan plan = plan_file(arguments.file, FileKind::check);
  if (arguments.dry_run) return print_plan(context, arguments.file, plan);
  if (context.json) reserve_stdout_for_json();
  Connection connection(context);
  warn_of_remarks(arguments.file, plan);
  BlockMessages messages;
  {
    const MessageTap results(
        {""}, [&](const std::string& line) { messages.take(line); }, zvg::seam::Stream::out);
    const int result = zvgRunCheckReg(arguments.file.c_str());
    if (result != 0) fail("cannot run %s: %s", arguments.file.c_str(), strerror(-result));
  }
  Summary summary;
  summary.writes = messages.writes_done;
  summary.checks = plan.count(Step::check);
  summary.checks_failed = messages.mismatches;
  summary.failures = messages.errors + plan.count(Step::unknown);
  end_with(context, arguments.file, summary);
}

void read_file(const Context& context, const Arguments& arguments) {
  const Plan plan = plan_file(arguments.file, FileKind::read);
  if (arguments.dry_run) return print_plan(context, arguments.file, plan);
  for (const PlannedLine& line : plan.lines) {
    // The library would end the run there and leave what it has written half way.
    if (line.deed == "end the run") {
      fail("%s:%d: %s", arguments.file.c_str(), line.number, line.remark.c_str());
    }
  }
  if (access(".", W_OK) != 0) {
    fail("cannot write out_file.txt: the current folder cannot be written to");
  }
  if (context.json) reserve_stdout_for_json();
  Connection connection(context);
  warn_of_remarks(arguments.file, plan);
  BlockMessages messages;
  {
    const auto take = [&messages](const std::string& line) { messages.take(line); };
    const MessageTap errors({""}, take);
    const MessageTap results({""}, take, zvg::seam::Stream::out);
    const int result = zvgRunReadReg(arguments.file.c_str());
    if (result != 0) fail("cannot run %s: %s", arguments.file.c_str(), strerror(-result));
  }
  Summary summary;
  summary.reads = messages.reads_done;
  summary.failures = messages.failed_reads + plan.count(Step::unknown);
  end_with(context, arguments.file, summary);
}

using Command = void (*)(const Context&, const Arguments&);

CLI::App* add_file_command(CLI::App& parent, Context& context, const char* name,
                           const char* description, const std::shared_ptr<Arguments>& arguments,
                           Command run) {
  CLI::App* const command = parent.add_subcommand(name, description);
  command->add_option("FILE", arguments->file, "The file")->required()->type_name("FILE");
  command->add_flag("--dry-run", arguments->dry_run,
                    "Show what each line would do, and which may not mean what was meant; touch "
                    "nothing");
  command->callback([&context, arguments, run] {
    context.action = [&context, arguments, run] { run(context, *arguments); };
  });
  return command;
}

}  // namespace

void add_script(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "script", "Register scripts",
                                "Example:\n  zvgctl script run bring_up.txt");
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* const run =
      add_file_command(family, context, "run", "Run a register script", arguments, run_script);
  run->add_option("--ddr", arguments->ddr,
                  "Run it on the DDR channels of a mask (bit 0 is channel 0), in 32 bits")
      ->type_name("MASK");
  run->footer(
      "A line is ADDRESS VALUE OPERATION MASK WIDTH, all hexadecimal but the width:\n"
      "  W write   C check once   R poll until equal   N poll until not   S set bits\n"
      "or: # comment, ssleep N, msleep N, usleep N, echo TEXT.\n"
      "Examples:\n"
      "  zvgctl script run bring_up.txt\n"
      "  zvgctl script run bring_up.txt --dry-run\n"
      "  zvgctl script run train.txt --ddr 0x3\n"
      "Exits with 1 when a check failed, a poll timed out or the script stopped.");
}

void add_check_file(CLI::App& application, Context& context) {
  add_file_command(application, context, "check",
                   "Check registers against a file of expected values",
                   std::make_shared<Arguments>(), check_file)
      ->footer(
          "A line is ADDRESS NAME MASK WIDTH VALUE; NAME is R (check) or W (write), the block\n"
          "(H HDMI, V CRTC, M register, P HDMI PHY, D DP) and the channel.\n"
          "Example: the line \"3004 RH0 01 8 01\" expects a locked PLL in HDMI 0\n"
          "  zvgctl check golden.txt\n"
          "Exits with 1 when a check or an access failed.");
}

void add_read_file(CLI::App& application, Context& context) {
  add_file_command(application, context, "read", "Read the registers that a file lists",
                   std::make_shared<Arguments>(), read_file)
      ->footer(
          "A line is ADDRESS NAME FIELD WIDTH, with NAME as in check files; FIELD means nothing.\n"
          "Each is appended with its value to out_file.txt in the current folder.\n"
          "Example:\n"
          "  zvgctl read registers.txt");
}

}  // namespace zvgctl
