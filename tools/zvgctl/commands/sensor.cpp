// zvgctl sensor: temperatures, voltages and process codes on the die. zvgctl fan: the fan.
#include <errno.h>
#include <stdio.h>
#include <unistd.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/number.h"
#include "service/power/sensors.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/help.h"
#include "zvgctl/sampling.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

void need_generation(const Context& context) {
  require_generation(parse_connection(context.connection), "the sensor block");
}

struct WatchArguments {
  std::string interval = "1";
  std::string count = "0";
};

void print_csv_header() {
  puts("time,celsius0,celsius1,volts0,volts1");
}

void print_csv(const std::string& time, const DieReadings& r) {
  printf("%s,%.2f,%.2f,%.4f,%.4f\n", time.c_str(), r.celsius[0], r.celsius[1], r.volts[0],
         r.volts[1]);
}

void print_readings(const DieReadings& readings) {
  Table table({"SENSOR", "CELSIUS", " VOLTS"});
  for (uint32_t i = 0; i < die_sensors; ++i) {
    table.row({std::to_string(i), format("%7.2f", readings.celsius[i]),
               format("%6.4f", readings.volts[i])});
  }
  table.print();
}

void read_command(const Context& context, bool process) {
  need_generation(context);
  const Connection connection(context);
  const DieReadings readings = read_die();
  Json document = {{"sensors", to_json(readings)}};
  if (!context.json) print_readings(readings);
  if (process) {
    Table table({"TYPE", "SENSOR", "CODE"});
    document["process"] = Json::array();
    const uint32_t sensors = get_device_id() == ZVG_DEVICE_RQ302 ? 1 : die_sensors;
    for (uint32_t type = ZVG_PVT_PROCESS; type < ZVG_PVT_PROCESS + 3; ++type) {
      for (uint32_t sensor = 0; sensor < sensors; ++sensor) {
        const StdoutOnStderr remarks;
        uint32_t code = 0;
        zvg::expect_sensor_read(zvgSensorProcess(type, sensor, &code), "process code", sensor);
        table.row({std::to_string(type), std::to_string(sensor), std::to_string(code)});
        document["process"].push_back({{"type", type}, {"sensor", sensor}, {"code", code}});
      }
    }
    if (!context.json) {
      if (!context.csv) putchar('\n');
      table.print();
    }
  }
  if (context.json) print_json(document);
}

void watch_command(const Context& context, const WatchArguments& arguments) {
  const double interval = parse_interval(arguments.interval);
  const uint64_t count = parse_number("--count", arguments.count);
  need_generation(context);
  const Connection connection(context);
  const bool terminal = isatty(STDOUT_FILENO) != 0;
  if (context.csv) print_csv_header();
  repeat(interval, count, [&](uint64_t i) {
    const DieReadings readings = read_die();
    const std::string time = timestamp();
    if (context.json) {
      print_json_line({{"time", time}, {"sensors", to_json(readings)}});
    } else if (context.csv) {
      print_csv(time, readings);
    } else {
      // On a terminal each table takes the place of the one before.
      if (i != 0) fputs(terminal ? format("\033[%uA", die_sensors + 2).c_str() : "\n", stdout);
      printf("%s\n", time.c_str());
      print_readings(readings);
    }
  });
}

// The fan

void check_fan_door(const Context& context) {
  if (parse_connection(context.connection).door == Door::memory) {
    usage_error("the fan is reached through the driver or the serial line, not with --mem");
  }
}

void fan_command(const Context& context, int percent) {
  check_fan_door(context);
  const Connection connection(context);
  if (percent < 0 && connection.door() != Door::driver) {
    usage_error("automatic control of the fan is the driver's: there is none over a serial line");
  }
  const StdoutOnStderr remarks;
  // The library says why, and has spent the error number on that.
  if (zvgFanSetRate(percent) != 0) fail("the fan's control was not changed");
}

void test_temperature_command(const Context& context, const std::string& text) {
  const auto celsius = static_cast<uint32_t>(parse_number("TEMPERATURE", text, UINT32_MAX));
  if (parse_connection(context.connection).door != Door::driver) {
    usage_error("TEMPERATURE: only the driver takes one; use --driver");
  }
  const Connection connection(context);
  const StdoutOnStderr remarks;
  if (zvgThermalDebug(celsius) != 0) {
    fail("the driver does not take the temperature: %s", reason(-1, errno).c_str());
  }
}

}  // namespace

void add_sensor(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "sensor", "Temperatures and voltages on the die",
                                "Examples:\n"
                                "  zvgctl --sim sensor read\n"
                                "  zvgctl sensor watch --csv --interval 5 > die.csv");
  CLI::App* const read = family.add_subcommand("read", "Read the sensors once");
  auto process = std::make_shared<bool>(false);
  add_csv_option(*read, context);
  read->add_flag("--process", *process, "Also the process codes, types 2 to 4");
  read->footer(
      "Past the driver, every change of type or sensor takes a conversion of 1.1 s.\n"
      "Examples:\n"
      "  zvgctl sensor read --process\n"
      "  zvgctl sensor read --json --serial /dev/ttyUSB0 --generation rq302");
  read->callback([&context, process] {
    context.action = [&context, process] { read_command(context, *process); };
  });

  CLI::App* const watch = family.add_subcommand("watch", "Read again and again, until Ctrl-C");
  auto arguments = std::make_shared<WatchArguments>();
  add_csv_option(*watch, context);
  watch->add_option("-i,--interval", arguments->interval, "Seconds between two readings [1]")
      ->type_name("SECONDS");
  watch->add_option("-n,--count", arguments->count, "Stop after so many; 0: never [0]")
      ->type_name("N");
  add_hidden_alias(*watch, "-c", arguments->count);
  watch->footer(
      "With --json, each reading is a document on a line of its own.\n"
      "Examples:\n"
      "  zvgctl --sim busy sensor watch --count 3\n"
      "  zvgctl sensor watch --interval 0.5 --json");
  watch->callback([&context, arguments] {
    context.action = [&context, arguments] { watch_command(context, *arguments); };
  });
}

void add_fan(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "fan", "The board's fan",
                                "Examples:\n"
                                "  zvgctl fan set 60\n"
                                "  zvgctl fan auto");
  CLI::App* const set = family.add_subcommand("set", "Drive the fan at a rate of its own");
  auto percent = std::make_shared<std::string>();
  set->add_option("PERCENT", *percent, "0 to 100")->required()->type_name("");
  set->footer(
      "Over a serial line, 0 still turns the fan, at one per cent.\n"
      "Examples:\n"
      "  zvgctl fan set 60\n"
      "  zvgctl fan set 100 --serial /dev/ttyUSB0");
  set->callback([&context, percent] {
    context.action = [&context, percent] {
      fan_command(context, static_cast<int>(parse_number("PERCENT", *percent, 100)));
    };
  });
  CLI::App* const automatic = family.add_subcommand("auto", "Let the driver control the fan again");
  automatic->footer("Examples:\n  zvgctl fan auto");
  automatic->callback([&context] { context.action = [&context] { fan_command(context, -1); }; });
  CLI::App* const test = family.add_subcommand(
      "test-temperature", "Have the driver's thermal control see a temperature");
  auto temperature = std::make_shared<std::string>();
  test->add_option("TEMPERATURE", *temperature, "In the driver's unit")->required()->type_name("");
  test->footer("Examples:\n  zvgctl fan test-temperature 85");
  test->callback([&context, temperature] {
    context.action = [&context, temperature] { test_temperature_command(context, *temperature); };
  });
}

}  // namespace zvgctl
