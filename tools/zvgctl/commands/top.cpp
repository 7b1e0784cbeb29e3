// zvgctl top: the board at work, on a full screen.
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "service/files/input_file.h"
#include "service/number.h"
#include "service/station/board_sample.h"
#include "zvgctl/commands/families.h"
#include "zvgctl/commands/top_log.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/help.h"
#include "zvgctl/sampling.h"
#include "zvgctl/terminal/interrupts.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/screen.h"
#include "zvgctl/virtual_board.h"

namespace zvgctl {

namespace {

constexpr int least_columns = 80;
constexpr int least_rows = 24;
constexpr int wide_columns = 160;  // from here on the engines get a third column

struct TopArguments {
  std::vector<std::string> chips;
  std::string board;
  std::string csv;
  std::string interval = "1";
  std::string count = "0";
  bool append = false;
  bool force = false;
  bool once = false;
};

// The chips to measure. On a virtual board, its own; a board may have none.
std::vector<PowerMonitor> known_monitors(const TopArguments& arguments) {
  std::vector<PowerMonitor> monitors;
  for (const std::string& chip : arguments.chips) monitors.push_back(parse_power_monitor(chip));
  if (!arguments.board.empty()) {
    for (PowerMonitor& monitor : load_power_monitors(arguments.board)) {
      monitors.push_back(std::move(monitor));
    }
  } else if (monitors.empty() && on_virtual_board()) {
    try {
      monitors = load_power_monitors(virtual_board_file());
    } catch (const zvg::Error&) {
    }
  }
  return monitors;
}

// What is printed on standard error while a screen is up would end up in the middle of it.
class QuietStderr {
 public:
  QuietStderr() {
    fflush(stderr);
    saved_ = dup(STDERR_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) return;
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
  }
  ~QuietStderr() {
    dup2(saved_, STDERR_FILENO);
    close(saved_);
  }
  QuietStderr(const QuietStderr&) = delete;
  QuietStderr& operator=(const QuietStderr&) = delete;

 private:
  int saved_;
};

// A column of lines on the screen, down to the row above its last.
class Area {
 public:
  Area(Screen& screen, int row, int column, int columns)
      : screen_(screen), row_(row), column_(column), columns_(static_cast<size_t>(columns)) {}

  int row() const { return row_; }
  void skip() { ++row_; }
  void heading(const std::string& text) { line(text, Look::title); }
  void line(const std::string& text, Look look = Look::plain) {
    if (row_ < screen_.rows() - 1) {
      screen_.put(row_, column_, std::string_view(text).substr(0, columns_), look);
    }
    ++row_;
  }
  // A name, a bar of a share from 0 to 1, and what the share is.
  void bar(const std::string& name, double share, const std::string& value) {
    constexpr int name_columns = 10, value_columns = 20, most = 60;
    const int room = std::clamp(static_cast<int>(columns_) - name_columns - value_columns, 4, most);
    const int filled = static_cast<int>(std::clamp(share, 0.0, 1.0) * room + 0.5);
    line(format("%-9.9s [%s%s] %s", name.c_str(), std::string(filled, '#').c_str(),
                std::string(room - filled, '.').c_str(), value.c_str()));
  }

 private:
  Screen& screen_;
  int row_;
  int column_;
  size_t columns_;
};

void draw_clocks(Area& area, const BoardSample& sample) {
  area.heading("CLOCKS               MHz");
  for (unsigned i = 0; i < clock_count; ++i) {
    area.line(format("%-16.16s %7s", clock_names[i].description,
                     sample.mhz ? mhz_text((*sample.mhz)[i]).c_str() : "-"));
  }
}

void draw_die(Area& area, const BoardSample& sample) {
  area.heading("DIE            CELSIUS   VOLTS");
  for (uint32_t i = 0; i < die_sensors; ++i) {
    area.line(sample.die ? format("sensor %u       %7.2f  %6.4f", i, sample.die->celsius[i],
                                  sample.die->volts[i])
                         : format("sensor %u             -       -", i));
  }
  area.skip();
  if (sample.fan_percent) {
    area.bar("fan", *sample.fan_percent / 100, format("%.0f%%", *sample.fan_percent));
  } else {
    area.line("fan       -");
  }
  if (sample.memory) {
    const double all = static_cast<double>(sample.memory->used) + sample.memory->free;
    area.bar("memory", all > 0 ? sample.memory->used / all : 0,
             format("%u of %.0f", sample.memory->used, all));
  } else {
    area.line("memory    - (only the driver knows)");
  }
}

// From a row on; returns the first row below.
int draw_loads(Screen& screen, int row, const BoardSample& sample) {
  Area area(screen, row, 0, screen.columns());
  area.heading("ENGINES");
  if (sample.loads.empty()) {
    area.line(sample.memory ? "none" : "- (only the driver knows)");
    return area.row();
  }
  const int across = screen.columns() >= wide_columns ? 3 : 2;
  const int width = screen.columns() / across;
  const int count = static_cast<int>(sample.loads.size());
  const int rows = (count + across - 1) / across;
  for (int i = 0; i < count; ++i) {
    const auto& [engine, load] = sample.loads[i];
    Area cell(screen, area.row() + i % rows, i / rows * width, width - 1);
    cell.bar("engine " + std::to_string(engine), load / 100.0, format("%d%%", load));
  }
  return area.row() + rows;
}

std::string rail_text(const Rail& rail) {
  const auto number = [](const std::optional<double>& value, const char* unit) {
    return value ? format("%9.3f %s", *value, unit) : format("%9s %s", "-", unit);
  };
  return format("%-10.10s %-12.12s", rail.chip.c_str(), rail.name.c_str()) +
         number(rail.volts, "V") + number(rail.amperes, "A") + number(rail.watts(), "W");
}

void draw_rails(Screen& screen, int row, const BoardSample& sample) {
  if (sample.rails.empty()) return;
  constexpr int rail_columns = 62;
  const int across = std::clamp(screen.columns() / rail_columns, 1, 3);
  const int fitting = std::max(1, screen.rows() - 1 - row - 1) * across;
  const int all = static_cast<int>(sample.rails.size());
  const int shown = std::min(all, fitting);
  const int rows = (shown + across - 1) / across;
  Area(screen, row, 0, screen.columns())
      .heading(all > shown ? format("RAILS (%d more on a taller terminal)", all - shown) : "RAILS");
  for (int i = 0; i < shown; ++i) {
    Area(screen, row + 1 + i % rows, i / rows * rail_columns, rail_columns)
        .line(rail_text(sample.rails[i]));
  }
}

void draw(Screen& screen, const Connection& connection, const BoardSample& sample) {
  screen.clear();
  if (screen.columns() < least_columns || screen.rows() < least_rows) {
    screen.put(0, 0, format("at least %dx%d, please", least_columns, least_rows), Look::warning);
    screen.show();
    return;
  }
  const std::string card = connection.door() == Door::driver
                               ? format(", card %d", connection.route().card)
                               : std::string();
  const std::string board = on_virtual_board() ? ", virtual (" + virtual_board_name() + ")" : "";
  screen.put(0, 0, "zvgctl top  " + connection.generation_name() + card + board, Look::title);
  screen.put(0, screen.columns() - static_cast<int>(sample.time.size()) - 1, sample.time);
  const int half = std::min(screen.columns() / 2, 60) - 8;
  Area left(screen, 2, 0, half - 2);
  draw_clocks(left, sample);
  Area right(screen, 2, half, screen.columns() - half);
  draw_die(right, sample);
  const int below = draw_loads(screen, std::max(left.row(), right.row()) + 1, sample);
  draw_rails(screen, below + 1, sample);
  screen.put(screen.rows() - 1, 0, "q quits", Look::faint);
  screen.put(screen.rows() - 1, 10, sample.trouble, Look::bad);
  screen.show();
}

// A sample as text, for those who look once, or have no terminal to draw on.
void print_sample(const BoardSample& sample) {
  Table clocks({"CLOCK", "MHz", "WHAT"});
  for (unsigned i = 0; i < clock_count; ++i) {
    clocks.row({clock_names[i].name, sample.mhz ? mhz_text((*sample.mhz)[i]) : "-",
                clock_names[i].description});
  }
  printf("%s\n", sample.time.c_str());
  clocks.print();
  putchar('\n');
  Table die({"SENSOR", "CELSIUS", " VOLTS"});
  for (uint32_t i = 0; i < die_sensors; ++i) {
    die.row({std::to_string(i), sample.die ? format("%7.2f", sample.die->celsius[i]) : "      -",
             sample.die ? format("%6.4f", sample.die->volts[i]) : "     -"});
  }
  die.print();
  printf("\nfan     %s\n",
         sample.fan_percent ? format("%.0f%%", *sample.fan_percent).c_str() : "-");
  if (sample.memory) {
    printf("memory  %u of %.0f\n", sample.memory->used,
           static_cast<double>(sample.memory->used) + sample.memory->free);
  }
  if (!sample.loads.empty()) {
    putchar('\n');
    Table engines({"ENGINE", "LOAD"});
    for (const auto& [engine, load] : sample.loads) {
      engines.row({std::to_string(engine), format("%3d%%", load)});
    }
    engines.print();
  }
  if (sample.rails.empty()) return;
  const auto cell = [](const std::optional<double>& value) {
    return value ? format("%8.3f", *value) : format("%8s", "-");
  };
  putchar('\n');
  Table rails({"CHIP", "RAIL", "   VOLTS", " AMPERES", "   WATTS"});
  for (const Rail& rail : sample.rails) {
    rails.row({rail.chip, rail.name, cell(rail.volts), cell(rail.amperes), cell(rail.watts())});
  }
  rails.print();
}

// Waits for the next round; true to quit. Looks often, because Ctrl-C only ends a wait.
bool quit_asked(Screen& screen, const Connection& connection, const BoardSample& sample,
                double interval) {
  constexpr double look_s = 0.1;
  int rows = screen.rows();
  int columns = screen.columns();
  for (double left = interval; left > 0 && !InterruptNotice::came(); left -= look_s) {
    const int key = screen.wait_for_key(static_cast<int>(std::min(left, look_s) * 1000));
    if (key == 'q' || key == 'Q') return true;
    if (screen.rows() == rows && screen.columns() == columns) continue;
    rows = screen.rows();
    columns = screen.columns();
    draw(screen, connection, sample);
  }
  return InterruptNotice::came();
}

// How a sample is shown.
enum class Face { screen, text, json, log_only };

Face face_of(const Context& context, const TopArguments& arguments) {
  if (context.json) return Face::json;
  if (arguments.once) return Face::text;
  if (arguments.csv == standard_stream) return Face::log_only;
  if (isatty(STDOUT_FILENO) == 1 && isatty(STDIN_FILENO) == 1) return Face::screen;
  if (!arguments.csv.empty()) return Face::log_only;
  usage_error(
      "top draws on a terminal, and there is none; with --csv FILE it only logs, --once prints one "
      "sample, and --json prints documents");
}

ExistingLog existing_log(const TopArguments& arguments) {
  if (arguments.append && arguments.force) usage_error("give only one of --append and --force");
  if ((arguments.append || arguments.force) && arguments.csv.empty()) {
    usage_error("--append and --force are for the file of --csv");
  }
  return arguments.append  ? ExistingLog::append
         : arguments.force ? ExistingLog::replace
                           : ExistingLog::keep;
}

void show(Face face, bool once, const BoardSample& sample) {
  if (face == Face::text) return print_sample(sample);
  if (face != Face::json) return;
  once ? print_json(to_json(sample)) : print_json_line(to_json(sample));
}

void top_command(const Context& context, const TopArguments& arguments) {
  const double interval = parse_interval(arguments.interval);
  const uint64_t count = arguments.once ? 1 : parse_number("--count", arguments.count);
  const ExistingLog existing = existing_log(arguments);
  require_generation(parse_connection(context.connection), "the clock and sensor block");
  const Face face = face_of(context, arguments);
  Connection connection(context);
  const std::vector<PowerMonitor> monitors = known_monitors(arguments);
  TopLog log(arguments.csv, existing);
  std::string missing;  // the first reason why something that is there is not in a sample
  const auto take_sample = [&] {
    BoardSample sample = sample_board(connection, monitors);
    if (sample.access_failed && missing.empty()) missing = sample.trouble;
    log.write(sample);
    return sample;
  };
  if (face != Face::screen) {
    repeat(interval, count, [&](uint64_t) { show(face, arguments.once, take_sample()); });
    if (!missing.empty()) fail("a part of the samples is missing: %s", missing.c_str());
    return;
  }
  const InterruptNotice interrupt;
  Screen screen("top");
  const QuietStderr quiet;
  for (uint64_t i = 0; count == 0 || i < count; ++i) {
    const BoardSample sample = take_sample();
    draw(screen, connection, sample);
    if (quit_asked(screen, connection, sample, interval)) break;
  }
}

}  // namespace

void add_board_top(CLI::App& application, Context& context) {
  CLI::App* const command =
      application.add_subcommand("top", "Watch clocks, temperatures, loads and rails live");
  auto arguments = std::make_shared<TopArguments>();
  command
      ->add_option("--csv", arguments->csv, "Log every sample into this file; - is standard output")
      ->type_name("FILE");
  command->add_flag("--append", arguments->append, "Go on in the file of --csv if it exists");
  command->add_flag("-f,--force", arguments->force, "Replace the file of --csv if it exists");
  command->add_flag("--once", arguments->once, "Print one sample, without a screen");
  command->add_option("--chip", arguments->chips, "A power monitor, as for 'power read'")
      ->type_name("CHIP:BUS:ADDRESS[:MILLIOHMS,...]");
  command->add_option("--board", arguments->board, "The [[power_monitors]] of this board file")
      ->type_name("FILE");
  command->add_option("-i,--interval", arguments->interval, "Seconds between two samples [1]")
      ->type_name("SECONDS");
  command->add_option("-n,--count", arguments->count, "Stop after so many; 0: never [0]")
      ->type_name("N");
  add_hidden_alias(*command, "-c", arguments->count);
  command->footer(
      "q quits. Needs 80x24 at least. Without a terminal it only logs; with --json every sample\n"
      "is a document on a line of its own. Engine loads and video memory are the driver's; past\n"
      "it, a sample takes as long as the sensors' conversions.\n"
      "Examples:\n"
      "  zvgctl --sim busy top\n"
      "  zvgctl top --csv board.csv --chip ltc2990:1:0x4c:5,5\n"
      "  zvgctl top --csv board.csv --append --count 600 > /dev/null\n"
      "  zvgctl top --once --json");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { top_command(context, *arguments); };
  });
}

}  // namespace zvgctl
