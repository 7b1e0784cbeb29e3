// zvgctl query: the driver's report, item by item. zvgctl power-state: the driver's power state.
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "service/number.h"
#include "service/station/board_sample.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

void need_driver(const Context& context, const char* what) {
  if (parse_connection(context.connection).door == Door::driver) return;
  usage_error("%s the driver's: use --driver", what);
}

// "Query AXI Frequency: 600" as {"item": "AXI Frequency", "value": "600"}.
Json line_json(const std::string& line) {
  constexpr char prefix[] = "Query ";
  constexpr char wide_colon[] = "\uFF1A";
  std::string text = line.starts_with(prefix) ? line.substr(strlen(prefix)) : line;
  for (const char* const colon : {wide_colon, ": "}) {
    const size_t at = text.find(colon);
    if (at == std::string::npos) continue;
    return {{"item", text.substr(0, at)}, {"value", text.substr(at + strlen(colon))}};
  }
  return {{"item", text}, {"value", nullptr}};
}

// Which engines there are differs by chip; the report says -1 of the others.
void expect_engine(unsigned engine) {
  if (engine_load(engine)) return;
  fail("the driver knows no engine %u: 'query LOAD' shows those that there are", engine);
}

void query_command(const Context& context, const std::string& keyword,
                   const std::string& engine_text) {
  std::string engine;  // in decimal, as the library takes it
  if (!engine_text.empty()) {
    if (!keyword.starts_with("LOAD")) usage_error("ENGINE: only LOAD takes an engine's number");
    constexpr unsigned last_engine = 255;
    engine = std::to_string(parse_number("ENGINE", engine_text, last_engine));
  }
  need_driver(context, "the report is");
  const Connection connection(context);
  if (!engine.empty()) expect_engine(static_cast<unsigned>(std::stoul(engine)));
  // The library goes on where the words of the command line were last split.
  std::string words = "query " + keyword + " " + engine;
  strtok(words.data(), " ");
  if (!keyword.empty()) strtok(nullptr, " ");
  char report[ZVG_QUERY_INFO_SIZE] = {};
  const bool found = zvgQueryInfo(keyword.c_str(), report) == 0;
  if (!found && !keyword.starts_with("LOAD")) {
    fail(
        "nothing is called '%s'; known are ID, AXI, VPU, 3D, 2D, DDR, 3DCORE, 2DCORE, GOP, CARD, "
        "CHANNEL, VRAM, BANDWIDTH, LOAD and FIRMWARE, in capitals",
        keyword.c_str());
  }
  if (!found) fail("the driver knows no engine");
  if (!context.json) {
    fputs(zvg::printable(report).c_str(), stdout);
    return;
  }
  Json document = Json::array();
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);) document.push_back(line_json(line));
  print_json("items", document);
}

// power-state

constexpr uint32_t power_states = 3;

uint32_t parse_power_state(const std::string& text) {
  for (uint32_t state = 0; state < power_states; ++state) {
    if (strcasecmp(text.c_str(), zvgPowerStateName(state)) == 0) return state;
  }
  if (!text.empty() && text.find_first_not_of("0123456789") == std::string::npos) {
    return static_cast<uint32_t>(parse_number("STATE", text, power_states - 1));
  }
  usage_error("STATE: expected performance, save or standby, or 0 to 2, found '%s'", text.c_str());
}

void get_state_command(const Context& context) {
  need_driver(context, "the power state is");
  const Connection connection(context);
  uint32_t state = 0;
  const int result = zvgPowerGetState(&state);
  if (result != 0) fail("cannot get the power state: %s", reason(result, errno).c_str());
  if (context.json) {
    print_json({{"state", state}, {"name", zvgPowerStateName(state)}});
  } else {
    printf("%u (%s)\n", state, zvgPowerStateName(state));
  }
}

void set_state_command(const Context& context, const std::string& text) {
  const uint32_t state = parse_power_state(text);
  need_driver(context, "the power state is");
  const Connection connection(context);
  const int result = zvgPowerSetState(state);
  if (result != 0) fail("cannot set the power state: %s", reason(result, errno).c_str());
}

}  // namespace

void add_query(CLI::App& application, Context& context) {
  CLI::App* const command =
      application.add_subcommand("query", "Print the driver's report, or the items of a keyword");
  auto keyword = std::make_shared<std::string>();
  auto engine = std::make_shared<std::string>();
  command->add_option("KEYWORD", *keyword, "The beginning of an item's word; none: everything")
      ->type_name("");
  command->add_option("ENGINE", *engine, "With LOAD: the one engine to show")->type_name("");
  command->footer(
      "Words are ID, AXI, VPU, 3D, 2D, DDR, 3DCORE, 2DCORE, GOP, CARD, CHANNEL, VRAM, BANDWIDTH,\n"
      "LOAD and FIRMWARE; any beginning of one will do, but for 3DCORE, 2DCORE and LOAD.\n"
      "Examples:\n"
      "  zvgctl --sim query\n"
      "  zvgctl query LOAD 0\n"
      "  zvgctl query C --json");
  command->callback([&context, keyword, engine] {
    context.action = [&context, keyword, engine] { query_command(context, *keyword, *engine); };
  });
}

void add_power_state(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "power-state", "The driver's power state",
                                "Examples:\n"
                                "  zvgctl --sim power-state get\n"
                                "  zvgctl power-state set save");
  CLI::App* const get = family.add_subcommand("get", "Show the power state");
  get->footer("Examples:\n  zvgctl power-state get --json");
  get->callback([&context] { context.action = [&context] { get_state_command(context); }; });
  CLI::App* const set = family.add_subcommand("set", "Change the power state");
  auto state = std::make_shared<std::string>();
  set->add_option("STATE", *state, "performance, save or standby, or 0 to 2")
      ->required()
      ->type_name("");
  set->footer("Examples:\n  zvgctl power-state set performance");
  set->callback([&context, state] {
    context.action = [&context, state] { set_state_command(context, *state); };
  });
}

}  // namespace zvgctl
