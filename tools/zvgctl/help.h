// What people see of the command line's grammar: help texts, and messages about words that are not
// understood.
#ifndef ZVGCTL_HELP_H
#define ZVGCTL_HELP_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace zvgctl {

// Help texts that fit 80 columns.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string name,
                        CLI::AppFormatMode mode) const override;
};

// A text whose lines fit 80 columns. What is broken off a line begins the next one, so that
// paragraphs stay whole; lines of an indented list go on below their text, and indented examples
// stay as they are.
std::string fitted(const std::string& text);

// Which of the candidates was meant: the nearest, if it is near enough; else empty.
std::string nearest(const std::string& word, const std::vector<std::string>& candidates);

// An old letter of an option: it still works, and is in no help.
void add_hidden_alias(CLI::App& command, const char* name, std::string& value);

// What is wrong with a command line that was not understood. words: as they were given.
std::string explain(const CLI::App& application, const CLI::ParseError& error,
                    const std::vector<std::string>& words);

}  // namespace zvgctl

#endif  // ZVGCTL_HELP_H
