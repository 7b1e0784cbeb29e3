// The question before something that cannot be taken back.
#ifndef ZVGCTL_PROMPT_H
#define ZVGCTL_PROMPT_H

#include <string>

namespace zvgctl {

// what: the deed, for "zvgctl is about to <what>.".
// Returns when the user agreed, or yes is set. Throws a Failure when the user did not agree (exit
// 1), or when there is nobody to ask because standard input is no terminal (exit 2).
void confirm(const std::string& what, bool yes);

// Whether somebody has agreed to what this command does.
bool was_confirmed();

}  // namespace zvgctl

#endif  // ZVGCTL_PROMPT_H
