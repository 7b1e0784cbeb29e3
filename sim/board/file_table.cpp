#include "board/file_table.h"

#include <algorithm>
#include <charconv>
#include <sstream>

#define TOML_EXCEPTIONS 1
#include <toml++/toml.h>

namespace zvgsim {

namespace {

// How many letters have to be changed, added or taken away to make b of a.
size_t distance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t i = 0; i <= b.size(); ++i) row[i] = i;
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = row[0]++;
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t above = row[j + 1];
      row[j + 1] = std::min({above + 1, row[j] + 1, diagonal + (a[i] == b[j] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

// What stands in the file, for "found ...".
std::string shown(const toml::node& node) {
  switch (node.type()) {
    case toml::node_type::table:
      return "a table";
    case toml::node_type::array:
      return "an array of " + std::to_string(node.as_array()->size());
    case toml::node_type::string:
      return "\"" + node.as_string()->get() + "\"";
    case toml::node_type::integer:
      return std::to_string(node.as_integer()->get());
    case toml::node_type::boolean:
      return node.as_boolean()->get() ? "true" : "false";
    case toml::node_type::floating_point: {
      std::ostringstream text;
      text << node.as_floating_point()->get();
      return text.str();
    }
    default:
      return "a date or time";
  }
}

// Limits read better in hex when they are round there.
std::string limit(uint64_t value) {
  return value > 99'999 ? hex(value) : std::to_string(value);
}

std::string range(double minimum, double maximum) {
  std::ostringstream text;
  text << minimum << " to " << maximum;
  return text.str();
}

}  // namespace

std::string hex(uint64_t value) {
  char digits[24];
  snprintf(digits, sizeof digits, "0x%llX", static_cast<unsigned long long>(value));
  return digits;
}

void FileReport::add(const toml::node& where, const std::string& key, const std::string& text) {
  problems.push_back(path.string() + ":" + std::to_string(where.source().begin.line) + ": " +
                     (key.empty() ? "" : key + ": ") + text);
}

// A value --------------------------------------------------------------------------------------

bool FileValue::whole(uint64_t* value, uint64_t minimum, uint64_t maximum) const {
  uint64_t number = 0;
  bool valid = false;
  if (const auto* integer = node_->as_integer()) {
    valid = integer->get() >= 0;
    number = static_cast<uint64_t>(integer->get());
  } else if (const auto* text = node_->as_string(); text != nullptr && maximum > INT64_MAX) {
    const std::string& digits = text->get();
    const char* const end = digits.data() + digits.size();
    valid = digits.starts_with("0x") && digits.size() > 2 &&
            std::from_chars(digits.data() + 2, end, number, 16).ptr == end;
  }
  if (!valid || number < minimum || number > maximum) {
    std::string what = "a number from " + limit(minimum) + " to " + limit(maximum);
    if (maximum > INT64_MAX) what += " (in quotes, as \"0x...\", from 0x8000000000000000 on)";
    expected(what);
    return false;
  }
  *value = number;
  return true;
}

bool FileValue::string(std::string* value, size_t maximum) const {
  const auto found = text();
  if (!found || found->size() > maximum) {
    expected(maximum == std::numeric_limits<size_t>::max()
                 ? std::string("a string")
                 : "a string of at most " + std::to_string(maximum) + " bytes");
    return false;
  }
  *value = *found;
  return true;
}

bool FileValue::signal(Signal* value) const {
  if (const auto steady = real()) {
    *value = {*steady};
    return true;
  }
  if (!node_->is_table()) {
    expected("a number, or { value = ..., swing = ..., period_s = ... }");
    return false;
  }
  constexpr double anything = 1e9;
  FileTable table(*report_, *node_->as_table(), key_);
  table.real("value", &value->value, -anything, anything);
  table.real("swing", &value->swing, 0, anything);
  table.real("period_s", &value->period_s, 0.001, anything);
  return true;
}

bool FileValue::signal(Signal* value, double minimum, double maximum) const {
  Signal found;
  if (!signal(&found)) return false;
  if (found.value - found.swing < minimum || found.value + found.swing > maximum) {
    std::ostringstream text;
    text << "expected numbers from " << range(minimum, maximum) << ", found "
         << found.value - found.swing;
    if (found.swing != 0) text << " to " << found.value + found.swing;
    problem(text.str());
    return false;
  }
  *value = found;
  return true;
}

std::optional<int64_t> FileValue::integer() const {
  const auto* const integer = node_->as_integer();
  return integer != nullptr ? std::optional(integer->get()) : std::nullopt;
}

std::optional<double> FileValue::real() const {
  return node_->value<double>();
}

std::optional<std::string_view> FileValue::text() const {
  return node_->value<std::string_view>();
}

bool FileValue::is_array() const {
  return node_->is_array();
}

std::vector<FileValue> FileValue::elements() const {
  std::vector<FileValue> elements;
  if (!node_->is_array()) return elements;
  for (const toml::node& element : *node_->as_array()) {
    elements.emplace_back(*report_, element, key_ + "[" + std::to_string(elements.size()) + "]");
  }
  return elements;
}

void FileValue::expected(const std::string& what) const {
  problem("expected " + what + ", found " + shown(*node_));
}

// A table --------------------------------------------------------------------------------------

bool FileTable::has(std::string_view part) const {
  return table_.contains(part);
}

std::optional<FileValue> FileTable::find(std::string_view part) {
  known_.push_back(part);
  const toml::node* const node = table_.get(part);
  if (node == nullptr) return std::nullopt;
  return FileValue(report_, *node, key(part));
}

bool FileTable::index(std::string_view part, unsigned* value, unsigned count) {
  if (number(part, value, 0, count - 1)) return true;
  if (!has(part)) {
    problem("expected a " + std::string(part) + " = 0 to " + std::to_string(count - 1));
  }
  return false;
}

bool FileTable::real(std::string_view part, double* value, double minimum, double maximum) {
  const auto found = find(part);
  if (!found) return false;
  const auto number = found->real();
  if (!number || *number < minimum || *number > maximum) {
    found->expected("a number from " + range(minimum, maximum));
    return false;
  }
  *value = *number;
  return true;
}

bool FileTable::signal(std::string_view part, Signal* value) {
  const auto found = find(part);
  return found && found->signal(value);
}

bool FileTable::signal(std::string_view part, Signal* value, double minimum, double maximum) {
  const auto found = find(part);
  return found && found->signal(value, minimum, maximum);
}

bool FileTable::boolean(std::string_view part, bool* value) {
  const auto found = find(part);
  if (!found) return false;
  const auto* const boolean = found->node_->as_boolean();
  if (boolean == nullptr) {
    found->expected("true or false");
    return false;
  }
  *value = boolean->get();
  return true;
}

bool FileTable::boolean(std::string_view part, std::optional<bool>* value) {
  bool found;
  if (!boolean(part, &found)) return false;
  *value = found;
  return true;
}

bool FileTable::text(std::string_view part, std::string* value, size_t maximum) {
  const auto found = find(part);
  return found && found->string(value, maximum);
}

std::optional<FileValue> FileTable::array(std::string_view part, const std::string& what) {
  const auto found = find(part);
  if (!found || found->is_array()) return found;
  found->expected(what);
  return std::nullopt;
}

std::vector<FileValue> FileTable::elements(std::string_view part, const std::string& what) {
  const auto found = array(part, what);
  return found ? found->elements() : std::vector<FileValue>();
}

void FileTable::table(std::string_view part, const Reader& read) {
  const auto found = find(part);
  if (!found) return;
  const toml::table* const inner = found->node_->as_table();
  if (inner == nullptr) {
    found->expected("a table, as [" + key(part) + "]");
    return;
  }
  FileTable table(report_, *inner, key(part));
  read(table);
}

void FileTable::tables(std::string_view part, const Reader& read) {
  const std::string header = "[[" + key(part) + "]]";
  for (const FileValue& element : elements(part, "an array of tables, as " + header)) {
    const toml::table* const inner = element.node_->as_table();
    if (inner == nullptr) {
      element.expected("a table, as " + header);
      continue;
    }
    FileTable table(report_, *inner, element.key_);
    read(table);
  }
}

void FileTable::problem(const std::string& text) {
  report_.add(table_, name_, text);
}

void FileTable::report_unknown() {
  for (const auto& [found, node] : table_) {
    const std::string_view name = found.str();
    if (std::find(known_.begin(), known_.end(), name) != known_.end()) continue;
    std::string text = "unknown key";
    const auto best = std::min_element(known_.begin(), known_.end(), [name](auto a, auto b) {
      return distance(name, a) < distance(name, b);
    });
    if (best != known_.end() && distance(name, *best) <= std::max<size_t>(1, best->size() / 2)) {
      text += "; did you mean '" + std::string(*best) + "'?";
    } else {
      text += "; known here:";
      for (const std::string_view one : known_) text.append(" ").append(one);
    }
    report_.problems.push_back(report_.path.string() + ":" +
                               std::to_string(found.source().begin.line) + ": " + key(name) + ": " +
                               text);
  }
}

}  // namespace zvgsim
