#include "zvgctl/arguments.h"

#include <algorithm>
#include <cctype>

#include "zvgctl/connection_options.h"

namespace zvgctl {

namespace {

// A negative one too: better a clear complaint about the card than about a stray word.
bool is_card(const std::string& word) {
  const auto digits = word.begin() + (word.starts_with('-') ? 1 : 0);
  return digits != word.end() &&
         std::all_of(digits, word.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

}  // namespace

Arguments settle_optional_values(const std::vector<std::string>& words,
                                 const std::function<bool(const std::string&)>& is_board) {
  Arguments arguments;
  for (size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    const bool has_next = i + 1 < words.size();
    if (word == "--") {
      for (; i < words.size(); ++i) {
        arguments.words.push_back(words[i]);
        arguments.without_sim.push_back(words[i]);
      }
    } else if (word == "--driver") {
      const bool valued = has_next && is_card(words[i + 1]);
      const std::string settled = "--driver=" + (valued ? words[++i] : std::string(default_card));
      arguments.words.push_back(settled);
      arguments.without_sim.push_back(settled);
    } else if (word == "--sim") {
      const bool valued = has_next && is_board(words[i + 1]);
      arguments.words.push_back("--sim=" + (valued ? words[++i] : std::string(default_board)));
    } else {
      arguments.words.push_back(word);
      if (!word.starts_with("--sim=")) arguments.without_sim.push_back(word);
    }
  }
  return arguments;
}

}  // namespace zvgctl
