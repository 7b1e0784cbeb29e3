// zvgctl axi: what the monitors on the chip's bus count.
#include <stdio.h>
#include <sys/statvfs.h>
#include <util_zvg.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/axi/axi_sampler.h"
#include "service/axi/axi_summary.h"
#include "service/axi/axi_tables.h"
#include "service/files/own_path.h"
#include "service/number.h"
#include "zvgctl/commands/axi_top.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/space.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/pictures/axi_report.h"
#include "zvgctl/terminal/interrupts.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/output_file.h"

namespace zvgctl {

namespace {

namespace fs = std::filesystem;

// The folder that the library makes is called so, with a suffix; together at most 47 bytes.
constexpr char folder_beginning[] = "Monitor_Data_";
constexpr size_t longest_suffix = 34;

// Off a serial line, the library sleeps so long before every sample.
constexpr double samples_a_second = 4;
constexpr uint64_t longest_run = 30 * 86400;  // seconds

bool has_rq302_monitors(const Connection& connection) {
  return connection.generation_name() == "RQ302";
}

// Sampling -----------------------------------------------------------------------------------

struct SampleArguments {
  std::string seconds;
  std::string count;
  std::string output;
  std::string suffix = "rq302";
  bool force = false;
};

// Looks after the tables while they grow: the library does not.
class TableWatch {
 public:
  explicit TableWatch(fs::path folder) : folder_(std::move(folder)) {}

  // Throws a Failure when the last sample did not get into the table of a port that had new data.
  void check(uint32_t sample, uint32_t updates) {
    for (size_t i = 0; i < std::size(rq302_axi_ports); ++i) {
      const fs::path table = axi_table_path(folder_, rq302_axi_ports[i]);
      std::error_code error;
      const uint64_t size = fs::file_size(table, error);
      if (error) {
        fail("sample %u was not written: %s: %s", sample, table.c_str(), error.message().c_str());
      }
      const bool expected = sample == 0 || (updates >> i & 1) != 0;
      const bool written = size > sizes_[i] && ends_a_line(table);
      if (expected && !written) {
        fail("sample %u was not written into %s%s; the samples before it are there", sample,
             table.c_str(), is_full() ? ": the disk is full" : "");
      }
      sizes_[i] = size;
    }
  }

 private:
  static bool ends_a_line(const fs::path& table) {
    std::ifstream file(table, std::ios::binary);
    return file.seekg(-1, std::ios::end) && file.get() == '\n';
  }

  bool is_full() const {
    struct statvfs status;
    return statvfs(folder_.c_str(), &status) == 0 && status.f_bavail == 0;
  }

  const fs::path folder_;
  uint64_t sizes_[std::size(rq302_axi_ports)] = {};
};

void check_suffix(const std::string& suffix) {
  if (suffix.size() > longest_suffix) {
    usage_error("--suffix: \"%s\" has %zu bytes; the library's folder name has room for %zu",
                suffix.c_str(), suffix.size(), longest_suffix);
  }
  if (suffix.find('/') != std::string::npos) {
    usage_error("--suffix: \"%s\" is to be a part of a folder's name: no slash", suffix.c_str());
  }
}

// The folder of the run. A table in it would be begun anew.
fs::path prepare_folder(const SampleArguments& arguments) {
  std::error_code error;
  fs::create_directories(arguments.output, error);
  const fs::path parent = fs::absolute(arguments.output);
  if (!error) fs::current_path(parent, error);
  if (error)
    fail("cannot use the folder %s: %s", arguments.output.c_str(), error.message().c_str());
  const fs::path folder = parent / (folder_beginning + arguments.suffix);
  expect_own_folder(folder.string());  // the library opens what has its tables' names
  for (const std::string_view port : rq302_axi_ports) {
    const fs::path table = axi_table_path(folder, port);
    if (!fs::exists(table, error)) continue;
    if (!arguments.force) {
      fail(
          "%s has samples of an earlier run: give another --output or --suffix, or --force to "
          "replace them",
          folder.c_str());
    }
    fs::remove(table, error);
    if (error) fail("cannot replace %s: %s", table.c_str(), error.message().c_str());
  }
  return folder;
}

void sample_command(const Context& context, const SampleArguments& arguments) {
  check_suffix(arguments.suffix);
  if (!arguments.seconds.empty() && !arguments.count.empty()) {
    usage_error("give either --seconds or --count");
  }
  const uint64_t seconds =
      arguments.seconds.empty() ? 0 : parse_number("--seconds", arguments.seconds, longest_run);
  uint64_t count =
      arguments.count.empty() ? 0 : parse_number("--count", arguments.count, INT32_MAX);
  require_generation(parse_connection(context.connection), "which AXI monitors it has");
  Connection connection(context);
  if (!has_rq302_monitors(connection)) {
    fail("the monitors of %s are not sampled into tables; 'zvgctl axi summary' shows them",
         connection.generation_name().c_str());
  }
  if (seconds != 0 && connection.door() != Door::serial) {
    count = static_cast<uint64_t>(std::ceil(static_cast<double>(seconds) * samples_a_second));
  }
  const fs::path folder = prepare_folder(arguments);

  const InterruptNotice ctrl_c;  // the usual end of a run without --seconds or --count
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  const bool on_terminal = isatty(STDERR_FILENO) != 0;
  TableWatch watch(folder);
  uint32_t samples = 0;
  sample_axi(arguments.suffix, [&](uint32_t done, uint32_t updates) {
    watch.check(done - 1, updates);
    samples = done;
    if (on_terminal) fprintf(stderr, "\r%u samples ", done);
    if (InterruptNotice::came() || (count != 0 && done >= count)) return false;
    return seconds == 0 || std::chrono::steady_clock::now() < end;
  });
  if (on_terminal) fprintf(stderr, "\r\033[K");

  if (context.json) {
    print_json(
        {{"folder", folder.string()}, {"samples", samples}, {"ports", std::size(rq302_axi_ports)}});
  } else {
    printf("%s: %u sample%s of %zu ports\n", folder.c_str(), samples, samples == 1 ? "" : "s",
           std::size(rq302_axi_ports));
  }
}

// Summary ------------------------------------------------------------------------------------

struct SummaryArguments {
  std::string labels = "en";
};

void summary_command(const Context& context, const SummaryArguments& arguments) {
  const bool chinese = arguments.labels == "zh";
  if (!chinese && arguments.labels != "en") {
    usage_error("--labels: \"%s\" is neither en nor zh", arguments.labels.c_str());
  }
  require_generation(parse_connection(context.connection), "which AXI monitors it has");
  Connection connection(context);
  if (has_rq302_monitors(connection)) {
    fail(
        "the monitors of RQ302 have no summary; 'zvgctl axi sample' writes their tables, "
        "'zvgctl axi top' shows them");
  }
  std::string text;
  const std::vector<AxiSummary> summaries = read_axi_summaries(&text);
  if (context.json) {
    Json ports = Json::array();
    for (const AxiSummary& summary : summaries) ports.push_back(to_json(summary));
    print_json({{"ports", ports}});
    return;
  }
  if (chinese) {
    printf("%s", text.c_str());
    return;
  }
  for (const AxiSummary& summary : summaries) {
    printf("%s%s\n", &summary == &summaries.front() ? "" : "\n", summary.port.c_str());
    for (const auto& [label, value] : summary.counters) {
      printf("  %-26s %10u\n", label.c_str(), value);
    }
  }
}

// Report -------------------------------------------------------------------------------------

struct ReportArguments {
  std::string folder;
  std::string output = "axi-report.html";
  bool force = false;
};

// The folder itself when it has tables, or else the one in it that a run has made.
fs::path find_tables(const fs::path& folder) {
  std::error_code error;
  if (!fs::is_directory(folder, error)) fail("%s is no folder", folder.c_str());
  for (const std::string_view port : rq302_axi_ports) {
    if (fs::exists(axi_table_path(folder, port), error)) return folder;
  }
  std::vector<fs::path> runs;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.is_directory() && entry.path().filename().string().starts_with(folder_beginning)) {
      runs.push_back(entry.path());
    }
  }
  if (runs.empty()) {
    fail(
        "%s has neither tables of AXI monitors nor a folder %s... with some; 'zvgctl axi sample -o "
        "%s' makes one",
        folder.c_str(), folder_beginning, folder.c_str());
  }
  if (runs.size() > 1) {
    std::string names;
    std::sort(runs.begin(), runs.end());
    for (const fs::path& run : runs) names += " " + run.filename().string();
    fail("%s has several runs; name one of them:%s", folder.c_str(), names.c_str());
  }
  return runs.front();
}

void report_command(const Context& context, const ReportArguments& arguments) {
  const fs::path folder = find_tables(arguments.folder);
  std::vector<std::string> problems;
  const std::vector<AxiTable> tables = read_axi_tables(folder, &problems);
  constexpr size_t most_warnings = 10;
  for (size_t i = 0; i < std::min(problems.size(), most_warnings); ++i) {
    warn("%s", problems[i].c_str());
  }
  if (problems.size() > most_warnings) warn("and %zu more", problems.size() - most_warnings);
  const std::string page = axi_report(tables, folder.string(), problems);
  OutputFile file(arguments.output, arguments.force);
  file.write(page.data(), page.size());
  file.commit();
  size_t samples = 0;
  std::string late;
  for (const AxiTable& table : tables) {
    samples = std::max(samples, table.rows());
    const auto* const timeouts = table.find("timeout");
    const bool any = timeouts != nullptr && std::any_of(timeouts->begin(), timeouts->end(),
                                                        [](uint64_t bit) { return bit != 0; });
    if (any) late += (late.empty() ? "" : ", ") + table.port;
  }
  if (context.json) {
    print_json({{"file", arguments.output},
                {"ports", tables.size()},
                {"samples", samples},
                {"problems", problems}});
    return;
  }
  printf("%s: %zu ports, up to %zu samples; %s\n", output_name(arguments.output).c_str(),
         tables.size(), samples, late.empty() ? "no timeouts" : ("timeouts on " + late).c_str());
}

// Top ----------------------------------------------------------------------------------------

struct TopArguments {
  std::string interval = "1";
  std::string count;
};

void top_command(const Context& context, const TopArguments& arguments) {
  AxiTopOptions options;
  char* end = nullptr;
  options.interval = std::strtod(arguments.interval.c_str(), &end);
  if (*end != '\0' || end == arguments.interval.c_str() || !(options.interval >= 0.1) ||
      options.interval > 3600) {
    usage_error("--interval: \"%s\" is not a time from 0.1 to 3600 seconds",
                arguments.interval.c_str());
  }
  if (!arguments.count.empty()) options.count = parse_number("--count", arguments.count);
  require_generation(parse_connection(context.connection), "which AXI monitors it has");
  Connection connection(context);
  axi_top(connection, options);
}

template <typename Arguments>
void set_action(CLI::App& command, Context& context, const std::shared_ptr<Arguments>& arguments,
                void (*run)(const Context&, const Arguments&)) {
  command.callback([&context, arguments, run] {
    context.action = [&context, arguments, run] { run(context, *arguments); };
  });
}

void add_sample(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<SampleArguments>();
  CLI::App* const command =
      family.add_subcommand("sample", "Sample all ports into tables, until Ctrl-C (RQ302)");
  command->add_option("--seconds", arguments->seconds, "For so long")->type_name("N");
  command->add_option("-n,--count", arguments->count, "So many samples")->type_name("N");
  command->add_option("-o,--output", arguments->output, "Where the run gets a folder")
      ->required()
      ->type_name("DIR");
  command
      ->add_option("--suffix", arguments->suffix,
                   "What its name ends with, after Monitor_Data_; at most 34 bytes (default rq302)")
      ->type_name("TEXT");
  command->add_flag("-f,--force", arguments->force, "Replace the tables of an earlier run");
  command->footer(
      "Four samples a second, each of what was counted in the last measuring period; over a "
      "serial\n"
      "line as fast as that goes.\n"
      "Examples:\n"
      "  zvgctl axi sample --seconds 60 -o traffic\n"
      "  zvgctl axi report traffic -o traffic.html");
  set_action(*command, context, arguments, sample_command);
}

void add_summary(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<SummaryArguments>();
  CLI::App* const command =
      family.add_subcommand("summary", "What all ports count right now (RQ300, RQ301)");
  command
      ->add_option("--labels", arguments->labels,
                   "en: English (default); zh: Chinese, the library's own text")
      ->type_name("en|zh");
  command->footer("Example:\n  zvgctl axi summary --labels zh");
  set_action(*command, context, arguments, summary_command);
}

void add_report(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<ReportArguments>();
  CLI::App* const command =
      family.add_subcommand("report", "Draw sampled tables into a web page; needs no board");
  command->add_option("DIR", arguments->folder, "The --output of 'axi sample', or a folder in it")
      ->required()
      ->type_name("DIR");
  command
      ->add_option("-o,--output", arguments->output,
                   "The page (default axi-report.html); - is standard output")
      ->type_name("FILE");
  command->add_flag("-f,--force", arguments->force, "Overwrite the page");
  command->footer(
      "The page is one file that needs no network: bandwidth, latency and outstanding "
      "transactions\n"
      "of every port over time, totals, and the ports whose timeout bit was ever set.\n"
      "Example:\n"
      "  zvgctl axi report traffic -o traffic.html");
  set_action(*command, context, arguments, report_command);
}

void add_top(CLI::App& family, Context& context) {
  auto arguments = std::make_shared<TopArguments>();
  CLI::App* const command =
      family.add_subcommand("top", "Show all ports live in the terminal; q ends it");
  command->add_option("--interval", arguments->interval, "Seconds from view to view (default 1)")
      ->type_name("SECONDS");
  command->add_option("-n,--count", arguments->count, "End after so many views")->type_name("N");
  command->footer("Example:\n  zvgctl axi top --interval 0.5");
  set_action(*command, context, arguments, top_command);
}

}  // namespace

void add_axi(CLI::App& application, Context& context) {
  CLI::App& family = add_family(application, "axi", "Monitors on the ports of the chip's bus",
                                "Examples:\n"
                                "  zvgctl axi top\n"
                                "  zvgctl axi sample --seconds 60 -o traffic\n"
                                "  zvgctl axi report traffic -o traffic.html");
  add_sample(family, context);
  add_summary(family, context);
  add_report(family, context);
  add_top(family, context);
}

}  // namespace zvgctl
