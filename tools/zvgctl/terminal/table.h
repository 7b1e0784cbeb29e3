// Tables: columns for people, or comma-separated values for spreadsheets and programs.
#ifndef ZVGCTL_TABLE_H
#define ZVGCTL_TABLE_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace zvgctl {

struct Context;

// Adds --csv to a command that prints a table: Table::print() then writes comma-separated values. A
// command that has more to say than its tables looks at context.csv.
void add_csv_option(CLI::App& command, Context& context);

// How tables are printed from now on.
void begin_tables(bool csv);

// A field of a line of them: quoted where it must be, empty for "-".
std::string csv_field(const std::string& cell);

// Columns as wide as their widest cell, two blanks apart. As comma-separated values (RFC 4180, but
// for its line ends) the names of the columns are snake_case, and what is "-" is empty; an empty
// line stands between two tables.
class Table {
 public:
  explicit Table(std::vector<std::string> header) : rows_{std::move(header)} {}
  // Cells may hold what boards and files say: it is shown as a terminal may show it.
  void row(std::vector<std::string> cells);
  void print() const;

 private:
  void print_columns() const;
  void print_csv() const;

  std::vector<std::vector<std::string>> rows_;
};

}  // namespace zvgctl

#endif  // ZVGCTL_TABLE_H
