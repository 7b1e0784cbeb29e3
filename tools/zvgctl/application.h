// The whole program but for main().
#ifndef ZVGCTL_APPLICATION_H
#define ZVGCTL_APPLICATION_H

#include <string>
#include <vector>

namespace zvgctl {

// words: the command line without the program's name. Returns the exit status.
int run(const std::vector<std::string>& words);

}  // namespace zvgctl

#endif  // ZVGCTL_APPLICATION_H
