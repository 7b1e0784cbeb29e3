#include "zvgctl/terminal/prompt.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "zvgctl/errors.h"

namespace zvgctl {

namespace {

bool confirmed = false;

}  // namespace

bool was_confirmed() {
  return confirmed;
}

void confirm(const std::string& what, bool yes) {
  if (yes) return;
  if (isatty(STDIN_FILENO) != 1) {
    usage_error("refusing to %s without being told --yes: standard input is no terminal to ask on",
                what.c_str());
  }
  fflush(stdout);
  fprintf(stderr, "zvgctl is about to %s. Go on? [y/N] ", what.c_str());
  char answer[16] = {};
  const bool answered = fgets(answer, sizeof answer, stdin) != nullptr;
  answer[strcspn(answer, "\r\n")] = '\0';
  if (!answered || (strcasecmp(answer, "y") != 0 && strcasecmp(answer, "yes") != 0)) {
    fail("stopped: nothing was changed");
  }
  confirmed = true;
}

}  // namespace zvgctl
