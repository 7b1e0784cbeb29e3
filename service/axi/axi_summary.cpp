#include "service/axi/axi_summary.h"

#include <ctype.h>
#include <stdlib.h>
#include <util_zvg.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

#include "service/board/error.h"
#include "service/files/work_folder.h"

namespace zvg {

namespace {

constexpr char library_file[] = "axiMonitorData";
constexpr size_t rq301_ports = 26;

// What the library's labels begin with, before their colon. A label that both directions have is
// told by the line before it.
struct Label {
  std::string_view text;
  const char* english;
  const char* english_of_reads = nullptr;
};

constexpr Label labels[] = {
    {"active的总cycle数", "active cycles"},
    {"读active的总cycle数", "read active cycles"},
    {"写active的总cycle数", "write active cycles"},
    {"写交易总延时", "write latency, sum"},
    {"写交易总trans次数", "write transactions, sum"},
    {"写数据总字节数", "bytes written"},
    {"写outstanding累计数", "writes outstanding, sum"},
    {"写交易次数", "write transactions"},
    {"完整写数据（wstrb全F）的次数", "full writes"},
    {"不完整写数据（wstrb非全0）的次数", "partial writes"},
    {"burst的交易数", "write bursts", "read bursts"},
    {"single的交易数", "single writes", "single reads"},
    {"最大带宽\\吞吐量,在写周期内", "highest write bandwidth"},
    {"最大写延时", "highest write latency"},
    {"最小写延时", "lowest write latency"},
    {"最大写ot数", "most writes outstanding"},
    {"最小写ot数", "fewest writes outstanding"},
    {"读交易总延时", "read latency, sum"},
    {"读交易总trans次数", "read transactions, sum"},
    {"读数据(r)cycle数", "read data cycles"},
    {"读ot累计数", "reads outstanding, sum"},
    {"读交易次数", "read transactions"},
    {"最大带宽\\吞吐量,在读周期内", "highest read bandwidth"},
    {"最大读延时", "highest read latency"},
    {"最小读延时", "lowest read latency"},
    {"最大读ot数", "most reads outstanding"},
    {"最小读ot数", "fewest reads outstanding"},
};

std::string english(std::string_view text, bool among_reads) {
  for (const Label& label : labels) {
    if (label.text != text) continue;
    return among_reads && label.english_of_reads != nullptr ? label.english_of_reads
                                                            : label.english;
  }
  return std::string(text);
}

std::vector<AxiSummary> parse(const std::string& text) {
  std::vector<AxiSummary> summaries;
  std::istringstream lines(text);
  bool among_reads = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('\t') && line.ends_with(':')) {
      summaries.push_back({line.substr(1, line.size() - 2), {}});
      continue;
    }
    // The label ends with a colon, either kind.
    constexpr std::string_view wide_colon = "：";
    size_t end = line.find(": ");
    size_t value = end + 2;
    if (end == std::string::npos) {
      end = line.find(wide_colon);
      value = end + wide_colon.size();
    }
    if (end == std::string::npos || summaries.empty()) continue;
    const std::string label = line.substr(0, end);
    summaries.back().counters.emplace_back(
        english(label, among_reads),
        static_cast<uint32_t>(strtol(line.c_str() + value, nullptr, 10)));
    if (label.find("读") != std::string::npos) among_reads = true;
    if (label.find("写") != std::string::npos) among_reads = false;
  }
  return summaries;
}

}  // namespace

const uint32_t* AxiSummary::find(const std::string& label) const {
  for (const auto& [name, value] : counters) {
    if (name == label) return &value;
  }
  return nullptr;
}

Json to_json(const AxiSummary& summary) {
  Json counters = Json::object();
  for (const auto& [label, value] : summary.counters) {
    std::string key;
    for (const char c : label) {
      if (isalnum(static_cast<unsigned char>(c)) != 0) {
        key += static_cast<char>(tolower(static_cast<unsigned char>(c)));
      } else if (!key.ends_with('_')) {
        key += '_';
      }
    }
    counters[key] = value;
  }
  return {{"port", summary.port}, {"counters", counters}};
}

std::vector<AxiSummary> read_axi_summaries(std::string* text) {
  const WorkFolder folder(std::filesystem::temp_directory_path());
  const int result = zvgMonitorAxiTrans_RQ301();
  std::ifstream file(library_file, std::ios::binary);
  text->assign(std::istreambuf_iterator<char>(file), {});
  std::vector<AxiSummary> summaries = parse(*text);
  if (result != 0 || summaries.size() != rq301_ports) {
    throw_error(ErrorKind::file,
                "the library could not write its summary into %s: is the disk full?",
                folder.path().parent_path().c_str());
  }
  return summaries;
}

}  // namespace zvg
