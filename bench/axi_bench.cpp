// One pass over the AXI monitors of RQ302 in memory mode, against its register reads alone.
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <stdlib.h>

#include <filesystem>

#include "nodes.h"
#include "util_zvg.h"

namespace {

namespace fs = std::filesystem;

constexpr uint64_t counters = 0x288878;
constexpr unsigned pass_reads = 2 + 7 * 29 + 6 * 11 + 9 * 25;

// A folder for the tables, current while it lives. They grow by a row a pass.
class TableFolder {
 public:
  TableFolder() : before_(fs::current_path()) {
    std::string name = (fs::temp_directory_path() / "zvg_bench_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) abort();
    folder_ = name;
    fs::current_path(folder_);
  }
  TableFolder(const TableFolder&) = delete;
  TableFolder& operator=(const TableFolder&) = delete;
  ~TableFolder() {
    fs::current_path(before_);
    fs::remove_all(folder_);
  }

 private:
  fs::path before_;
  fs::path folder_;
};

void axi_pass(benchmark::State& state) {
  zvgbench::open_memory();
  const TableFolder folder;
  // New data of every port, so that each pass writes all its rows.
  zvgRegWriteLong(0x288FDC, 0x3FFFFF);
  FILE* const out = stdout;
  stdout = fopen("/dev/null", "w");
  uint32_t sample = 0;
  for (auto _ : state) zvgMonitorAxiTrans_RQ302(sample++, "bench");
  fclose(stdout);
  stdout = out;
}
BENCHMARK(axi_pass)->Unit(benchmark::kNanosecond);

void axi_reads(benchmark::State& state) {
  zvgbench::open_memory();
  for (auto _ : state) {
    for (unsigned i = 0; i < pass_reads; ++i) {
      uint32_t value = 0;
      zvgRegReadLong(counters + 4 * i, &value);
      benchmark::DoNotOptimize(value);
    }
  }
}
BENCHMARK(axi_reads)->Unit(benchmark::kNanosecond);

}  // namespace
