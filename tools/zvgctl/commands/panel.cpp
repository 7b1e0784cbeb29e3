// zvgctl panel and vga: the embedded panel's backlight and self-test, and the DAC's gains.
#include <stdio.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/display/dp_channel.h"
#include "service/number.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

// What of the library's panel functions can be checked before the board is touched.
constexpr uint64_t lowest_rate = 20;
constexpr uint64_t highest_rate = 10000;
constexpr uint64_t highest_percent = 100;
constexpr uint64_t highest_gain = 63;

// CRTC indices. The library does not look at failed accesses: a read tells whether there is a
// board.
constexpr uint32_t period_middle = 0xC1;
constexpr std::array<uint32_t, 3> gain_indices = {0x8C, 0x8D, 0x8E};
constexpr const char* gain_names[] = {"red", "green", "blue"};

uint8_t read_index(uint32_t index) {
  uint8_t value = 0;
  const int result = zvgCrtcReadByte(index, &value);
  if (result != 0) fail("cannot read CRTC index %s", hex(index, 2).c_str());
  return value;
}

struct Arguments {
  std::string value;
  std::string port = "3";
  bool start = false;
};

void backlight_command(const Context& context, const Arguments& arguments) {
  const auto percent =
      static_cast<uint32_t>(parse_number("PERCENT", arguments.value, highest_percent));
  Connection connection(context);
  read_index(period_middle);
  if (zvgEdpLightSet(percent) != 0) fail("the backlight was not set");
  printf("backlight: %u %%\n", percent);
}

void pwm_command(const Context& context, const Arguments& arguments) {
  const auto rate = parse_number("HZ", arguments.value, highest_rate);
  if (rate < lowest_rate) usage_error("HZ: expected a number from 20 to 10000");
  Connection connection(context);
  read_index(period_middle);
  if (zvgEdpPwmSet(static_cast<int>(rate)) != 0) fail("the PWM's rate was not set");
  if (arguments.start && zvgEdpEnablePwm() != 0) fail("the PWM was not started");
  printf("PWM: %u Hz%s\n", static_cast<unsigned>(rate), arguments.start ? ", running" : "");
}

void self_test_command(const Context& context, const Arguments& arguments) {
  const auto port = static_cast<uint32_t>(parse_number("--dp", arguments.port, last_dp));
  if (arguments.value != "on" && arguments.value != "off") {
    usage_error("STATE: expected on or off, found '%s'", arguments.value.c_str());
  }
  Connection connection(context, dp_deadline);
  if (connection.door() != Door::driver) {
    usage_error("panel self-test: the driver makes the transfers; use --driver");
  }
  int result;
  {
    const QuietStdout quiet;  // its texts would follow each other on one line
    result = zvgEdpSelfTestSet(port, arguments.value == "on" ? 1 : 0);
  }
  if (result == -1) fail("DP %u: the panel has no self-test", port);
  if (result != 0) fail("DP %u: the driver cannot reach the panel's registers", port);
  printf("DP %u: the panel's self-test is %s\n", port, arguments.value.c_str());
}

CLI::App* add_command(CLI::App& family, Context& context, const char* name, const char* description,
                      const char* argument, const char* range,
                      const std::shared_ptr<Arguments>& arguments,
                      void (*run)(const Context&, const Arguments&)) {
  CLI::App* const command = family.add_subcommand(name, description);
  command->add_option(argument, arguments->value, range)->required();
  command->footer(format("Example:\n  zvgctl panel %s %s", name,
                         std::string(name) == "self-test" ? "on" : "80"));
  command->callback([&context, arguments, run] {
    context.action = [&context, arguments, run] { run(context, *arguments); };
  });
  return command;
}

struct Gains {
  std::array<std::string, 3> values;
};

void gain_command(const Context& context, const Gains& gains) {
  std::array<std::optional<uint32_t>, 3> wanted;
  for (size_t i = 0; i < wanted.size(); ++i) {
    if (gains.values[i].empty()) continue;
    wanted[i] = static_cast<uint32_t>(
        parse_number("--" + std::string(gain_names[i]), gains.values[i], highest_gain));
  }
  Connection connection(context);
  std::array<uint8_t, 3> before;
  for (size_t i = 0; i < before.size(); ++i) before[i] = read_index(gain_indices[i]);
  constexpr char letters[] = {'R', 'G', 'B'};
  for (size_t i = 0; i < wanted.size(); ++i) {
    if (wanted[i]) zvgVgaSetSigleGain(letters[i], *wanted[i]);
  }
  Json document;
  Table table({"colour", "gain"});
  for (size_t i = 0; i < before.size(); ++i) {
    const uint8_t now = wanted[i] ? read_index(gain_indices[i]) : before[i];
    document[gain_names[i]] = now;
    table.row({gain_names[i], std::to_string(now)});
  }
  if (context.json) {
    print_json(document);
  } else {
    table.print();
  }
}

}  // namespace

void add_panel(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "panel", "The embedded panel: backlight, self-test",
                                "Examples:\n"
                                "  zvgctl panel pwm 1000 --start\n"
                                "  zvgctl panel backlight 80");
  auto arguments = std::make_shared<Arguments>();
  add_command(family, context, "backlight", "Set the backlight's brightness", "PERCENT",
              "0 to 100 per cent of the PWM's period", arguments, backlight_command);
  CLI::App* const pwm = add_command(family, context, "pwm", "Set the rate of the backlight's PWM",
                                    "HZ", "20 to 10000", arguments, pwm_command);
  pwm->add_flag("--start", arguments->start, "Start it as well");
  CLI::App* const self_test =
      add_command(family, context, "self-test", "Switch the panel's self-test on or off", "STATE",
                  "on or off", arguments, self_test_command);
  self_test->add_option("--dp", arguments->port, "DisplayPort transmitter (default 3)")
      ->type_name("N");
}

void add_vga(CLI::App& application, Context& context) {
  CLI::App& family =
      add_family(application, "vga", "The VGA DAC", "Example:\n  zvgctl vga gain --red 40");
  auto gains = std::make_shared<Gains>();
  CLI::App* const gain = family.add_subcommand("gain", "Set gains, and show all three");
  add_csv_option(*gain, context);
  for (size_t i = 0; i < gains->values.size(); ++i) {
    gain->add_option("--" + std::string(gain_names[i]), gains->values[i], "0 to 63")
        ->type_name("N");
  }
  gain->footer(
      "Examples:\n"
      "  zvgctl vga gain\n"
      "  zvgctl vga gain --red 40 --green 40 --blue 40");
  gain->callback(
      [&context, gains] { context.action = [&context, gains] { gain_command(context, *gains); }; });
}

}  // namespace zvgctl
