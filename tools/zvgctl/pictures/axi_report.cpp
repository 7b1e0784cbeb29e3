#include "zvgctl/pictures/axi_report.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>

#include "zvgctl/errors.h"
#include "zvgctl/pictures/axi_report_assets.h"
#include "zvgctl/terminal/output.h"

namespace zvgctl {

namespace {

// A chart is a few hundred pixels wide. More samples than this are drawn as the mean of some
// neighbours, with the lowest and the highest of them.
constexpr size_t most_samples = 600;
constexpr size_t thinned_points = 300;

using Column = std::vector<uint64_t>;
using Curve = std::vector<std::optional<double>>;  // nothing where there is no value

struct Series {
  const char* name;
  const char* columns;  // where it comes from, in the table's words
  Curve (*curve)(const AxiTable& table);
};

struct Chart {
  const char* title;
  const char* unit;
  std::vector<Series> series;
};

Curve plain(const AxiTable& table, const char* name) {
  const Column* const column = table.find(name);
  if (column == nullptr) return {};
  return Curve(column->begin(), column->end());
}

Curve quotient(const AxiTable& table, const char* dividend, const char* divisor) {
  const Column* const above = table.find(dividend);
  const Column* const below = table.find(divisor);
  if (above == nullptr || below == nullptr) return {};
  Curve curve(above->size());
  for (size_t i = 0; i < curve.size(); ++i) {
    if ((*below)[i] != 0) {
      curve[i] = static_cast<double>((*above)[i]) / static_cast<double>((*below)[i]);
    }
  }
  return curve;
}

const std::vector<Chart>& charts() {
  static const std::vector<Chart> all = {
      {"Bandwidth",
       "highest in the period, as counted",
       {{"write", "metric_w_bw_max",
         [](const AxiTable& table) { return plain(table, "metric_w_bw_max"); }},
        {"read", "metric_r_bw_max",
         [](const AxiTable& table) { return plain(table, "metric_r_bw_max"); }}}},
      {"Latency",
       "cycles",
       {{"write, mean", "metric_w_latency / metric_w_transnum",
         [](const AxiTable& table) {
           return quotient(table, "metric_w_latency", "metric_w_transnum");
         }},
        {"write, highest", "metric_w_latency_max",
         [](const AxiTable& table) { return plain(table, "metric_w_latency_max"); }},
        {"read, mean", "metric_r_latency / metric_r_transnum",
         [](const AxiTable& table) {
           return quotient(table, "metric_r_latency", "metric_r_transnum");
         }},
        {"read, highest", "metric_r_latency_max",
         [](const AxiTable& table) { return plain(table, "metric_r_latency_max"); }}}},
      {"Outstanding",
       "most transactions at a time",
       {{"write", "metric_w_ot_max",
         [](const AxiTable& table) { return plain(table, "metric_w_ot_max"); }},
        {"read", "metric_r_ot_max",
         [](const AxiTable& table) { return plain(table, "metric_r_ot_max"); }}}},
  };
  return all;
}

// How samples become points: each of them, or one for so many neighbours.
class Thinning {
 public:
  explicit Thinning(size_t samples)
      : samples_(samples), points_(samples <= most_samples ? samples : thinned_points) {}

  // How many samples a point stands for, at the most.
  size_t each() const { return points_ == 0 ? 1 : (samples_ + points_ - 1) / points_; }

  Json times(const Column& time) const {
    Json points = Json::array();
    for (size_t point = 0; point < points_; ++point) points.push_back(time[begin(point)]);
    return points;
  }

  // The values themselves; thinned, an object of their means, lowest and highest.
  Json values(const Curve& curve) const {
    if (points_ == samples_) return all(curve);
    Json means = Json::array();
    Json lows = Json::array();
    Json highs = Json::array();
    for (size_t point = 0; point < points_; ++point) {
      const Neighbours neighbours(curve, begin(point), begin(point + 1));
      means.push_back(neighbours.mean());
      lows.push_back(neighbours.low());
      highs.push_back(neighbours.high());
    }
    return {{"mean", means}, {"low", lows}, {"high", highs}};
  }

 private:
  // A tenth is more than a chart shows.
  static Json rounded(double value) {
    const double tenths = std::round(value * 10) / 10;
    if (tenths == std::floor(tenths)) return static_cast<int64_t>(tenths);
    return tenths;
  }

  static Json all(const Curve& curve) {
    Json points = Json::array();
    for (const auto& value : curve) points.push_back(value ? rounded(*value) : Json());
    return points;
  }

  class Neighbours {
   public:
    Neighbours(const Curve& curve, size_t first, size_t end) {
      for (size_t i = first; i < end; ++i) {
        if (!curve[i]) continue;
        low_ = count_ == 0 ? *curve[i] : std::min(low_, *curve[i]);
        high_ = count_ == 0 ? *curve[i] : std::max(high_, *curve[i]);
        sum_ += *curve[i];
        ++count_;
      }
    }
    Json mean() const { return count_ == 0 ? Json() : rounded(sum_ / static_cast<double>(count_)); }
    Json low() const { return count_ == 0 ? Json() : rounded(low_); }
    Json high() const { return count_ == 0 ? Json() : rounded(high_); }

   private:
    double low_ = 0;
    double high_ = 0;
    double sum_ = 0;
    size_t count_ = 0;
  };

  // The first sample of a point.
  size_t begin(size_t point) const { return point * samples_ / points_; }

  const size_t samples_;
  const size_t points_;
};

Json sum(const AxiTable& table, const char* name) {
  const Column* const column = table.find(name);
  if (column == nullptr) return nullptr;
  uint64_t total = 0;
  for (const uint64_t value : *column) total += value;
  return total;
}

Json highest(const AxiTable& table, const char* name) {
  const Column* const column = table.find(name);
  if (column == nullptr || column->empty()) return nullptr;
  return *std::max_element(column->begin(), column->end());
}

// The mean of all samples together, to a tenth.
Json mean(const AxiTable& table, const char* dividend, const char* divisor) {
  const Json above = sum(table, dividend);
  const Json below = sum(table, divisor);
  if (above.is_null() || below.is_null() || below == 0) return nullptr;
  return std::round(above.get<double>() / below.get<double>() * 10) / 10;
}

// A column of the table of totals.
struct Total {
  const char* title;
  Json (*value)(const AxiTable& table);
};

constexpr Total totals[] = {
    {"writes", [](const AxiTable& t) { return sum(t, "w_operation"); }},
    {"reads", [](const AxiTable& t) { return sum(t, "r_operation"); }},
    {"metric_w_sum", [](const AxiTable& t) { return sum(t, "metric_w_sum"); }},
    {"highest bandwidth, write", [](const AxiTable& t) { return highest(t, "metric_w_bw_max"); }},
    {"read", [](const AxiTable& t) { return highest(t, "metric_r_bw_max"); }},
    {"mean latency, write",
     [](const AxiTable& t) { return mean(t, "metric_w_latency", "metric_w_transnum"); }},
    {"read", [](const AxiTable& t) { return mean(t, "metric_r_latency", "metric_r_transnum"); }},
    {"highest latency, write",
     [](const AxiTable& t) { return highest(t, "metric_w_latency_max"); }},
    {"read", [](const AxiTable& t) { return highest(t, "metric_r_latency_max"); }},
    {"most outstanding, write", [](const AxiTable& t) { return highest(t, "metric_w_ot_max"); }},
    {"read", [](const AxiTable& t) { return highest(t, "metric_r_ot_max"); }},
};

// The times of the samples with a timeout.
Json timeouts(const AxiTable& table, const Column& time) {
  Json times = Json::array();
  const Column* const column = table.find("timeout");
  for (size_t i = 0; column != nullptr && i < column->size(); ++i) {
    if ((*column)[i] != 0) times.push_back(time[i]);
  }
  return times;
}

Json port_json(const AxiTable& table) {
  const Column& time = *table.find("time");
  const Thinning thinning(table.rows());
  Json port = {{"name", table.port},
               {"samples", table.rows()},
               {"each", thinning.each()},
               {"timeouts", timeouts(table, time)},
               {"times", thinning.times(time)}};
  Json values = Json::array();
  for (const Total& total : totals) values.push_back(total.value(table));
  port["totals"] = values;
  Json curves = Json::array();
  for (const Chart& chart : charts()) {
    Json of_chart = Json::array();
    for (const Series& series : chart.series) {
      const Curve curve = series.curve(table);
      // A monitor of one direction has no curve of the other.
      of_chart.push_back(curve.empty() && table.rows() > 0 ? Json() : thinning.values(curve));
    }
    curves.push_back(of_chart);
  }
  port["curves"] = curves;
  return port;
}

void replace(std::string* page, const std::string& place, const std::string& content) {
  const size_t at = page->find(place);
  if (at == std::string::npos) fail("the report's template has no %s", place.c_str());
  page->replace(at, place.size(), content);
}

}  // namespace

std::string axi_report(const std::vector<AxiTable>& tables, const std::string& source,
                       const std::vector<std::string>& problems) {
  Json data = {{"source", source}, {"problems", problems}};
  for (const Total& total : totals) data["totals"].push_back(total.title);
  for (const Chart& chart : charts()) {
    Json series = Json::array();
    for (const Series& one : chart.series) {
      series.push_back({{"name", one.name}, {"columns", one.columns}});
    }
    data["charts"].push_back({{"title", chart.title}, {"unit", chart.unit}, {"series", series}});
  }
  data["ports"] = Json::array();
  for (const AxiTable& table : tables) data["ports"].push_back(port_json(table));

  // Inside a script element, only this would end it early.
  std::string text = data.dump(-1, ' ', false, Json::error_handler_t::replace);
  for (size_t at = 0; (at = text.find("</", at)) != std::string::npos; at += 3) {
    text.replace(at, 2, "<\\/");
  }
  std::string page = report_page;
  replace(&page, "/*CHART STYLE*/", chart_style);
  replace(&page, "/*STYLE*/", report_style);
  replace(&page, "CHART LICENCE", chart_licence);
  replace(&page, "/*CHART SCRIPT*/", chart_script);
  replace(&page, "/*SCRIPT*/", report_script);
  replace(&page, "/*DATA*/", text);
  return page;
}

}  // namespace zvgctl
