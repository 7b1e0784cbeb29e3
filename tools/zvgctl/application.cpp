#include "zvgctl/application.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <utility>

#include "service/board/board.h"
#include "zvgctl/arguments.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/connection.h"
#include "zvgctl/context.h"
#include "zvgctl/errors.h"
#include "zvgctl/help.h"
#include "zvgctl/terminal/interrupts.h"
#include "zvgctl/terminal/library_text.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/virtual_board.h"

namespace zvgctl {

namespace {

constexpr char general_examples[] =
    "Numbers are decimal (31) or hexadecimal (0x1f). Options may stand before or behind the\n"
    "command. Every command has a --help of its own, with examples.\n"
    "\n"
    "Examples:\n"
    "  zvgctl --sim info                              no board needed: a virtual one\n"
    "  zvgctl edid read --hdmi 0 --sim                the report of its first monitor\n"
    "  zvgctl reg read 0x308000                       a register, through the driver\n"
    "  zvgctl reg read 0x308000 --driver 1            the same of the second board\n"
    "  zvgctl reg read 0x308000 --mem 0xE0000000:0x1000000\n"
    "  zvgctl reg read 0x308000 --serial /dev/ttyUSB0:115200\n"
    "\n"
    "Exit status: 0 done, 1 failed, 2 the command line makes no sense.";

constexpr char connection_reminder[] =
    "\nWhich board, and through which door (--driver, --mem, --serial, --sim), and --json, --yes\n"
    "and --deadline: see zvgctl --help.";

// The innermost command that was named, for "try ... --help".
std::string named_command(const CLI::App& application) {
  std::string name = "zvgctl";
  const CLI::App* command = &application;
  while (!command->get_subcommands().empty()) {
    command = command->get_subcommands().front();
    name += " " + command->get_name();
  }
  return name;
}

// Leaves say where the options are that they share.
void add_reminders(CLI::App& application) {
  for (CLI::App* const command : application.get_subcommands({})) {
    const std::string footer = command->get_footer();
    command->footer(footer.empty() ? connection_reminder + 1 : footer + "\n" + connection_reminder);
    add_reminders(*command);
  }
}

void build(CLI::App& application, Context& context) {
  application.formatter(std::make_shared<HelpFormatter>());  // before there are commands
  application.set_version_flag("--version", std::string("zvgctl ") + ZVGCTL_VERSION);
  application.require_subcommand(1);
  // Options behind a subcommand that are not its own belong to the whole.
  application.fallthrough();
  application.footer(general_examples);
  add_connection_options(application, context.connection);
  application.add_flag("--json", context.json, "Print data as JSON, and nothing else, on stdout")
      ->group("Behaviour");
  application.add_flag("-y,--yes", context.yes, "Do what cannot be undone without asking")
      ->group("Behaviour");
  application
      .add_option("--deadline", context.deadline,
                  "Give up after that many seconds; 0 for never (default: edid and hdmi 90, dp "
                  "60, 300 over a serial line; ddr eye 60 a channel, 600 over a serial line; most "
                  "others never)")
      ->type_name("SECONDS")
      ->group("Behaviour");
  application
      .add_option("--wait", context.wait,
                  "Wait that long for another process that uses the serial line, writes the flash "
                  "or trains a link (default: not at all)")
      ->type_name("SECONDS")
      ->group("Behaviour");
  application
      .add_flag(
          "--dead-ok", context.dead_ok,
          "Go on, with a warning, when the board reads as ones everywhere: it is off the bus, "
          "powered down, or not where it was looked for")
      ->group("Behaviour");
  application
      .add_option("--log", context.log,
                  "Write every access with its time, door and result into a new file, to attach to "
                  "a report (driver and serial line)")
      ->type_name("FILE")
      ->group("Behaviour");
  application
      .add_option("--record", context.record,
                  "Write the register accesses of the command into a script, which 'script run' "
                  "replays (driver and serial line)")
      ->type_name("FILE")
      ->group("Behaviour");
  add_info(application, context);
  add_doctor(application, context);
  add_reg(application, context);
  add_vram(application, context);
  add_crtc(application, context);
  add_amba(application, context);
  add_kmem(application, context);
  add_pci(application, context);
  add_ioport(application, context);
  add_edid(application, context);
  add_hdmi(application, context);
  add_i2c(application, context);
  add_ddc(application, context);
  add_power(application, context);
  add_video(application, context);
  add_mcu(application, context);
  add_dp(application, context);
  add_mode_family(application, context);
  add_panel(application, context);
  add_vga(application, context);
  add_gamma(application, context);
  add_clock(application, context);
  add_sensor(application, context);
  add_fan(application, context);
  add_query(application, context);
  add_power_state(application, context);
  add_env(application, context);
  add_board_top(application, context);
  add_flash(application, context);
  add_script(application, context);
  add_check_file(application, context);
  add_read_file(application, context);
  add_ddr(application, context);
  add_axi(application, context);
  add_reminders(application);
}

// Appends what comes behind the words so far.
void collect_names(CLI::App& command, const std::string& words, std::vector<std::string>& names) {
  // Groups of options are commands without a name.
  const std::vector<CLI::App*> inner =
      command.get_subcommands([](const CLI::App* next) { return !next->get_name().empty(); });
  if (inner.empty()) names.push_back(words);
  for (CLI::App* const next : inner) {
    collect_names(*next, words.empty() ? next->get_name() : words + " " + next->get_name(), names);
  }
}

// Begins what --log and --record ask for.
void record(Context& context) {
  if (context.record.empty() && context.log.empty()) return;
  if (parse_connection(context.connection).door == Door::memory) {
    usage_error("%s: loads and stores of mapped memory cannot be seen; use --driver or --serial",
                context.record.empty() ? "--log" : "--record");
  }
  if (!context.log.empty()) context.access_log = std::make_unique<zvg::AccessLog>(context.log);
  if (context.record.empty()) return;
  context.recording = std::make_unique<OutputFile>(context.record, Existing::keep);
  context.recorder = context.access_log
                         ? std::make_unique<zvg::Recorder>(*context.recording, *context.access_log)
                         : std::make_unique<zvg::Recorder>(*context.recording);
}

// What else helps whoever has no board.
std::string advice(const zvg::Error& error) {
  const int reason = error.system_error;
  const bool nothing_there = error.kind() == zvg::ErrorKind::not_connected &&
                             (reason == ENOENT || reason == ENXIO || reason == ENODEV);
  return nothing_there ? "; to try zvgctl without a board, add --sim" : "";
}

// A command may have concluded something from an access that failed.
void add_cause(std::string& message) {
  const auto cause = untold_failure();
  if (!cause) return;
  if (cause->door == Door::serial) {
    // Nothing that follows from a lost answer is worth telling.
    message = cause->what();
  } else if (message.find(strerror(cause->system_error)) == std::string::npos) {
    message += std::string("\n") + cause->what();
  }
}

// Ends what goes on to the end, whatever the command came to: an error here is one more.
void finish(Context& context) {
  // Also of a command that failed: it may tell why.
  if (context.recorder) std::exchange(context.recorder, nullptr)->finish();
  if (context.access_log) std::exchange(context.access_log, nullptr)->finish();
  finish_library_text();
  finish_output();
}

// Tells an error: on standard error for people and, with --json, in the document for programs.
Exit tell(const zvg::Error& error, const std::string& command) {
  const bool usage = error.kind() == zvg::ErrorKind::bad_argument;
  std::string message = error.what();
  if (!usage) add_cause(message);
  put_error_into_json(error, message);
  print_error(message + (usage ? "\nTry '" + command + " --help'." : advice(error)));
  return usage ? Exit::usage : Exit::failed;
}

// What documents are called after: "zvgctl reg read" prints "reg-read".
std::string document_name(const std::string& command) {
  std::string name = command.substr(command.find(' ') + 1);
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

// Whether the command is there to see what the hardware gives, whatever it is.
bool shows_what_it_reads(const CLI::App& application) {
  constexpr const char* families[] = {"reg", "crtc", "amba", "vram", "script"};
  const std::string family = application.get_subcommands().front()->get_name();
  return std::find(std::begin(families), std::end(families), family) != std::end(families);
}

// By the last word of its name. A wrong guess costs the board one read more.
bool changes_nothing(const std::string& command) {
  constexpr const char* words[] = {"info",   "read", "dump",    "status", "list",    "get",
                                   "scan",   "show", "summary", "sample", "watch",   "top",
                                   "verify", "eye",  "edid",    "query",  "snapshot"};
  const std::string word = command.substr(command.rfind(' ') + 1);
  return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

// Runs what the command line says. Throws whatever it ends by.
//
// words: as they were given; settled: with the values that options may have.
void carry_out(CLI::App& application, Context& context, const std::vector<std::string>& words,
               const std::vector<std::string>& settled) {
  try {
    // CLI11 takes its words from the back.
    application.parse(std::vector<std::string>(settled.rbegin(), settled.rend()));
  } catch (const CLI::Success& request) {  // --help or --version
    application.exit(request);
    return;
  } catch (const CLI::ParseError& error) {
    throw Failure(Exit::usage, explain(application, error, words));
  }
  if (context.csv && context.json) throw Failure(Exit::usage, "give only one of --csv and --json");
  begin_output(context.json, document_name(named_command(application)));
  begin_tables(context.csv);
  catch_interrupts();
  // Before anything is read, asked or written: all of that happens once, in the other process.
  if (!context.connection.sim.empty() && !on_virtual_board()) {
    run_on_virtual_board(context.connection.sim, context.arguments_without_sim);
  }
  context.shows_dead = shows_what_it_reads(application);
  context.only_reads = changes_nothing(named_command(application));
  record(context);
  context.action();
  if (const auto failure = untold_failure()) throw *failure;
  if (const auto dead = found_dead_board()) throw *dead;
}

}  // namespace

std::vector<std::string> command_names() {
  CLI::App application;
  Context context;
  build(application, context);
  std::vector<std::string> names;
  collect_names(application, "", names);
  return names;
}

int run(const std::vector<std::string>& words) {
  CLI::App application{"Reach a graphics board's registers, memory and monitors.", "zvgctl"};
  Context context;
  build(application, context);

  const Arguments arguments = settle_optional_values(words, is_board);
  context.arguments_without_sim = arguments.without_sim;
  if (arguments.words.empty()) {
    fprintf(stderr, "%s", application.help().c_str());
    return static_cast<int>(Exit::usage);
  }
  // For a command line that is not understood.
  const bool json = std::find(words.begin(), words.end(), "--json") != words.end();
  begin_output(json, "error");
  const zvg::seam::Redirection library_text(print_library_text);  // also where no board is open
  Exit exit = Exit::done;
  const auto attempt = [&](const std::function<void()>& part) {
    try {
      part();
    } catch (const zvg::Error& error) {
      exit = std::max(exit, tell(error, named_command(application)));
    } catch (const std::exception& error) {
      const zvg::Error internal(ErrorKind::internal,
                                std::string("internal error: ") + error.what());
      exit = std::max(exit, tell(internal, named_command(application)));
    }
  };
  attempt([&] { carry_out(application, context, words, arguments.words); });
  attempt([&] { finish(context); });
  end_as_interrupted();
  return static_cast<int>(exit);
}

}  // namespace zvgctl
