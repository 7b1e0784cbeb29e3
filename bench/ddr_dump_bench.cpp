// The full DDR dump of a channel in memory mode, against the same lines by fprintf.
#include "ddr_dump_bench.h"

#include <benchmark/benchmark.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>

#include "nodes.h"
#include "util_zvg.h"

namespace {

namespace fs = std::filesystem;

// A folder for the dump file, current while it lives.
class DumpFolder {
 public:
  DumpFolder() : before_(fs::current_path()) {
    std::string name = (fs::temp_directory_path() / "zvg_bench_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) abort();
    folder_ = name;
    fs::current_path(folder_);
  }
  DumpFolder(const DumpFolder&) = delete;
  DumpFolder& operator=(const DumpFolder&) = delete;
  ~DumpFolder() {
    fs::current_path(before_);
    fs::remove_all(folder_);
  }
  // Makes room for the next dump, outside what is measured.
  void clear(benchmark::State& state) const {
    state.PauseTiming();
    fs::remove(folder_ / "DDR_Dump_Reg.txt");
    state.ResumeTiming();
  }

 private:
  fs::path before_;
  fs::path folder_;
};

void ddr_dump(benchmark::State& state) {
  zvgbench::open_memory();
  const DumpFolder folder;
  for (auto _ : state) {
    folder.clear(state);
    if (zvgDDRReadReg(1) != 0) state.SkipWithError("the dump failed");
  }
  state.SetItemsProcessed(state.iterations() * zvgbench::dump_lines);
}
BENCHMARK(ddr_dump)->Unit(benchmark::kNanosecond);

void dump_range(FILE* file, uint32_t base, unsigned words) {
  for (unsigned i = 0; i < words; ++i) {
    uint32_t value = 0;
    zvgRegReadLong(base + 4 * i, &value);
    fprintf(file, "0x%08x     %08x        R        FFFFFFFF\n", base + 4 * i, value);
  }
}

void fprintf_dump(benchmark::State& state) {
  zvgbench::open_memory();
  const DumpFolder folder;
  for (auto _ : state) {
    folder.clear(state);
    FILE* const file = fopen("DDR_Dump_Reg.txt", "a");
    for (unsigned block = 0; block < zvgbench::phy_blocks; ++block) {
      dump_range(file, zvg_gpu_hardware[ZVG_HW_DDR_PHY], zvgbench::phy_words);
    }
    dump_range(file, zvg_gpu_hardware[ZVG_HW_DDR_CONTROLLER], zvgbench::controller_words);
    fclose(file);
  }
  state.SetItemsProcessed(state.iterations() * zvgbench::dump_lines);
}
BENCHMARK(fprintf_dump)->Unit(benchmark::kNanosecond);

}  // namespace
