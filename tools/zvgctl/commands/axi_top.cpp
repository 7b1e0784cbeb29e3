#include "zvgctl/commands/axi_top.h"

#include <util_zvg.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "service/axi/axi_summary.h"
#include "service/axi/axi_tables.h"
#include "service/files/work_folder.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/interrupts.h"
#include "zvgctl/terminal/output.h"
#include "zvgctl/terminal/screen.h"

namespace zvgctl {

namespace {

using Count = std::optional<uint64_t>;

struct Direction {
  Count bandwidth;  // the highest
  Count latency;    // of all transactions together
  Count transactions;
  Count latency_max;
  Count outstanding_max;
};

struct Port {
  std::string name;
  bool timeout = false;
  bool has_data = false;
  Direction write;
  Direction read;
};

// A sample of the RQ302 monitors, by way of the library's tables.
std::vector<Port> sample_rq302() {
  constexpr char suffix[] = "top";
  const WorkFolder folder(std::filesystem::temp_directory_path());
  {
    const QuietStdout quiet;
    zvgMonitorAxiTrans_RQ302(0, suffix);
  }
  std::vector<std::string> problems;
  std::vector<Port> ports;
  for (const AxiTable& table :
       read_axi_tables(folder.path() / ("Monitor_Data_" + std::string(suffix)), &problems)) {
    const auto value = [&](const std::string& column) -> Count {
      const auto* const values = table.find(column);
      return values == nullptr || values->empty() ? Count() : values->back();
    };
    const auto direction = [&](const std::string& prefix) {
      return Direction{value(prefix + "bw_max"), value(prefix + "latency"),
                       value(prefix + "transnum"), value(prefix + "latency_max"),
                       value(prefix + "ot_max")};
    };
    ports.push_back({table.port, value("timeout").value_or(0) != 0, table.rows() > 0,
                     direction("metric_w_"), direction("metric_r_")});
  }
  return ports;
}

std::vector<Port> sample_rq301() {
  std::string text;
  std::vector<Port> ports;
  for (const AxiSummary& summary : read_axi_summaries(&text)) {
    const auto direction = [&](const std::string& word) {
      const auto value = [&](const std::string& label) -> Count {
        const uint32_t* const found = summary.find(label);
        return found == nullptr ? Count() : *found;
      };
      return Direction{value("highest " + word + " bandwidth"), value(word + " latency, sum"),
                       value(word + " transactions, sum"), value("highest " + word + " latency"),
                       value("most " + word + "s outstanding")};
    };
    ports.push_back({summary.port, false, true, direction("write"), direction("read")});
  }
  return ports;
}

std::string brief(double value) {
  const struct {
    double size;
    const char* unit;
  } units[] = {{1e9, "G"}, {1e6, "M"}, {1e3, "k"}};
  for (const auto& unit : units) {
    if (value >= unit.size) return format("%.3g%s", value / unit.size, unit.unit);
  }
  return format("%.0f", value);
}

std::string number(const Count& count) {
  return count ? brief(static_cast<double>(*count)) : "-";
}

std::string mean(const Count& sum, const Count& of) {
  if (!sum || !of) return "-";
  return *of == 0 ? "0" : brief(static_cast<double>(*sum) / static_cast<double>(*of));
}

constexpr int name_width = 9;
constexpr int number_width = 8;
constexpr int direction_width = 4 * number_width;
constexpr int widest_bar = 12;

class View {
 public:
  explicit View(Screen& screen) : screen_(screen) {}

  void draw(const std::string& title, const std::vector<Port>& ports, uint64_t sample) {
    // What there is most of fills the bars.
    for (const Port& port : ports) {
      for (const Direction* direction : {&port.write, &port.read}) {
        most_ = std::max(most_, direction->bandwidth.value_or(0));
      }
    }
    bar_width_ =
        std::clamp((screen_.columns() - name_width - 2 * direction_width - 4) / 2, 0, widest_bar);
    screen_.clear();
    screen_.put(0, 0, title, Look::title);
    screen_.put(0, static_cast<int>(title.size()) + 2,
                format("sample %llu   q ends", static_cast<unsigned long long>(sample)),
                Look::faint);
    const int write = name_width + 1;
    const int read = write + direction_width + bar_width_ + 2;
    screen_.put(2, 0, "port", Look::faint);
    head(write, "write");
    head(read, "read");
    int row = first_row;
    for (const Port& port : ports) {
      const Look look = port.timeout ? Look::bad : port.has_data ? Look::plain : Look::faint;
      screen_.put(row, 0, port.name, look);
      if (port.has_data) {
        show(row, write, port.write);
        show(row, read, port.read);
      } else {
        screen_.put(row, write, "no new data", Look::faint);
      }
      if (port.timeout) screen_.put(row, read + direction_width + bar_width_, "timeout", Look::bad);
      ++row;
    }
    if (row > screen_.rows()) {
      screen_.put(screen_.rows() - 1, 0, format("... %d more", row - screen_.rows() + 1),
                  Look::faint);
    }
    screen_.show();
  }

 private:
  static constexpr int first_row = 3;

  void cell(int row, int column, const std::string& text, Look look = Look::plain) {
    screen_.put(row, column, format("%*s", number_width - 1, text.c_str()), look);
  }

  void head(int column, const char* direction) {
    screen_.put(1, column + 1, direction, Look::title);
    const char* const titles[] = {"bandw.", "latency", "highest", "outst."};
    for (int i = 0; i < 4; ++i) cell(2, column + i * number_width, titles[i], Look::faint);
  }

  void show(int row, int column, const Direction& direction) {
    cell(row, column, number(direction.bandwidth));
    cell(row, column + number_width, mean(direction.latency, direction.transactions));
    cell(row, column + 2 * number_width, number(direction.latency_max));
    cell(row, column + 3 * number_width, number(direction.outstanding_max));
    if (most_ == 0 || !direction.bandwidth) return;
    const double part = static_cast<double>(*direction.bandwidth) / static_cast<double>(most_);
    const Look look = part > 0.9 ? Look::bad : part > 0.6 ? Look::warning : Look::good;
    screen_.bar(row, column + direction_width, bar_width_, part, look);
  }

  Screen& screen_;
  uint64_t most_ = 0;
  int bar_width_ = 0;
};

}  // namespace

void axi_top(const Connection& connection, const AxiTopOptions& options) {
  const bool rq302 = connection.generation_name() == "RQ302";
  const std::string title = connection.generation_name() + " AXI bus";
  const InterruptNotice ctrl_c;
  Screen screen("axi top");
  View view(screen);
  std::vector<Port> shown;
  for (uint64_t sample = 1; !InterruptNotice::came(); ++sample) {
    std::vector<Port> ports = rq302 ? sample_rq302() : sample_rq301();
    // Until its measuring period is over, a port shows what it last counted.
    for (size_t i = 0; i < ports.size() && i < shown.size(); ++i) {
      if (!ports[i].has_data && ports[i].name == shown[i].name) ports[i] = shown[i];
    }
    shown = ports;
    view.draw(title, shown, sample);
    const int key = screen.wait_for_key(static_cast<int>(options.interval * 1000));
    if (key == 'q' || key == 'Q' || sample == options.count) return;
  }
}

}  // namespace zvgctl
