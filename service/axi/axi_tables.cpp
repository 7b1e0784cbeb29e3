#include "service/axi/axi_tables.h"

#include <algorithm>
#include <charconv>

#include "service/board/error.h"
#include "service/files/input_file.h"

namespace zvg {

namespace {

namespace fs = std::filesystem;

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(" \r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \r") - first + 1);
}

// Calls each(field) for what stands between the tabs of a line.
template <typename Each>
void for_fields(std::string_view line, Each each) {
  while (true) {
    const size_t tab = line.find('\t');
    each(trimmed(line.substr(0, tab)));
    if (tab == std::string_view::npos) return;
    line.remove_prefix(tab + 1);
  }
}

// Counters are printed as signed numbers of 32 bits, addresses in hexadecimal.
bool parse_value(std::string_view text, uint64_t* value) {
  const char* const end = text.data() + text.size();
  if (text.starts_with("0x")) {
    return text.size() > 2 && std::from_chars(text.data() + 2, end, *value, 16).ptr == end;
  }
  int32_t number = 0;
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  *value = static_cast<uint32_t>(number);
  return !text.empty() && error == std::errc() && stop == end;
}

// Days of samples, four times a second.
constexpr size_t most_bytes = size_t{1} << 30;

}  // namespace

fs::path axi_table_path(const fs::path& folder, std::string_view port) {
  return folder / (std::string(port) + ".dat");
}

const std::vector<uint64_t>* AxiTable::find(std::string_view column) const {
  const auto found = std::find(columns.begin(), columns.end(), column);
  return found == columns.end() ? nullptr : &values[static_cast<size_t>(found - columns.begin())];
}

AxiTable read_axi_table(const fs::path& folder, std::string_view port,
                        std::vector<std::string>* problems) {
  const fs::path path = axi_table_path(folder, port);
  const std::string content = read_input_text(path, most_bytes, "a table of an AXI monitor");
  AxiTable table;
  table.port = port;
  std::string_view rest = content;
  for (size_t number = 1; !rest.empty(); ++number) {
    const size_t newline = rest.find('\n');
    const std::string_view line = rest.substr(0, newline);
    rest.remove_prefix(newline == std::string_view::npos ? rest.size() : newline + 1);
    const auto problem = [&](const char* text) {
      problems->push_back(format("%s:%zu: %s", path.filename().c_str(), number, text));
    };
    if (number == 1) {
      for_fields(line, [&](std::string_view name) { table.columns.emplace_back(name); });
      if (table.columns.front() != "time" || newline == std::string_view::npos) {
        throw_error(
            ErrorKind::bad_data,
            "%s:1: this is no table of an AXI monitor: its header does not begin with \"time\"",
            path.c_str());
      }
      table.values.resize(table.columns.size());
      continue;
    }
    if (newline == std::string_view::npos) {
      problem("the row is cut short; it is left out");
      break;
    }
    std::vector<uint64_t> row;
    bool good = true;
    for_fields(line, [&](std::string_view field) {
      uint64_t value = 0;
      good = parse_value(field, &value) && good;
      row.push_back(value);
    });
    if (!good || row.size() != table.columns.size()) {
      problem(row.size() < table.columns.size() ? "the row is cut short; it is left out"
                                                : "this is no row; it is left out");
      continue;
    }
    for (size_t column = 0; column < row.size(); ++column) {
      table.values[column].push_back(row[column]);
    }
  }
  if (table.columns.empty())
    throw_error(ErrorKind::bad_data, "%s is empty: expected a table with a header", path.c_str());
  return table;
}

std::vector<AxiTable> read_axi_tables(const fs::path& folder, std::vector<std::string>* problems) {
  std::vector<AxiTable> tables;
  for (const std::string_view port : rq302_axi_ports) {
    std::error_code error;
    if (!fs::exists(axi_table_path(folder, port), error)) {
      problems->push_back(std::string(port) + ".dat: there is no such table");
      continue;
    }
    tables.push_back(read_axi_table(folder, port, problems));
  }
  if (tables.empty()) {
    throw_error(ErrorKind::bad_data, "%s has no table of an AXI monitor, such as %s.dat",
                folder.c_str(), std::string(rq302_axi_ports[0]).c_str());
  }
  return tables;
}

}  // namespace zvg
