// zvgctl env: the graphics driver's settings in the login profile script.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "service/env/profile_script.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/prompt.h"

namespace zvgctl {

namespace {

void show_remark(const std::string& remark) {
  warn("%s", remark.c_str());
}

using Words = std::vector<std::string>;

constexpr unsigned cores = 8;

std::string upper_case(std::string word) {
  for (char& c : word) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  return word;
}

// Where words lead in the menu, and what they set there.
struct Way {
  const zvgkit_menu_node* node = Func;
  std::string core;  // the word below INDEPENDENT

  bool asks_for_core() const { return node->children == Indep_child; }
  bool is_setting() const { return node->env[0] != '\0' || (asks_for_core() && !core.empty()); }
  std::string name() const { return asks_for_core() ? Indep_child[0].env : node->env; }
  std::string value() const {
    return asks_for_core() ? Indep_child[0].value + core : std::string(node->value);
  }
};

std::string choices(const Way& way) {
  if (way.asks_for_core()) return "a core, 0 to 7";
  std::string text;
  for (int32_t i = 0; i < way.node->child_count; ++i) {
    text += (i == 0 ? "" : ", ") + std::string(way.node->children[i].label);
  }
  return text;
}

// One word further. Throws a usage Failure that names the choices.
void go(Way& way, const std::string& word) {
  if (way.asks_for_core()) {
    if (!way.core.empty()) usage_error("nothing follows a core: '%s'", word.c_str());
    if (word.size() != 1 || word[0] < '0' || word[0] >= static_cast<char>('0' + cores)) {
      usage_error("expected a core, 0 to 7, found '%s'", word.c_str());
    }
    way.core = word;
    return;
  }
  if (way.node->children == nullptr) usage_error("nothing follows %s", way.node->label);
  const std::string wanted = upper_case(word);
  for (int32_t i = 0; i < way.node->child_count; ++i) {
    const zvgkit_menu_node& child = way.node->children[i];
    if (wanted == child.label || wanted == std::to_string(child.number) ||
        (child.alias != nullptr && wanted == child.alias)) {
      way.node = &child;
      return;
    }
  }
  usage_error("there is no '%s' here; expected %s", word.c_str(), choices(way).c_str());
}

bool holds(const std::string& script, const std::string& name, const std::string& value) {
  const Settings settings = settings_of(script);
  return std::any_of(settings.begin(), settings.end(), [&](const auto& setting) {
    return setting.first == name && setting.second == value;
  });
}

// Sets what the words lead to, the way that the library does it.
void set_by_menu(const Words& words, const Way& way) {
  ProfileScript script(false, {.note = show_remark});
  std::string line = "env";
  for (const std::string& word : words) line += " " + word;
  script.edit([&] { zvgkit_func(line.data()); },
              [&](const std::string& now) { return holds(now, way.name(), way.value()); });
}

void set_variable(const std::string& name, const std::string& value) {
  expect_plain_setting(name, value);
  ProfileScript script(false, {.note = show_remark});
  // The library goes by the beginning of the name, whosever it is.
  for (const auto& [known, old] : settings_of(script.read())) {
    if (known == name) break;
    if (known.starts_with(name)) {
      fail("%s is there already, and would be changed instead of %s", known.c_str(), name.c_str());
    }
  }
  script.edit(
      [&] {
        std::string text = value;
        text.append(2, '\0');
        zvgEnvSet(name.c_str(), text.data());
      },
      [&](const std::string& now) { return holds(now, name, value); });
}

void list_command(const Context& context) {
  const std::string script = look_at_profile_script({.note = show_remark});
  if (!context.json) {
    char line[] = "env on";
    zvgkit_func(line);
    return;
  }
  reserve_stdout_for_json();
  Json document = Json::object();
  for (const auto& [name, value] : settings_of(script)) document[name] = value;
  print_json({{"settings", document}});
}

void report(const Context& context, const std::string& name, const std::string& value) {
  if (context.json) print_json({{"name", name}, {"value", value}});
}

void set_command(const Context& context, const Words& words) {
  if (context.json) reserve_stdout_for_json();
  if (const size_t equals = words[0].find('='); words.size() == 1 && equals != std::string::npos) {
    const std::string name = words[0].substr(0, equals);
    const std::string value = words[0].substr(equals + 1);
    set_variable(name, value);
    report(context, name, value);
    return;
  }
  Way way;
  for (const std::string& word : words) go(way, word);
  if (!way.is_setting()) {
    if (way.node->children == nullptr) {
      usage_error("%s is no setting; see 'env list' and 'env clear'", way.node->label);
    }
    usage_error("%s needs one more word: %s", way.node->label, choices(way).c_str());
  }
  set_by_menu(words, way);
  report(context, way.name(), way.value());
}

void clear_command(const Context& context) {
  if (context.json) reserve_stdout_for_json();
  if (!settings_of(look_at_profile_script({.note = show_remark})).empty()) {
    confirm("remove all settings from " + std::string(profile_script_path), context.yes);
  }
  ProfileScript script(true, {.note = show_remark});
  // Emptying is one step that cannot stop in the middle; nothing has to be kept for it.
  char line[] = "env close";
  if (zvgkit_func(line) != 0) fail("cannot empty %s", profile_script_path);
}

// One question of the menu. False at the end of the input.
bool ask(Words& words) {
  std::string line = "env";
  for (const std::string& word : words) line += " " + word;
  zvgkit_func(line.data());  // prints the question
  fputs("> ", stdout);
  fflush(stdout);
  char answer[64] = {};
  if (fgets(answer, sizeof answer, stdin) == nullptr) return false;
  std::istringstream parts(answer);
  for (std::string word; parts >> word;) words.push_back(word);
  return true;
}

void menu_command(const Context& context) {
  if (context.json) usage_error("the menu talks to people: there is no JSON of it");
  if (isatty(STDIN_FILENO) != 1) {
    usage_error("the menu asks on a terminal, and standard input is none; use 'env set'");
  }
  Words words;
  while (ask(words)) {
    Way way;
    try {
      for (const std::string& word : words) go(way, word);
    } catch (const zvg::Error& failure) {
      puts(failure.what());
      words.clear();
      continue;
    }
    if (strcmp(way.node->label, "ON") == 0) return list_command(context);
    if (strcmp(way.node->label, "CLOSE") == 0) return clear_command(context);
    if (way.is_setting()) return set_by_menu(words, way);
  }
  putchar('\n');
}

}  // namespace

void add_env(CLI::App& application, Context& context) {
  CLI::App& family = add_family(
      application, "env", "The graphics driver's settings in the login profile script",
      "The settings are kept in /etc/profile.d/zvg_util_env.sh and count for new login shells.\n"
      "Examples:\n"
      "  zvgctl env list\n"
      "  zvgctl env set 3d gl\n"
      "  zvgctl env menu");
  CLI::App* const menu = family.add_subcommand("menu", "Choose a setting question by question");
  menu->footer("Examples:\n  zvgctl env menu");
  menu->callback([&context] { context.action = [&context] { menu_command(context); }; });

  CLI::App* const list = family.add_subcommand("list", "Show the settings that are made");
  list->footer("Examples:\n  zvgctl env list\n  zvgctl env list --json");
  list->callback([&context] { context.action = [&context] { list_command(context); }; });

  CLI::App* const set = family.add_subcommand("set", "Make a setting");
  auto words = std::make_shared<Words>();
  set->add_option("WORDS", *words, "The menu's words or numbers, or one NAME=VALUE")
      ->required()
      ->type_name("");
  set->footer(
      "3d gl|glx|es|egl         trace that interface\n"
      "texture                  dump textures\n"
      "mgpu combined|balance    share the work between the cores\n"
      "mgpu independent CORE    give all of it to one core, 0 to 7\n"
      "NAME=VALUE: a name that begins with KRT_ or VIV_, and a plain word.\n"
      "The script has to exist; 'env clear' creates it. An edit that does not end well is undone.\n"
      "Examples:\n"
      "  zvgctl env set 3d gl\n"
      "  zvgctl env set mgpu independent 5\n"
      "  zvgctl env set KRT_GL_TRACE=0");
  set->callback(
      [&context, words] { context.action = [&context, words] { set_command(context, *words); }; });

  CLI::App* const clear =
      family.add_subcommand("clear", "Remove all settings, or create the script");
  clear->footer("Examples:\n  zvgctl env clear --yes");
  clear->callback([&context] { context.action = [&context] { clear_command(context); }; });
}

}  // namespace zvgctl
