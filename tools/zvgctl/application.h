// The whole program but for main().
#ifndef ZVGCTL_APPLICATION_H
#define ZVGCTL_APPLICATION_H

#include <string>
#include <vector>

namespace zvgctl {

// words: the command line without the program's name. Returns the exit status.
int run(const std::vector<std::string>& words);

// The words of every command that does something: "info", "reg read" ...
std::vector<std::string> command_names();

}  // namespace zvgctl

#endif  // ZVGCTL_APPLICATION_H
