// What one register read costs on the virtual board, through each of its doors in process: a
// request that is answered by a call, a load that faults and is stepped over, a frame and its
// reply.
#include <benchmark/benchmark.h>

#include "doors/mount_doors.h"
#include "machine/machine.h"
#include "util_zvg.h"

namespace {

constexpr uint64_t offset = 0x308000;

struct OnBoard {
  OnBoard() { zvgsim::mount_doors(doors, machine); }
  ~OnBoard() {
    zvgClose();
    zvgsim::unmount_all();
  }
  void open_memory() {
    const auto& bases = machine.config().aperture;
    zvgMemOpen(bases.mmio_base, zvgsim::mmio_size, bases.vram_base, zvgsim::vram_size);
  }
  zvgsim::Machine machine{zvgsim::BoardConfig()};
  zvgsim::Doors doors{machine};
};

void read_registers(benchmark::State& state) {
  uint32_t value = 0;
  for (auto _ : state) {
    zvgRegReadLong(offset, &value);
    benchmark::DoNotOptimize(value);
  }
}

void driver_register(benchmark::State& state) {
  const OnBoard board;
  zvgRwOpen(0);
  read_registers(state);
}
BENCHMARK(driver_register);

void aperture_register(benchmark::State& state) {
  OnBoard board;
  board.open_memory();
  read_registers(state);
}
BENCHMARK(aperture_register);

void uart_register(benchmark::State& state) {
  const OnBoard board;
  zvgSerialOpen(zvgsim::serial_node, 460800);
  read_registers(state);
}
BENCHMARK(uart_register);

void aperture_video_memory(benchmark::State& state) {
  OnBoard board;
  board.open_memory();
  uint32_t value = 0;
  for (auto _ : state) {
    zvgVramReadLong(offset, &value);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(aperture_video_memory);

}  // namespace

BENCHMARK_MAIN();
