// What an access costs above the load, store or system call that it ends in.
#include <benchmark/benchmark.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

#include "nodes.h"
#include "util_zvg.h"

namespace {

constexpr uint64_t offset = 0x308;

// The peer of memory mode: a plain volatile pointer into a shared mapping.
volatile uint32_t* plain_register() {
  void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return static_cast<volatile uint32_t*>(page) + offset / sizeof(uint32_t);
}

void volatile_load(benchmark::State& state) {
  volatile uint32_t* const reg = plain_register();
  for (auto _ : state) benchmark::DoNotOptimize(*reg);
}
BENCHMARK(volatile_load);

void memory_read(benchmark::State& state) {
  zvgbench::open_memory();
  uint32_t value = 0;
  for (auto _ : state) {
    zvgRegReadLong(offset, &value);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(memory_read);

void volatile_store(benchmark::State& state) {
  volatile uint32_t* const reg = plain_register();
  uint32_t value = 0;
  for (auto _ : state) *reg = ++value;
}
BENCHMARK(volatile_store);

void memory_write(benchmark::State& state) {
  zvgbench::open_memory();
  uint32_t value = 0;
  for (auto _ : state) zvgRegWriteLong(offset, ++value);
}
BENCHMARK(memory_write);

// The peer of driver mode: the same request on the same descriptor.
void bare_ioctl(benchmark::State& state) {
  const int fd = zvgbench::open_driver();
  struct {
    uint32_t card, bar, op, width;
    uint64_t offset, value;
  } record = {0, 2, 0, 4, offset, 0};
  constexpr unsigned long request = 0xC0206401;
  for (auto _ : state) {
    record.value = 0;
    benchmark::DoNotOptimize(ioctl(fd, request, &record));
    benchmark::DoNotOptimize(record.value);
  }
}
BENCHMARK(bare_ioctl);

void driver_read(benchmark::State& state) {
  zvgbench::open_driver();
  uint32_t value = 0;
  for (auto _ : state) {
    zvgRegReadLong(offset, &value);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(driver_read);

}  // namespace
