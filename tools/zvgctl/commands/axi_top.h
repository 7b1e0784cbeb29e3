// The live view of the AXI monitors.
#ifndef ZVGCTL_AXI_TOP_H
#define ZVGCTL_AXI_TOP_H

#include <cstdint>

#include "zvgctl/connection.h"

namespace zvgctl {

struct AxiTopOptions {
  double interval = 1;  // seconds
  uint64_t count = 0;   // views; 0 until a key or Ctrl-C ends it
};

// Throws a Failure when there is no terminal.
void axi_top(const Connection& connection, const AxiTopOptions& options);

}  // namespace zvgctl

#endif  // ZVGCTL_AXI_TOP_H
