// The device nodes that the benchmarks stand on.
//
// "/dev/mem" is zero-filled memory: what is measured is the way to the mapping. "/dev/zvgrw" is a
// pseudo-terminal: its ioctl looks at the number, takes a reference and a lock and refuses, which
// is the least that a driver's handler does. What is measured is what the library adds to the call.
#ifndef BENCH_NODES_H
#define BENCH_NODES_H

#include <cstdint>

namespace zvgbench {

// Opens a connection in memory mode: the whole register aperture and one MiB of VRAM.
void open_memory();
// Opens a connection in driver mode and returns its descriptor.
int open_driver();

}  // namespace zvgbench

#endif  // BENCH_NODES_H
