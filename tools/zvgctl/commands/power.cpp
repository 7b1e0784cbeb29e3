// zvgctl power: the board's rails, as its power-monitor chips measure them.
#include <stdio.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/number.h"
#include "service/power/power_chips.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/help.h"
#include "zvgctl/sampling.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/virtual_board.h"

namespace zvgctl {

namespace {

// A chip that hangs is given up after 10 s, one that is not there after 3.3 s.
constexpr unsigned power_deadline = 90;

struct PowerArguments {
  std::vector<std::string> chips;
  std::string board;
  std::string interval = "1";
  std::string count = "0";
};

// What to measure: the command line's chips, or a board file's; on a virtual board, its own file's.
std::vector<PowerMonitor> chosen_monitors(const PowerArguments& arguments) {
  std::vector<PowerMonitor> monitors;
  for (const std::string& chip : arguments.chips) monitors.push_back(parse_power_monitor(chip));
  std::string board = arguments.board;
  if (board.empty() && monitors.empty() && on_virtual_board()) board = virtual_board_file();
  if (!board.empty()) {
    for (PowerMonitor& monitor : load_power_monitors(board)) monitors.push_back(std::move(monitor));
  }
  if (monitors.empty()) {
    usage_error(
        "name the power monitors: --board FILE, or --chip CHIP:BUS:ADDRESS[:MILLIOHMS,...] "
        "(zvgctl i2c scan shows the addresses in use)");
  }
  return monitors;
}

std::vector<Rail> measure_all(const std::vector<PowerMonitor>& monitors) {
  // The library's remarks on results that are not fresh are no part of the table.
  const StdoutOnStderr remarks;
  std::vector<Rail> rails;
  for (const PowerMonitor& monitor : monitors) {
    for (Rail& rail : measure(monitor)) rails.push_back(std::move(rail));
  }
  return rails;
}

// A cell of the table: right-aligned, "-" where nothing was measured.
std::string cell(const std::optional<double>& value, int decimals) {
  return value ? format("%8.*f", decimals, *value) : format("%8s", "-");
}

void print_table(const std::vector<Rail>& rails) {
  Table table({"CHIP", "RAIL", "   VOLTS", " AMPERES", "   WATTS"});
  for (const Rail& rail : rails) {
    table.row(
        {rail.chip, rail.name, cell(rail.volts, 4), cell(rail.amperes, 3), cell(rail.watts(), 3)});
  }
  table.print();
}

void print_csv_header() {
  puts("time,chip,rail,volts,amperes,watts");
}

void print_csv(const std::string& time, const std::vector<Rail>& rails) {
  const auto number = [](const std::optional<double>& value) {
    return value ? format("%.6g", *value) : std::string();
  };
  for (const Rail& rail : rails) {
    printf("%s,%s,%s,%s,%s,%s\n", time.c_str(), csv_field(rail.chip).c_str(),
           csv_field(rail.name).c_str(), number(rail.volts).c_str(), number(rail.amperes).c_str(),
           number(rail.watts()).c_str());
  }
}

Json json_of(const std::string& time, const std::vector<Rail>& rails) {
  Json list = Json::array();
  for (const Rail& rail : rails) list.push_back(to_json(rail));
  return {{"time", time}, {"rails", list}};
}

void read_command(const Context& context, const PowerArguments& arguments) {
  const Connection connection(context, power_deadline);
  const std::vector<PowerMonitor> monitors = chosen_monitors(arguments);
  const std::vector<Rail> rails = measure_all(monitors);
  if (context.json) {
    print_json(json_of(timestamp(), rails));
  } else if (context.csv) {
    print_csv_header();
    print_csv(timestamp(), rails);
  } else {
    print_table(rails);
  }
}

void watch_command(const Context& context, const PowerArguments& arguments) {
  const double interval = parse_interval(arguments.interval);
  const uint64_t count = parse_number("--count", arguments.count);
  const Connection connection(context);
  const std::vector<PowerMonitor> monitors = chosen_monitors(arguments);
  const bool terminal = isatty(STDOUT_FILENO) != 0;
  if (context.csv) print_csv_header();
  repeat(interval, count, [&](uint64_t i) {
    const std::vector<Rail> rails = measure_all(monitors);
    const std::string time = timestamp();
    if (context.json) {
      print_json_line(json_of(time, rails));
    } else if (context.csv) {
      print_csv(time, rails);
    } else {
      // On a terminal each table takes the place of the one before.
      if (i != 0) fputs(terminal ? format("\033[%zuA", rails.size() + 2).c_str() : "\n", stdout);
      printf("%s\n", time.c_str());
      print_table(rails);
    }
  });
}

std::shared_ptr<PowerArguments> add_options(CLI::App& command, Context& context) {
  auto arguments = std::make_shared<PowerArguments>();
  command
      .add_option("--chip", arguments->chips,
                  "A power monitor: ltc2990, ltc2991 or ina3221, I2C bus, address, and the sense\n"
                  "resistors across its pairs of inputs, in milliohms (0: none)")
      ->type_name("CHIP:BUS:ADDRESS[:MILLIOHMS,...]");
  command
      .add_option("--board", arguments->board, "Measure the [[power_monitors]] of this board file")
      ->type_name("FILE");
  add_csv_option(command, context);
  return arguments;
}

}  // namespace

void add_power(CLI::App& application, Context& context) {
  CLI::App& family =
      add_family(application, "power", "Volts, amperes and watts of the board's rails",
                 "Examples:\n"
                 "  zvgctl power read --chip ltc2990:1:0x4c:5,5\n"
                 "  zvgctl power watch --board myboard.toml --interval 0.5");
  CLI::App* const read = family.add_subcommand("read", "Measure all rails once");
  auto read_arguments = add_options(*read, context);
  read->footer(
      "The volts of a rail with a sense resistor are those behind it. The INA3221 is read for its\n"
      "currents only.\n"
      "Examples:\n"
      "  zvgctl power read --chip ltc2990:1:0x4c:5,5 --chip ina3221:2:0x40:5,10\n"
      "  zvgctl --sim power read --json");
  read->callback([&context, read_arguments] {
    context.action = [&context, read_arguments] { read_command(context, *read_arguments); };
  });

  CLI::App* const watch = family.add_subcommand("watch", "Measure again and again, until Ctrl-C");
  auto watch_arguments = add_options(*watch, context);
  watch
      ->add_option("-i,--interval", watch_arguments->interval,
                   "Seconds between two measurements [1]")
      ->type_name("SECONDS");
  watch->add_option("-n,--count", watch_arguments->count, "Stop after so many; 0: never [0]")
      ->type_name("N");
  add_hidden_alias(*watch, "-c", watch_arguments->count);
  watch->footer(
      "With --json, each measurement is a document on a line of its own.\n"
      "Examples:\n"
      "  zvgctl power watch --board myboard.toml\n"
      "  zvgctl power watch --chip ltc2991:1:0x48:10 --csv --count 600 > rails.csv");
  watch->callback([&context, watch_arguments] {
    context.action = [&context, watch_arguments] { watch_command(context, *watch_arguments); };
  });
}

}  // namespace zvgctl
