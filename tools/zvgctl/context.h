// What the command line said, and what the chosen command wants done.
#ifndef ZVGCTL_CONTEXT_H
#define ZVGCTL_CONTEXT_H

#include <functional>
#include <string>
#include <vector>

#include "zvgctl/connection_options.h"

namespace zvgctl {

struct Context {
  ConnectionText connection;
  bool json = false;
  bool yes = false;
  std::string record;    // the file to record into; empty for none
  std::string deadline;  // seconds; empty for the command's own default

  // The command line without --sim, to run it again on the virtual board.
  std::vector<std::string> arguments_without_sim;

  // Set by the command that was named. Runs after the whole command line was understood; throws a
  // Failure when it cannot do its work.
  std::function<void()> action;
};

}  // namespace zvgctl

#endif  // ZVGCTL_CONTEXT_H
