// zvgctl: bring-up, diagnosis and servicing of graphics boards from the command line.
#include <stdio.h>

#include <exception>

#include "zvgctl/application.h"
#include "zvgctl/terminal/interrupts.h"

int main(int argc, char** argv) {
  zvgctl::catch_terminate();
  try {
    return zvgctl::run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    fprintf(stderr, "zvgctl: internal error: %s\n", error.what());
  }
  return 1;
}
