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
  zvgsim check my-board.toml                       before you use it

Exit status: 0 done, 1 failed, 2 wrong usage; run ends with the program's own.)";

constexpr char run_footer[] =
    R"(The program finds "/dev/zvgrw" (the driver), "/dev/mem" (the apertures) and "/dev/ttyZVG0" (the
debug UART) as if the board were there. Every process gets a board of its own, fresh at its start.
Everything after -- is the program and its arguments.)";

constexpr char serve_footer[] =
    R"(Prints the path of the serial device as its first line, then answers until it is interrupted or
the time is over. The board starts at the rate its file says, 9600 baud as a rule.)";

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
