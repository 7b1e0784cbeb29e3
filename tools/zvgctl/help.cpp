#include "zvgctl/help.h"

#include <algorithm>
#include <numeric>
#include <sstream>

#include "zvgctl/errors.h"
#include "zvgctl/virtual_board.h"

namespace zvgctl {

namespace {

constexpr size_t columns = 80;
constexpr size_t description_column = 30;  // the formatter's
constexpr size_t part_column = 32;         // the same in a group of options

// Where the lines below a line that is too long begin.
size_t indent_of(const std::string& line) {
  const size_t first = line.find_first_not_of(' ');
  for (const size_t column : {description_column, part_column}) {
    const bool begins_there =
        line.size() > column && line[column - 1] == ' ' && line[column] != ' ';
    if (first > 0 && begins_there) return column;
  }
  return first;
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

// How many letters have to be changed, added, left out or swapped with their neighbour.
size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<size_t>> steps(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) steps[i][0] = i;
  std::iota(steps[0].begin(), steps[0].end(), size_t{0});
  for (size_t i = 1; i <= a.size(); ++i) {
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
      steps[i][j] =
          std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, steps[i - 1][j - 1] + change});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
      }
    }
  }
  return steps.back().back();
}

// From the application to the innermost command that was named.
std::vector<const CLI::App*> named_commands(const CLI::App& application) {
  std::vector<const CLI::App*> chain = {&application};
  while (!chain.back()->get_subcommands().empty()) {
    chain.push_back(chain.back()->get_subcommands().front());
  }
  return chain;
}

std::vector<std::string> command_names(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!command->get_name().empty()) names.push_back(command->get_name());
  }
  return names;
}

std::vector<std::string> option_names(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* const option : app.get_options()) {
    if (option->get_group().empty()) continue;
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  // Options of a group that is one of the command's parts.
  for (const CLI::App* const part : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!part->get_name().empty()) continue;
    for (const std::string& name : option_names(*part)) names.push_back(name);
  }
  return names;
}

std::string did_you_mean(const std::string& word, const std::vector<std::string>& candidates) {
  const std::string meant = nearest(word, candidates);
  return meant.empty() ? "" : ": did you mean \"" + meant + "\"?";
}

bool follows_sim(const std::string& word, const std::vector<std::string>& words) {
  for (size_t i = 0; i + 1 < words.size(); ++i) {
    if (words[i] == "--sim" && words[i + 1] == word) return true;
  }
  return false;
}

}  // namespace

std::string fitted(const std::string& text) {
  std::istringstream lines(text);
  std::string fit;
  std::string carried;  // broken off the line before
  for (std::string line; std::getline(lines, line);) {
    const bool plain = !line.empty() && line[0] != ' ';
    if (!carried.empty() && plain) {
      line = carried + " " + line;
    } else if (!carried.empty()) {
      fit += carried + "\n";
    }
    carried.clear();
    const size_t indent = line.size() > columns ? indent_of(line) : 0;
    const bool example = indent > 0 && indent < description_column;
    while (line.size() > columns && !example) {
      const size_t blank = line.rfind(' ', columns);
      if (blank == std::string::npos || blank <= indent) break;
      fit += line.substr(0, blank) + "\n";
      line = std::string(indent, ' ') + line.substr(blank + 1);
      if (indent == 0 && line.size() <= columns) {
        carried = line;
        break;
      }
    }
    if (carried.empty()) fit += line + "\n";
  }
  if (!carried.empty()) fit += carried + "\n";
  return fit;
}

std::string HelpFormatter::make_help(const CLI::App* app, std::string name,
                                     CLI::AppFormatMode mode) const {
  return fitted(Formatter::make_help(app, std::move(name), mode));
}

std::string nearest(const std::string& word, const std::vector<std::string>& candidates) {
  constexpr size_t letters_a_mistake = 3;
  std::string best;
  size_t least = std::max<size_t>(1, word.size() / letters_a_mistake) + 1;
  for (const std::string& candidate : candidates) {
    const size_t steps = distance(word, candidate);
    if (steps >= least) continue;
    least = steps;
    best = candidate;
  }
  return best;
}

void add_hidden_alias(CLI::App& command, const char* name, std::string& value) {
  command.add_option(name, value)->group("");
}

std::string explain(const CLI::App& application, const CLI::ParseError& error,
                    const std::vector<std::string>& words) {
  const std::vector<const CLI::App*> chain = named_commands(application);
  // A word that is no command's name shows up only as a command that is missing.
  const std::vector<std::string> strays = application.remaining(true);
  if (strays.empty()) {
    const std::vector<std::string> commands = command_names(*chain.back());
    if (commands.empty()) return error.what();
    return "A subcommand is required: " + joined(commands);
  }
  const std::string& stray = strays.front();
  if (follows_sim(stray, words)) {
    return format("--sim: there is no board \"%s\"%s (%s; or a file whose name ends in .toml)",
                  stray.c_str(), did_you_mean(stray, ready_boards()).c_str(),
                  joined(ready_boards()).c_str());
  }
  std::vector<std::string> candidates;
  for (const CLI::App* const app : chain) {
    const auto more = stray.starts_with('-') ? option_names(*app) : command_names(*app);
    candidates.insert(candidates.end(), more.begin(), more.end());
  }
  const std::string name = stray.substr(0, stray.find('='));
  return format("\"%s\" is out of place: no such command or option here%s", stray.c_str(),
                did_you_mean(name, candidates).c_str());
}

}  // namespace zvgctl
