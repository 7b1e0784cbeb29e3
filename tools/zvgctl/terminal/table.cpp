#include "zvgctl/terminal/table.h"

#include <ctype.h>
#include <stdio.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "service/text.h"
#include "zvgctl/context.h"

namespace zvgctl {

namespace {

bool as_csv = false;
bool printed_one = false;

std::string trimmed(const std::string& cell) {
  const size_t first = cell.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return cell.substr(first, cell.find_last_not_of(' ') + 1 - first);
}

// "Pixel clock" is "pixel_clock".
std::string column_name(const std::string& head) {
  std::string name = trimmed(head);
  for (char& c : name) {
    const auto byte = static_cast<unsigned char>(c);
    c = isalnum(byte) != 0 ? static_cast<char>(tolower(byte)) : '_';
  }
  return name;
}

}  // namespace

void add_csv_option(CLI::App& command, Context& context) {
  command.add_flag("--csv", context.csv, "Print comma-separated values");
}

std::string csv_field(const std::string& cell) {
  const std::string text = zvg::printable(trimmed(cell));
  if (text == "-") return {};
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

void begin_tables(bool csv) {
  as_csv = csv;
}

void Table::row(std::vector<std::string> cells) {
  for (std::string& cell : cells) cell = zvg::printable(cell);
  rows_.push_back(std::move(cells));
}

void Table::print() const {
  as_csv ? print_csv() : print_columns();
}

void Table::print_columns() const {
  std::vector<size_t> widths;
  for (const auto& row : rows_) {
    widths.resize(std::max(widths.size(), row.size()));
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  for (const auto& row : rows_) {
    for (size_t i = 0; i < row.size(); ++i) {
      if (i + 1 == row.size()) {
        printf("%s", row[i].c_str());
      } else {
        printf("%-*s  ", static_cast<int>(widths[i]), row[i].c_str());
      }
    }
    printf("\n");
  }
}

void Table::print_csv() const {
  if (printed_one) printf("\n");
  printed_one = true;
  for (size_t r = 0; r < rows_.size(); ++r) {
    for (size_t i = 0; i < rows_.front().size(); ++i) {
      const std::string cell = i < rows_[r].size() ? rows_[r][i] : "";
      printf("%s%s", i == 0 ? "" : ",", (r == 0 ? column_name(cell) : csv_field(cell)).c_str());
    }
    printf("\n");
  }
}

}  // namespace zvgctl
