// Runs the benchmarks and prints how each compares with its peer of the same run. A figure over its
// limit makes the program exit with 1.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "ddr_dump_bench.h"

namespace {

// Keeps the fastest of a benchmark's repetitions: what disturbs a run only makes it slower.
class Times : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const double time = run.GetAdjustedRealTime();
      const auto [entry, is_new] = times_.try_emplace(run.run_name.function_name, time);
      if (!is_new) entry->second = std::min(entry->second, time);
    }
  }
  // Nanoseconds a call; 0 when it did not run.
  double of(const std::string& name) const {
    const auto entry = times_.find(name);
    return entry == times_.end() ? 0 : entry->second;
  }

 private:
  std::map<std::string, double> times_;
};

// What a benchmark may take, next to its peer. A limit of 0 is none.
struct Comparison {
  const char* name;
  const char* peer;
  double most_added_ns;
  double most_ratio;
};

constexpr Comparison comparisons[] = {
    {"memory_read", "volatile_load", 5, 0},          {"memory_write", "volatile_store", 5, 0},
    {"driver_read", "bare_ioctl", 0, 1.05},          {"ddr_dump", "fprintf_dump", 0, 1.0 / 5},
    {"pll_search", "pll_search_loops", 0, 1.0 / 10}, {"axi_pass", "axi_reads", 2e6, 0},
    {"set_color", "set_color_loop", 0, 1.5},         {"ramp_float", "ramp_float_loop", 0, 1.5},
};

// Returns whether the comparison is inside its limits.
bool print(const Comparison& c, const Times& times) {
  const double time = times.of(c.name);
  const double peer = times.of(c.peer);
  if (time == 0 || peer == 0) return true;  // filtered out
  const double added = time - peer;
  const bool good = (c.most_added_ns == 0 || added <= c.most_added_ns) &&
                    (c.most_ratio == 0 || time <= peer * c.most_ratio);
  std::printf("%-13s %8.2f ns, %-15s %8.2f ns: ratio %5.3f, %+6.2f ns  %s\n", c.name, time, c.peer,
              peer, time / peer, added, good ? "within its limit" : "OVER ITS LIMIT");
  return good;
}

// Prints how much is done in the time that amount_a_call stands for.
void print_rate(const char* name, const char* unit, double amount_a_call, const Times& times) {
  if (times.of(name) > 0)
    std::printf("%-13s %.0f %s\n", name, amount_a_call / times.of(name), unit);
}

}  // namespace

int main(int argc, char** argv) {
  // Repetitions tell a slow machine from a slow library; the command line may change them.
  std::vector<char*> arguments(argv, argv + argc);
  std::string repetitions = "--benchmark_repetitions=5";
  std::string time = "--benchmark_min_time=0.1";
  arguments.insert(arguments.begin() + 1, {repetitions.data(), time.data()});
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
  Times times;
  benchmark::RunSpecifiedBenchmarks(&times);
  bool good = true;
  std::printf("\n");
  for (const Comparison& c : comparisons) good = print(c, times) && good;
  print_rate("edid_report", "reports a second", 1e9, times);
  print_rate("ddr_dump", "million lines a minute", 60e9 * zvgbench::dump_lines / 1e6, times);
  return good ? 0 : 1;
}
