// The command line's words, before they are parsed.
#ifndef ZVGCTL_ARGUMENTS_H
#define ZVGCTL_ARGUMENTS_H

#include <functional>
#include <string>
#include <vector>

namespace zvgctl {

struct Arguments {
  std::vector<std::string> words;
  std::vector<std::string> without_sim;
};

// Gives "--driver" and "--sim" the value that their next word may or may not be, so that they can
// stand anywhere: "--driver 1" becomes "--driver=1" because 1 is a number, "--driver info" becomes
// "--driver=0 info". The word after "--sim" is its value when is_board says so. Everything from
// "--" on stays as it is.
Arguments settle_optional_values(const std::vector<std::string>& words,
                                 const std::function<bool(const std::string&)>& is_board);

}  // namespace zvgctl

#endif  // ZVGCTL_ARGUMENTS_H
