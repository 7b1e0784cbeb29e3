// zvgsim: a virtual board behind the doors of a real one.
#include <stdio.h>

#include <CLI/CLI.hpp>
#include <exception>

#include "zvgsim/commands.h"
#include "zvgsim/layout.h"

namespace zvgsim {

namespace {

constexpr char footer[] = R"(Examples:
  zvgsim run -- zvgctl edid read --hdmi 0          a monitor's EDID, without any hardware
  zvgsim run --board rq301 --trace log -- ./test   every access of a program, in order
  zvgsim serve --uart --link /tmp/board            then: zvgctl --serial /tmp/board ...
  sudo zvgsim cuse                                 a real /dev/zvgrw, for every program
  zvgsim check my-board.toml                       before you use it

Exit status: 0 done, 1 failed, 2 wrong usage; run ends with the program's own.)";

constexpr char run_footer[] =
    R"(The program finds "/dev/zvgrw" (the driver), "/dev/mem" (the apertures) and "/dev/ttyZVG0" (the
debug UART) as if the board were there. Every process gets a board of its own, fresh at its start.
Everything after -- is the program and its arguments.)";

constexpr char serve_footer[] =
    R"(Prints the path of the serial device as its first line, then answers until it is interrupted or
the time is over. The board starts at the rate its file says, 9600 baud as a rule.)";

constexpr char cuse_footer[] =
    R"(Makes a true character device of the driver's node, through the kernel's CUSE, and prints its path
as its first line. Any number of programs may have it open, all on one board; nothing is preloaded
into them. It is gone when zvgsim ends: Ctrl-C.

Examples:
  sudo modprobe cuse                       once, where there is no /dev/cuse
  sudo zvgsim cuse --mode 0666             then, elsewhere: zvgctl edid read --hdmi 0
  sudo zvgsim cuse --board rq301 --trace log
  sudo zvgsim cuse --name zvgrw-test       beside a real card's node)";

// As chmod takes it.
std::string check_mode(const std::string& text) {
  const bool octal = text.size() >= 3 && text.size() <= 4 && (text.size() == 3 || text[0] == '0') &&
                     text.find_first_not_of("01234567") == std::string::npos;
  return octal ? std::string() : "expected three octal digits, such as 0666, not '" + text + "'";
}

// A name that is one entry of /dev.
std::string check_device_name(const std::string& text) {
  const bool plain = !text.empty() && text.size() <= 64 && text[0] != '.' &&
                     text.find_first_not_of(
                         "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                         "0123456789_-.") == std::string::npos;
  return plain ? std::string() : "'" + text + "' is no name for a device in /dev";
}

int main(int argc, char** argv) {
  CLI::App app{
      "A virtual board: behavioural models of the card's devices behind the same doors as "
      "a real one."};
  app.set_version_flag("--version", "zvgsim " ZVGSIM_VERSION);
  app.require_subcommand(1);
  app.footer(footer);
  app.get_formatter()->column_width(32);

  const std::string board_help = "a board file, or a ready board's name (see zvgsim boards)";
  int status = exit_done;

  RunOptions run_options;
  run_options.board = default_board;
  CLI::App* const run_command = app.add_subcommand("run", "run a program on a virtual board");
  run_command->add_option("--board", run_options.board, board_help)
      ->type_name("FILE|NAME")
      ->capture_default_str();
  run_command->add_flag("--virtual-time", run_options.virtual_time,
                        "the program's sleeps cost nothing: the board's clock jumps");
  run_command->add_option("--trace", run_options.trace, "write every access to a file, one a line")
      ->type_name("FILE");
  run_command->add_option("program", run_options.program, "the program and its arguments, after --")
      ->required()
      ->type_name("PROGRAM ARGS...");
  run_command->positionals_at_end();
  run_command->footer(run_footer);
  run_command->callback([&] { status = run(run_options); });

  ServeOptions serve_options;
  serve_options.board = default_board;
  bool uart = false;
  CLI::App* const serve_command =
      app.add_subcommand("serve", "offer a board's debug UART on a pseudo-terminal");
  serve_command->add_flag("--uart", uart, "the debug UART")->required();
  serve_command->add_option("--board", serve_options.board, board_help)
      ->type_name("FILE|NAME")
      ->capture_default_str();
  serve_command->add_option("--seconds", serve_options.seconds, "end after this time")
      ->type_name("N")
      ->check(CLI::Range(0.0, 1e9));
  serve_command
      ->add_option("--link", serve_options.link,
                   "a symbolic link to the device, while it is served")
      ->type_name("PATH");
  serve_command->footer(serve_footer);
  serve_command->callback([&] { status = serve(serve_options); });

  CuseOptions cuse_options;
  cuse_options.board = default_board;
  std::string mode;
  CLI::App* const cuse_command =
      app.add_subcommand("cuse", "make a real /dev/zvgrw, with a virtual board behind it");
  cuse_command->add_option("--board", cuse_options.board, board_help)
      ->type_name("FILE|NAME")
      ->capture_default_str();
  cuse_command->add_option("--name", cuse_options.name, "of the device in /dev")
      ->type_name("NAME")
      ->check(check_device_name)
      ->capture_default_str();
  cuse_command
      ->add_option("--mode", mode, "who may open it, as for chmod; otherwise the host decides")
      ->type_name("OCTAL")
      ->check(check_mode);
  cuse_command
      ->add_option("--trace", cuse_options.trace, "write every access to a file, one a line")
      ->type_name("FILE");
  cuse_command->footer(cuse_footer);
  cuse_command->callback([&] {
    if (!mode.empty()) cuse_options.mode = static_cast<unsigned>(std::stoul(mode, nullptr, 8));
    status = cuse(cuse_options);
  });

  bool json = false;
  CLI::App* const boards_command = app.add_subcommand("boards", "list the ready boards");
  boards_command->add_flag("--json", json, "as JSON");
  boards_command->callback([&] { status = list_boards(json); });

  std::string file;
  CLI::App* const check_command = app.add_subcommand("check", "check a board file");
  check_command->add_option("file", file, "the board file")->required()->type_name("FILE");
  check_command->callback([&] { status = check(file); });

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? exit_done : exit_usage;
  } catch (const std::exception& error) {
    fprintf(stderr, "zvgsim: %s\n", error.what());
    return exit_failed;
  }
  return status;
}

}  // namespace

}  // namespace zvgsim

int main(int argc, char** argv) {
  return zvgsim::main(argc, argv);
}
