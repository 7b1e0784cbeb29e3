// zvgctl: bring-up, diagnosis and servicing of graphics boards from the command line.
#include "zvgctl/application.h"

int main(int argc, char** argv) {
  return zvgctl::run({argv + 1, argv + argc});
}
