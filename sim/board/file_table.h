// What a model reads its section of a board file with.
#ifndef ZVGSIM_BOARD_FILE_TABLE_H
#define ZVGSIM_BOARD_FILE_TABLE_H

#include <toml++/impl/forward_declarations.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/signal.h"

namespace zvgsim {

// The file that is being read, and what is wrong with it so far: a line each, "FILE:LINE: KEY:
// ...".
struct FileReport {
  std::filesystem::path path;
  std::vector<std::string> problems{};

  void add(const toml::node& where, const std::string& key, const std::string& text);
};

// A value of the file. Readers store it and return true when it is as they expect it; otherwise
// they report what they expected and what they found.
class FileValue {
 public:
  FileValue(FileReport& report, const toml::node& node, std::string key)
      : report_(&report), node_(&node), key_(std::move(key)) {}

  // A whole number. Those from 2^63 on are hexadecimal strings: TOML's integers end there.
  template <typename Number>
  bool number(Number* value, uint64_t minimum = 0,
              uint64_t maximum = std::numeric_limits<Number>::max()) const {
    uint64_t found;
    if (!whole(&found, minimum, maximum)) return false;
    *value = static_cast<Number>(found);
    return true;
  }
  bool string(std::string* value, size_t maximum = std::numeric_limits<size_t>::max()) const;
  bool signal(Signal* value) const;
  // As signal(), for one that never leaves the range.
  bool signal(Signal* value, double minimum, double maximum) const;

  // What stands there, without a word when it is something else.
  std::optional<int64_t> integer() const;
  std::optional<double> real() const;
  std::optional<std::string_view> text() const;
  bool is_array() const;
  std::vector<FileValue> elements() const;  // of an array

  void expected(const std::string& what) const;
  void problem(const std::string& text) const { report_->add(*node_, key_, text); }

 private:
  friend class FileTable;

  bool whole(uint64_t* value, uint64_t minimum, uint64_t maximum) const;

  FileReport* report_;
  const toml::node* node_;
  std::string key_;
};

// As addresses are told: "0x1F".
std::string hex(uint64_t value);

// '"a", "b" or "c"', of the names in rows.
template <typename Rows>
std::string quoted_names(const Rows& rows) {
  std::string text;
  for (size_t i = 0; i < std::size(rows); ++i) {
    text += i == 0 ? "" : i + 1 == std::size(rows) ? " or " : ", ";
    text += '"';
    text += rows[i].name;
    text += '"';
  }
  return text;
}

// A table of the file. Every key that is looked up counts as known; when the table is done with,
// the others are reported.
class FileTable {
 public:
  using Reader = std::function<void(FileTable&)>;

  FileTable(FileReport& report, const toml::table& table, std::string name)
      : report_(report), table_(table), name_(std::move(name)) {}
  FileTable(const FileTable&) = delete;
  FileTable& operator=(const FileTable&) = delete;
  ~FileTable() { report_unknown(); }

  bool has(std::string_view part) const;
  std::optional<FileValue> find(std::string_view part);

  // Each stores the key's value and returns true when it is there and right.
  template <typename Number>
  bool number(std::string_view part, Number* value, uint64_t minimum = 0,
              uint64_t maximum = std::numeric_limits<Number>::max()) {
    const auto found = find(part);
    return found && found->number(value, minimum, maximum);
  }
  template <typename Number>
  bool number(std::string_view part, std::optional<Number>* value, uint64_t minimum,
              uint64_t maximum) {
    Number found;
    if (!number(part, &found, minimum, maximum)) return false;
    *value = found;
    return true;
  }
  // As number(), for keys that the table cannot do without. The second is one of `count` things.
  template <typename Number>
  bool needed(std::string_view part, Number* value, uint64_t minimum, uint64_t maximum) {
    if (number(part, value, minimum, maximum)) return true;
    if (!has(part)) problem("expected a key '" + std::string(part) + "'");
    return false;
  }
  bool index(std::string_view part, unsigned* value, unsigned count);
  // A number that need not be whole.
  bool real(std::string_view part, double* value, double minimum, double maximum);
  bool signal(std::string_view part, Signal* value);
  bool signal(std::string_view part, Signal* value, double minimum, double maximum);
  bool boolean(std::string_view part, bool* value);
  bool boolean(std::string_view part, std::optional<bool>* value);
  bool text(std::string_view part, std::string* value,
            size_t maximum = std::numeric_limits<size_t>::max());
  // One of the names in rows of {name, value}.
  template <typename Rows, typename Value>
  bool choice(std::string_view part, const Rows& rows, Value* value) {
    const auto found = find(part);
    if (!found) return false;
    for (const auto& row : rows) {
      if (found->text() != row.name) continue;
      *value = row.value;
      return true;
    }
    found->expected(quoted_names(rows));
    return false;
  }
  // An array; what: for "expected ...".
  std::optional<FileValue> array(std::string_view part, const std::string& what);
  std::vector<FileValue> elements(std::string_view part, const std::string& what);
  // Calls read(value, &element) for an array of as many numbers as values has.
  template <typename Value, size_t size, typename Read>
  void numbers(std::string_view part, std::array<Value, size>* values, Read read) {
    const std::string what = "an array of " + std::to_string(size) + " numbers";
    const auto found = array(part, what);
    if (!found) return;
    size_t count = 0;
    for (const FileValue& element : found->elements()) {
      Value value{};
      read(element, &value);
      if (count < size) (*values)[count] = value;
      ++count;
    }
    if (count != size) found->expected(what);
  }

  // Calls read for a table, or for each of an array of tables.
  void table(std::string_view part, const Reader& read);
  void tables(std::string_view part, const Reader& read);

  // A file that the board file names: relative names stand beside it.
  std::filesystem::path beside(const std::string& file) const {
    return report_.path.parent_path() / file;
  }

  void problem(const std::string& text);

 private:
  std::string key(std::string_view part) const {
    return name_.empty() ? std::string(part) : name_ + "." + std::string(part);
  }
  void report_unknown();

  FileReport& report_;
  const toml::table& table_;
  const std::string name_;
  std::vector<std::string_view> known_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_FILE_TABLE_H
