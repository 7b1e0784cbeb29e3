// zvgctl clock: the chip's clocks and the PLLs that they come from.
#include <stdio.h>
#include <unistd.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/number.h"
#include "service/power/clock_block.h"
#include "service/power/pll_setting.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/prompt.h"

namespace zvgctl {

namespace {

constexpr unsigned widest_post_divider = 16;

void need_generation(const Context& context) {
  require_generation(parse_connection(context.connection), "the clock block");
}

// The frequency of a command line, in MHz.
double parse_mhz(const std::string& name, const std::string& text) {
  char* end = nullptr;
  const double mhz = strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !(mhz > 0) || mhz > 4000) {
    usage_error("%s: expected MHz above 0, up to 4000, found '%s'", name.c_str(), text.c_str());
  }
  return mhz;
}

void print_plan(const PllPlan& plan, double input_mhz) {
  const PllSetting& s = plan.setting;
  printf("word              %s\n", hex(s.word, 8).c_str());
  printf("N, M, OD, P       %u, %u, %u, %u\n", s.multiplier, s.input_divider, s.output_shift,
         s.post_divider);
  printf("phase comparator  %.3f MHz (loop band %u)\n", s.compare_mhz(input_mhz), s.band);
  printf("VCO               %.3f MHz\n", s.vco_mhz(input_mhz));
  printf("output            %.3f MHz, %+.0f kHz off %g MHz\n", plan.made_mhz, plan.error_khz(),
         plan.target_mhz);
}

// list

void list_command(const Context& context) {
  need_generation(context);
  Connection connection(context);
  const uint32_t locks = read_clock_register(connection, clock_lock);
  const uint32_t power = read_clock_register(connection, clock_control);
  Table clocks({"CLOCK", "MHz", "WHAT"});
  Json document = {{"clocks", Json::array()}, {"plls", Json::array()}};
  for (const ClockName& clock : clock_names) {
    const int mhz = zvg_rq300_get_freq(clock.number);
    clocks.row({clock.name, mhz_text(mhz), clock.description});
    document["clocks"].push_back({{"clock", clock.name}, {"mhz", mhz}});
  }
  Table plls({"PLL", "WORD", "N", "M", "OD", "P", "MHz", "LOCK", "POWER"});
  for (const PllName& pll : pll_names) {
    const PllSetting s(read_clock_register(connection, pll.offset));
    const bool locked = (locks & pll.lock_bit) != 0;
    const bool powered = (power & pll.power_down) == 0;
    const int mhz = calc_pllout(s.word, 0);
    const bool has_post = get_device_id() != ZVG_DEVICE_RQ302;  // whose bypass bit is there
    plls.row({pll.name, hex(s.word, 8), std::to_string(s.multiplier),
              std::to_string(s.input_divider), std::to_string(s.output_shift),
              has_post ? std::to_string(s.post_divider) : "-", std::to_string(mhz),
              pll.lock_bit == 0 ? "-"
              : locked          ? "locked"
                                : "no",
              powered ? "on" : "off"});
    document["plls"].push_back({{"pll", pll.name},
                                {"word", hex(s.word, 8)},
                                {"n", s.multiplier},
                                {"m", s.input_divider},
                                {"od", s.output_shift},
                                {"p", has_post ? Json(s.post_divider) : Json()},
                                {"mhz", mhz},
                                {"locked", pll.lock_bit == 0 ? Json() : Json(locked)},
                                {"powered", powered}});
  }
  if (context.json) {
    print_json(document);
    return;
  }
  clocks.print();
  if (!context.csv) putchar('\n');
  plls.print();
}

// get

void get_command(const Context& context, const std::string& name) {
  const ClockName& clock = parse_clock(name);
  need_generation(context);
  Connection connection(context);
  read_clock_register(connection, clock_control);  // the read-back takes failures for zeros
  const int mhz = zvg_rq300_get_freq(clock.number);
  if (context.json) {
    print_json({{"clock", clock.name}, {"mhz", mhz}});
  } else {
    printf("%s: %s\n", clock.name, mhz_text(mhz, " MHz").c_str());
  }
}

// plan and set

struct SetArguments {
  std::string clock;
  std::string mhz;
  std::string word;
  std::string input = "27";
  std::string max_post;
};

unsigned parse_max_post(const std::string& text) {
  const auto max_post =
      static_cast<unsigned>(parse_number("--max-post", text, widest_post_divider));
  if (max_post == 0) usage_error("--max-post: expected a number from 1 to 16");
  return max_post;
}

void plan_command(const Context& context, const SetArguments& arguments) {
  const double input = parse_mhz("--input", arguments.input);
  const double target = parse_mhz("--mhz", arguments.mhz);
  const PllPlan plan = plan_pll(
      input, arguments.max_post.empty() ? widest_post_divider : parse_max_post(arguments.max_post),
      target);
  if (context.json) {
    print_json(plan_json(plan, input));
  } else {
    print_plan(plan, input);
  }
}

std::array<uint32_t, pll_count> pll_words(Connection& connection) {
  std::array<uint32_t, pll_count> words;
  for (unsigned i = 0; i < pll_count; ++i) {
    words[i] = read_clock_register(connection, pll_names[i].offset);
  }
  return words;
}

// Waits for the PLLs that were changed, of which not every setter makes sure.
void expect_locked(Connection& connection, const std::array<uint32_t, pll_count>& before) {
  const auto after = pll_words(connection);
  for (unsigned i = 0; i < pll_count; ++i) {
    const PllName& pll = pll_names[i];
    if (before[i] == after[i] || pll.lock_bit == 0) continue;
    constexpr int tries = 100;
    bool locked = false;
    for (int n = 0; n < tries && !locked; ++n) {
      if (n != 0) usleep(1000);
      locked = (read_clock_register(connection, clock_lock) & pll.lock_bit) != 0;
    }
    if (!locked) fail("%s was written, but does not report a lock", pll.name);
  }
}

void set_command(const Context& context, const SetArguments& arguments) {
  const ClockName& clock = parse_clock(arguments.clock);
  if (clock.number == ZVG_CLOCK_DEVPLL_2 || clock.number == ZVG_CLOCK_FIFTH_PLL) {
    usage_error("CLOCK: the clock '%s' can only be read", clock.name);
  }
  const double target = arguments.mhz.empty() ? 0 : parse_mhz("--mhz", arguments.mhz);
  // The read-back knows no post-divider in the word, so that only those who ask get one.
  const unsigned max_post = arguments.max_post.empty() ? 1 : parse_max_post(arguments.max_post);
  need_generation(context);
  Connection connection(context);
  const bool rq302 = get_device_id() == ZVG_DEVICE_RQ302;
  if (rq302 && max_post != 1) {
    usage_error("--max-post: RQ302 does not use the word's post-divider");
  }
  const unsigned divider = post_divider_of(connection, clock.number);
  PllPlan plan = {PllSetting(0), 0, 0};
  if (arguments.word.empty()) {
    plan = plan_pll(board_reference_mhz, max_post, target * divider);
  } else {
    plan.setting =
        PllSetting(static_cast<uint32_t>(parse_number("--word", arguments.word, UINT32_MAX)));
    plan.made_mhz =
        plan.setting.output_mhz(board_reference_mhz) / (rq302 ? 1 : plan.setting.post_divider);
    plan.target_mhz = plan.made_mhz;
  }
  const int before = zvg_rq300_get_freq(clock.number);
  if (!context.json) {
    print_plan(plan, board_reference_mhz);
    if (divider != 1) {
      printf("%-17s %.3f MHz behind its post-divider of %u\n", clock.name, plan.made_mhz / divider,
             divider);
    }
    fflush(stdout);
  }
  confirm(format("set the %s clock from %s to %.3f MHz", clock.name,
                 mhz_text(before, " MHz").c_str(), plan.made_mhz / divider),
          context.yes);
  const auto words = pll_words(connection);
  {
    const QuietStdout no_remarks;
    zvg_rq300_set_clk_freq(clock.number, plan.setting.word);
  }
  expect_locked(connection, words);
  const int after = zvg_rq300_get_freq(clock.number);
  if (context.json) {
    print_json({{"clock", clock.name},
                {"before_mhz", before},
                {"after_mhz", after},
                {"post_divider", divider},
                {"pll", plan_json(plan, board_reference_mhz)}});
  } else {
    printf("%s: %s, was %s\n", clock.name, mhz_text(after, " MHz").c_str(),
           mhz_text(before, " MHz").c_str());
  }
}

// mode

void mode_command(const Context& context, const std::string& name, const std::string& mode_name) {
  constexpr const char* targets[] = {"devpll", "dev2pll", "gpupll", "gpu2pll", "3d", "2d"};
  constexpr struct {
    const char* name;
    int mode;
  } modes[] = {{"on", ZVG_CLOCK_POWER_ON}, {"bypass", ZVG_CLOCK_BYPASS}, {"off", ZVG_CLOCK_OFF}};
  int number = 0;
  for (int i = 0; i < 6; ++i) number = name == targets[i] ? i + 1 : number;
  if (number == 0) {
    usage_error(
        "PLL: there is no '%s' to switch; known are devpll, dev2pll, gpupll, gpu2pll, 3d, 2d",
        name.c_str());
  }
  const auto* mode = modes;
  while (mode != std::end(modes) && mode_name != mode->name) ++mode;
  if (mode == std::end(modes)) {
    usage_error("MODE: expected on, bypass or off, found '%s'", mode_name.c_str());
  }
  need_generation(context);
  Connection connection(context);
  read_clock_register(connection, clock_control);
  if (mode->mode == ZVG_CLOCK_OFF) {
    confirm("switch " + name + " off: what runs from it stops", context.yes);
  }
  int result = 0;
  {
    const QuietStdout no_remarks;
    result = zvg_rq300_set_clk_mode(mode->mode, number);
  }
  if (result < 0) fail("cannot switch %s %s", name.c_str(), mode->name);
  if (context.json) print_json({{"target", name}, {"mode", mode->name}});
}

CLI::Option* add_clock_argument(CLI::App& command, std::string& clock) {
  return command.add_option("CLOCK", clock, "axi, dev2, apb, pcie, vpu, 3d, shader, 2d or pll5")
      ->required()
      ->type_name("");
}

}  // namespace

void add_clock(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "clock", "The chip's clocks and PLLs",
                                "Examples:\n"
                                "  zvgctl --sim clock list\n"
                                "  zvgctl clock plan --mhz 900\n"
                                "  zvgctl clock set 3d --mhz 900");
  CLI::App* const list = family.add_subcommand("list", "Show all clocks and PLLs");
  add_csv_option(*list, context);
  list->footer(
      "MHz of a PLL are those before any post-divider.\n"
      "Examples:\n"
      "  zvgctl clock list\n"
      "  zvgctl clock list --json --serial /dev/ttyUSB0 --generation rq301");
  list->callback([&context] { context.action = [&context] { list_command(context); }; });

  CLI::App* const get = family.add_subcommand("get", "Show one clock");
  auto name = std::make_shared<std::string>();
  add_clock_argument(*get, *name);
  get->footer("Examples:\n  zvgctl clock get 3d\n  zvgctl clock get axi --json");
  get->callback(
      [&context, name] { context.action = [&context, name] { get_command(context, *name); }; });

  CLI::App* const set = family.add_subcommand("set", "Give a clock another frequency");
  auto setting = std::make_shared<SetArguments>();
  add_clock_argument(*set, setting->clock);
  auto* const group = set->add_option_group("Frequency");
  group->add_option("--mhz", setting->mhz, "The frequency; the nearest setting is searched")
      ->type_name("MHZ");
  group->add_option("--word", setting->word, "The PLL's configuration word itself")
      ->type_name("WORD");
  group->require_option(1);
  set->add_option("--max-post", setting->max_post,
                  "RQ301: the largest post-divider in the word, 1 to 16 [1]; a read-back does not\n"
                  "count it in")
      ->type_name("P");
  set->footer(
      "Shows the setting and its error, asks, writes, waits for the lock and reads back. axi and "
      "apb\n"
      "share devpll, pcie and vpu share dev2pll: setting one changes the other.\n"
      "Examples:\n"
      "  zvgctl clock set 3d --mhz 900\n"
      "  zvgctl clock set pcie --word 0x00ae0121 --yes");
  set->callback([&context, setting] {
    context.action = [&context, setting] { set_command(context, *setting); };
  });

  CLI::App* const plan = family.add_subcommand("plan", "Search a PLL setting; needs no board");
  auto planning = std::make_shared<SetArguments>();
  plan->add_option("--mhz", planning->mhz, "The frequency")->required()->type_name("MHZ");
  plan->add_option("--input", planning->input, "The reference, 7 to 600 [27]")->type_name("MHZ");
  plan->add_option("--max-post", planning->max_post, "The largest post-divider, 1 to 16 [16]")
      ->type_name("P");
  plan->footer(
      "Examples:\n"
      "  zvgctl clock plan --mhz 900\n"
      "  zvgctl clock plan --mhz 148.5 --max-post 1 --json");
  plan->callback([&context, planning] {
    context.action = [&context, planning] { plan_command(context, *planning); };
  });

  CLI::App* const mode = family.add_subcommand("mode", "Power a PLL or core clock on or off");
  auto target = std::make_shared<std::string>();
  auto state = std::make_shared<std::string>();
  mode->add_option("PLL", *target, "devpll, dev2pll, gpupll, gpu2pll, 3d or 2d")
      ->required()
      ->type_name("");
  mode->add_option("MODE", *state, "on, bypass (run from 27 MHz) or off")
      ->required()
      ->type_name("");
  mode->footer(
      "Off asks first. On RQ301, off of a single PLL bypasses it.\n"
      "Examples:\n"
      "  zvgctl clock mode 3d bypass\n"
      "  zvgctl clock mode gpu2pll off --yes");
  mode->callback([&context, target, state] {
    context.action = [&context, target, state] { mode_command(context, *target, *state); };
  });
}

}  // namespace zvgctl
