// zvgctl script, check and read: files of register lines.
#include <stdio.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/number.h"
#include "service/script/script_plan.h"
#include "service/script/script_run.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/library_text.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

struct Arguments {
  std::string file;
  std::string ddr;  // channel mask; empty for a plain script
  bool dry_run = false;
  bool allow_empty = false;
};

void print_summary(const Context& context, const ScriptRun& run) {
  if (context.json) {
    print_json(to_json(run));
    return;
  }
  std::string text;
  const auto add = [&text](size_t count, const char* noun, size_t bad, const char* how) {
    if (count == 0) return;
    if (!text.empty()) text += ", ";
    text += format("%zu %s%s", count, noun, count == 1 ? "" : "s");
    if (bad != 0) text += format(" (%zu %s)", bad, how);
  };
  add(run.writes, "write", 0, "");
  add(run.checks, "check", run.checks_failed, "failed");
  add(run.polls, "poll", run.polls_timed_out, "timed out");
  add(run.reads, "read", 0, "");
  add(run.failures, "failure", 0, "");
  if (text.empty()) text = "no register line was carried out";
  if (run.stopped_at != 0) text += format("; stopped at line %d", run.stopped_at);
  printf("%s\n", text.c_str());
}

// The remarks of a file, as warnings.
void warn_of_remarks(const RegisterFile& file) {
  for (const PlannedLine& line : file.plan().lines) {
    if (line.remark.empty()) continue;
    warn("%s:%d: %s", file.name().c_str(), line.number, line.remark.c_str());
  }
}

void print_plan(const Context& context, const RegisterFile& file) {
  const Plan& plan = file.plan();
  if (context.json) {
    Json lines = Json::array();
    for (const PlannedLine& line : plan.lines) {
      if (line.deed.empty() && line.remark.empty()) continue;
      Json entry = {{"line", line.number}, {"does", line.deed}};
      if (!line.remark.empty()) entry["remark"] = line.remark;
      lines.push_back(entry);
    }
    print_json({{"file", file.name()}, {"lines", lines}, {"remarks", plan.remarks()}});
  } else {
    for (const PlannedLine& line : plan.lines) {
      if (!line.deed.empty()) printf("%5d  %s\n", line.number, printable(line.deed).c_str());
      if (!line.remark.empty()) printf("%5d  ! %s\n", line.number, printable(line.remark).c_str());
    }
  }
  if (plan.remarks() != 0) {
    fail("%s: %zu lines may not mean what was meant", file.name().c_str(), plan.remarks());
  }
}

// A file without anything to do is more likely the wrong file, or a pipe that broke.
void expect_work(const RegisterFile& file, const Arguments& arguments) {
  if (arguments.allow_empty || !file.plan().is_empty()) return;
  fail("nothing to do: %s has no line but comments and blank ones (--allow-empty lets that pass)",
       file.name().c_str());
}

// A write would end the run of a read file there, and leave what was read half way.
void expect_only_reads(const RegisterFile& file) {
  for (const PlannedLine& line : file.plan().lines) {
    if (line.deed != "end the run") continue;
    fail("%s:%d: %s", file.name().c_str(), line.number, line.remark.c_str());
  }
}

void run_file(const Context& context, const Arguments& arguments, FileKind kind,
              unsigned ddr_channels = 0) {
  const RegisterFile file(arguments.file, kind);
  if (arguments.dry_run) print_plan(context, file);
  expect_work(file, arguments);
  if (arguments.dry_run) return;
  if (kind == FileKind::read) {
    expect_only_reads(file);
    if (access(".", W_OK) != 0) {
      fail("cannot write out_file.txt: the current folder cannot be written to");
    }
  }
  if (context.json) reserve_stdout_for_json();
  Connection connection(context);
  warn_of_remarks(file);
  ScriptRun run;
  try {
    run_register_file(connection, file, ddr_channels, &run);
  } catch (const zvg::Error&) {
    print_summary(context, run);
    throw;
  }
  print_summary(context, run);
  if (!run.good()) fail("%s did not run as it should", file.name().c_str());
}

void run_script(const Context& context, const Arguments& arguments) {
  if (arguments.ddr.empty()) return run_file(context, arguments, FileKind::script);
  const auto channels = static_cast<unsigned>(parse_number("--ddr", arguments.ddr, 0xF));
  if (!arguments.dry_run) {
    require_generation(parse_connection(context.connection), "where the DDR channels are");
  }
  run_file(context, arguments, FileKind::ddr_script, channels);
}

void check_file(const Context& context, const Arguments& arguments) {
  expect_library_colours({"31", "34", "36", "0"});
  run_file(context, arguments, FileKind::check);
}

void read_file(const Context& context, const Arguments& arguments) {
  run_file(context, arguments, FileKind::read);
}

using Command = void (*)(const Context&, const Arguments&);

CLI::App* add_file_command(CLI::App& parent, Context& context, const char* name,
                           const char* description, const std::shared_ptr<Arguments>& arguments,
                           Command run) {
  CLI::App* const command = parent.add_subcommand(name, description);
  command->add_option("FILE", arguments->file, "The file; - is standard input")
      ->required()
      ->type_name("FILE");
  command->add_flag("--dry-run", arguments->dry_run,
                    "Show what each line would do, and which may not mean what was meant; touch "
                    "nothing");
  command->add_flag("--allow-empty", arguments->allow_empty,
                    "A file without anything to do is no failure");
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
      "  echo '300004 a5 C ff 8' | zvgctl script run - --json\n"
      "Exits with 1 when a check failed, a poll timed out, a line is not whole, the script\n"
      "stopped, or there was nothing to do. --json has a result a line.");
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
          "Exits with 1 when a check or an access failed, a line is not whole, or there was "
          "nothing\n"
          "to do. --json has a result a line.");
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
