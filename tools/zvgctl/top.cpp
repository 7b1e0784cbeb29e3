// zvgctl top: the board at work, on a full screen.
#include <curses.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

// curses.h has macros of common names.
#undef OK
#undef timeout

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "zvgctl/board_sample.h"
#include "zvgctl/connection.h"
#include "zvgctl/errors.h"
#include "zvgctl/families.h"
#include "zvgctl/interrupts.h"
#include "zvgctl/number.h"
#include "zvgctl/output.h"
#include "zvgctl/sampling.h"
#include "zvgctl/virtual_board.h"

namespace zvgctl {

namespace {

constexpr int least_columns = 80;
constexpr int least_lines = 24;
constexpr int wide_columns = 160;  // from here on the engines get a third column

struct TopArguments {
  std::vector<std::string> chips;
  std::string board;
  std::string csv;
  std::string interval = "1";
  std::string count = "0";
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
    } catch (const Failure&) {
    }
  }
  return monitors;
}

// The terminal as a screen. What anything else prints on standard error meanwhile would end up in
// the middle of it, and is dropped.
class Screen {
 public:
  Screen() {
    fflush(stderr);
    error_ = dup(STDERR_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
      dup2(nowhere, STDERR_FILENO);
      close(nowhere);
    }
    restore_terminal_when_interrupted("\033[?1049l\033[?25h");
    if (newterm(nullptr, stdout, stdin) == nullptr) {
      give_back();
      fail("cannot draw on this terminal: is TERM right?");
    }
    cbreak();
    noecho();
    keypad(stdscr, TRUE);
    curs_set(0);
  }
  ~Screen() {
    endwin();
    give_back();
  }
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

 private:
  void give_back() {
    restore_terminal_when_interrupted(nullptr);
    dup2(error_, STDERR_FILENO);
    close(error_);
  }

  int error_;
};

// Draws inside the screen: what does not fit is cut off.
class Area {
 public:
  Area(int line, int column, int columns) : line_(line), column_(column), columns_(columns) {}

  int line() const { return line_; }
  void skip() { ++line_; }
  void heading(const std::string& text) {
    attron(A_BOLD);
    text_line(text);
    attroff(A_BOLD);
  }
  void text_line(const std::string& text) {
    if (line_ < LINES - 1) mvaddnstr(line_, column_, text.c_str(), columns_);
    ++line_;
  }
  // A name, a bar of a share from 0 to 1, and what the share is.
  void bar(const std::string& name, double share, const std::string& value) {
    constexpr int name_columns = 10, value_columns = 20;
    const int room = std::max(4, std::min(columns_ - name_columns - value_columns, 60));
    const int filled = static_cast<int>(std::clamp(share, 0.0, 1.0) * room + 0.5);
    text_line(format("%-9.9s [%s%s] %s", name.c_str(), std::string(filled, '#').c_str(),
                     std::string(room - filled, '.').c_str(), value.c_str()));
  }

 private:
  int line_;
  int column_;
  int columns_;
};

void draw_clocks(Area& area, const BoardSample& sample) {
  area.heading("CLOCKS               MHz");
  for (unsigned i = 0; i < clock_count; ++i) {
    area.text_line(format("%-16.16s %7s", clock_names[i].description,
                          sample.mhz ? mhz_text((*sample.mhz)[i]).c_str() : "-"));
  }
}

void draw_die(Area& area, const BoardSample& sample) {
  area.heading("DIE            CELSIUS   VOLTS");
  for (uint32_t i = 0; i < die_sensors; ++i) {
    area.text_line(sample.die ? format("sensor %u       %7.2f  %6.4f", i, sample.die->celsius[i],
                                       sample.die->volts[i])
                              : format("sensor %u             -       -", i));
  }
  area.skip();
  if (sample.fan_percent) {
    area.bar("fan", *sample.fan_percent / 100, format("%.0f%%", *sample.fan_percent));
  } else {
    area.text_line("fan       -");
  }
  if (sample.memory) {
    const double all = static_cast<double>(sample.memory->used) + sample.memory->free;
    area.bar("memory", all > 0 ? sample.memory->used / all : 0,
             format("%u of %.0f", sample.memory->used, all));
  } else {
    area.text_line("memory    - (only the driver knows)");
  }
}

// From the line of the area on; returns the first line below.
int draw_loads(int line, int columns, const BoardSample& sample) {
  Area title(line, 0, columns);
  title.heading("ENGINES");
  if (sample.loads.empty()) {
    title.text_line(sample.memory ? "none" : "- (only the driver knows)");
    return title.line();
  }
  const int across = columns >= wide_columns ? 3 : 2;
  const int width = columns / across;
  const int rows = (static_cast<int>(sample.loads.size()) + across - 1) / across;
  for (int i = 0; i < static_cast<int>(sample.loads.size()); ++i) {
    const auto& [engine, load] = sample.loads[i];
    Area cell(title.line() + i % rows, i / rows * width, width - 1);
    cell.bar("engine " + std::to_string(engine), load / 100.0, format("%d%%", load));
  }
  return title.line() + rows;
}

std::string rail_text(const Rail& rail) {
  const auto number = [](const std::optional<double>& value, const char* unit) {
    return value ? format("%9.3f %s", *value, unit) : format("%9s %s", "-", unit);
  };
  return format("%-10.10s %-12.12s", rail.chip.c_str(), rail.name.c_str()) +
         number(rail.volts, "V") + number(rail.amperes, "A") + number(rail.watts(), "W");
}

void draw_rails(int line, int columns, const BoardSample& sample) {
  if (sample.rails.empty()) return;
  // Two rails a line where there is room.
  constexpr int rail_columns = 62;
  const int across = std::clamp(columns / rail_columns, 1, 3);
  const int rows = std::max(1, LINES - 1 - line - 1);
  Area(line, 0, columns).heading("RAILS");
  const int fitting = rows * across;
  const int all = static_cast<int>(sample.rails.size());
  const int needed = (std::min(all, fitting) + across - 1) / across;
  for (int i = 0; i < std::min(all, fitting); ++i) {
    Area(line + 1 + i % needed, i / needed * rail_columns, rail_columns)
        .text_line(rail_text(sample.rails[i]));
  }
  if (all > fitting) {
    Area(line, 8, columns - 8).text_line(format("(%d more: a taller terminal shows them)",
                                                all - fitting));
  }
}

void draw(const Connection& connection, const BoardSample& sample) {
  erase();
  if (COLS < least_columns || LINES < least_lines) {
    Area(0, 0, COLS).text_line(format("at least %dx%d, please", least_columns, least_lines));
    refresh();
    return;
  }
  attron(A_REVERSE);
  const std::string title =
      format(" zvgctl top  %s%s%s", connection.generation_name().c_str(),
             connection.options().door == Door::driver
                 ? format(", card %d", connection.options().card).c_str()
                 : "",
             on_virtual_board() ? (", virtual (" + virtual_board_name() + ")").c_str() : "");
  mvprintw(0, 0, "%-*.*s", COLS, COLS, title.c_str());
  mvaddstr(0, COLS - static_cast<int>(sample.time.size()) - 1, sample.time.c_str());
  attroff(A_REVERSE);
  const int half = std::min(COLS / 2, 60);
  Area left(2, 0, half - 2);
  draw_clocks(left, sample);
  Area right(2, half - 8, COLS - half + 8);
  draw_die(right, sample);
  const int below = draw_loads(std::max(left.line(), right.line()) + 1, COLS, sample);
  draw_rails(below + 1, COLS, sample);
  mvaddnstr(LINES - 1, 0, sample.trouble.empty() ? "q quits" : ("q quits   " + sample.trouble).c_str(),
            COLS - 1);
  refresh();
}

class CsvFile {
 public:
  explicit CsvFile(const std::string& path) : path_(path) {
    if (path.empty()) return;
    file_ = fopen(path.c_str(), "we");
    if (file_ == nullptr) fail("cannot create %s: %s", path.c_str(), strerror(errno));
  }
  ~CsvFile() {
    if (file_ != nullptr) fclose(file_);
  }
  CsvFile(const CsvFile&) = delete;
  CsvFile& operator=(const CsvFile&) = delete;

  void write(const BoardSample& sample) {
    if (file_ == nullptr) return;
    // Other columns than before, because something came or went, get their names again.
    const std::string header = csv_header(sample);
    if (header != header_) fputs(header.c_str(), file_);
    header_ = header;
    fputs(csv_line(sample).c_str(), file_);
    if (fflush(file_) != 0) fail("cannot write %s: %s", path_.c_str(), strerror(errno));
  }

 private:
  const std::string path_;
  FILE* file_ = nullptr;
  std::string header_;
};

// Waits for the next round; true to quit.
bool quit_asked(const Connection& connection, const BoardSample& sample, double interval) {
  constexpr double look_s = 0.1;
  for (double left = interval; left > 0 && !InterruptNotice::came();) {
    wtimeout(stdscr, static_cast<int>(std::min(left, look_s) * 1000));
    const int key = getch();
    if (key == 'q' || key == 'Q') return true;
    if (key == KEY_RESIZE) draw(connection, sample);
    if (key == ERR) left -= look_s;
  }
  return InterruptNotice::came();
}

void top_command(const Context& context, const TopArguments& arguments) {
  if (context.json) usage_error("top draws on a terminal; use --csv FILE for a log");
  const double interval = parse_interval(arguments.interval);
  const uint64_t count = parse_number("--count", arguments.count);
  require_generation(parse_connection(context.connection), "the clock and sensor block");
  const bool terminal = isatty(STDOUT_FILENO) == 1 && isatty(STDIN_FILENO) == 1;
  if (!terminal && arguments.csv.empty()) {
    usage_error("top draws on a terminal, and there is none; with --csv FILE it only logs");
  }
  Connection connection(context);
  const std::vector<PowerMonitor> monitors = known_monitors(arguments);
  CsvFile log(arguments.csv);
  if (!terminal) {
    repeat(interval, count, [&](uint64_t) { log.write(sample_board(connection, monitors)); });
    return;
  }
  const InterruptNotice interrupt;
  const Screen screen;
  for (uint64_t i = 0; count == 0 || i < count; ++i) {
    const BoardSample sample = sample_board(connection, monitors);
    log.write(sample);
    draw(connection, sample);
    if (quit_asked(connection, sample, interval)) break;
  }
}

}  // namespace

void add_top(CLI::App& application, Context& context) {
  CLI::App* const command =
      application.add_subcommand("top", "Watch clocks, temperatures, loads and rails live");
  auto arguments = std::make_shared<TopArguments>();
  command->add_option("--csv", arguments->csv, "Log every sample into this file")->type_name("FILE");
  command->add_option("--chip", arguments->chips, "A power monitor, as for 'power read'")
      ->type_name("CHIP:BUS:ADDRESS[:MILLIOHMS,...]");
  command->add_option("--board", arguments->board, "The [[power_monitors]] of this board file")
      ->type_name("FILE");
  command->add_option("-i,--interval", arguments->interval, "Seconds between two samples [1]")
      ->type_name("SECONDS");
  command->add_option("-c,--count", arguments->count, "Stop after so many; 0: never [0]")
      ->type_name("N");
  command->footer(
      "q quits. Needs 80x24 at least. Without a terminal it only logs. Engine loads and video memory\n"
      "are the driver's; past it, a sample takes as long as the sensors' conversions.\n"
      "Examples:\n"
      "  zvgctl --sim busy top\n"
      "  zvgctl top --csv board.csv --chip ltc2990:1:0x4c:5,5\n"
      "  zvgctl top --csv board.csv --count 600 > /dev/null");
  command->callback([&context, arguments] {
    context.action = [&context, arguments] { top_command(context, *arguments); };
  });
}

}  // namespace zvgctl
