// Makes the library's message catalogues from the tables of a training firmware's messages.
//
// usage: generate_catalogues HEADER SOURCE NAME=TABLE...
//
// A table has one header line, "id" and "format", and then a record a line: the identifier in eight
// hexadecimal digits, a tab, the printf format. Identifiers ascend, and their low byte is the
// number of arguments; a last record 00000000 may close the table. All arguments are 32-bit
// numbers. In a format, \n, \t and \\ are a newline, a tab and a backslash.
//
// HEADER gets the number of records of each table, SOURCE the arrays. What is wrong with a table is
// told with its file and line, all of it, and nothing is written then.
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "formats/training/message.h"
#include "util_zvg.h"

namespace {

constexpr std::string_view header_line = "id\tformat";
constexpr size_t id_digits = 8;
constexpr size_t longest_format = sizeof(zvg_ddr_message::format) - 1;

struct Record {
  uint32_t id;
  std::string format;
};

// One table being read.
class Table {
 public:
  Table(std::string name, std::string path) : name_(std::move(name)), path_(std::move(path)) {}

  // Returns whether the table is right. Says what is wrong with it.
  bool read() {
    std::ifstream file(path_, std::ios::binary);
    std::string line;
    if (!file) return complain("cannot be read");
    line_ = 1;
    if (!std::getline(file, line) || line != header_line) {
      complain("expected the header line \"id<tab>format\"");
    }
    while (std::getline(file, line)) {
      ++line_;
      read_record(line);
    }
    if (records_.empty() && good_) complain("there is no record");
    return good_;
  }

  const std::string& name() const { return name_; }
  const std::vector<Record>& records() const { return records_; }

 private:
  [[gnu::format(printf, 2, 3)]] bool complain(const char* text, ...) {
    fprintf(stderr, "%s:%u: ", path_.c_str(), line_);
    va_list arguments;
    va_start(arguments, text);
    vfprintf(stderr, text, arguments);
    va_end(arguments);
    fputc('\n', stderr);
    return good_ = false;
  }

  void read_record(std::string_view line) {
    const size_t tab = line.find('\t');
    uint32_t id = 0;
    const char* const end = line.data() + id_digits;
    if (tab != id_digits || std::from_chars(line.data(), end, id, 16).ptr != end) {
      complain("expected an identifier of eight hexadecimal digits, a tab and a format");
      return;
    }
    if (!records_.empty() && records_.back().id == 0) {
      complain("a record follows the closing record 00000000");
    } else if (!records_.empty() && id != 0 && id <= records_.back().id) {
      complain("the identifier is not greater than the one before");
    }
    Record record = {id, {}};
    if (!unescape(line.substr(tab + 1), &record.format)) return;
    if (record.format.size() > longest_format) {
      complain("the format has %zu bytes; %zu are the most", record.format.size(), longest_format);
    }
    check_arguments(record);
    records_.push_back(std::move(record));
  }

  bool unescape(std::string_view text, std::string* format) {
    for (size_t i = 0; i < text.size(); ++i) {
      const char c = text[i];
      if (c != '\\') {
        if (c < ' ' || c > '~') return complain("there is a byte in the format that is no text");
        format->push_back(c);
        continue;
      }
      const char escaped = ++i < text.size() ? text[i] : '\0';
      switch (escaped) {
        case 'n':
          format->push_back('\n');
          break;
        case 't':
          format->push_back('\t');
          break;
        case '\\':
          format->push_back('\\');
          break;
        default:
          return complain("a backslash is followed by none of n, t and \\");
      }
    }
    return true;
  }

  // Every conversion takes one number, and there are as many as the identifier says.
  void check_arguments(const Record& record) {
    const std::string_view format = record.format;
    unsigned conversions = 0;
    for (size_t at = 0; (at = format.find('%', at)) != std::string_view::npos;) {
      const size_t conversion =
          std::min(format.find_first_not_of("-+ #0123456789.", at + 1), format.size());
      const std::string_view text = format.substr(at, conversion + 1 - at);
      at = conversion + 1;
      if (text == "%%") continue;
      ++conversions;
      if (conversion == format.size() || strchr("diouxXc", format[conversion]) == nullptr) {
        complain("\"%.*s\" does not print a 32-bit number", static_cast<int>(text.size()),
                 text.data());
      }
    }
    const unsigned expected = zvg::formats::training::argument_count(record.id);
    if (conversions != expected) {
      complain("the format has %u conversions, the identifier says %u", conversions, expected);
    }
  }

  std::string name_;
  std::string path_;
  unsigned line_ = 0;
  bool good_ = true;
  std::vector<Record> records_;
};

void write_text(FILE* file, const std::string& text) {
  fputc('"', file);
  for (const char c : text) {
    switch (c) {
      case '\n':
        fputs("\\n", file);
        break;
      case '\t':
        fputs("\\t", file);
        break;
      case '"':
      case '\\':
        fputc('\\', file);
        [[fallthrough]];
      default:
        fputc(c, file);
    }
  }
  fputc('"', file);
}

bool write_file(const char* path, const std::vector<Table>& tables,
                void (*write)(FILE*, const std::vector<Table>&)) {
  FILE* const file = fopen(path, "w");
  if (file == nullptr) {
    perror(path);
    return false;
  }
  write(file, tables);
  const bool failed = ferror(file) != 0;
  if (fclose(file) == 0 && !failed) return true;
  perror(path);
  remove(path);
  return false;
}

void write_header(FILE* file, const std::vector<Table>& tables) {
  fputs(
      "// Generated: how many records each message catalogue has.\n#pragma once\n\n"
      "#include <stdint.h>\n\n",
      file);
  for (const Table& table : tables) {
    fprintf(file, "constexpr uint32_t %s_count = %zu;\n", table.name().c_str(),
            table.records().size());
  }
}

void write_source(FILE* file, const std::vector<Table>& tables) {
  fputs("// Generated: the message catalogues.\n#include \"util_zvg.h\"\n", file);
  for (const Table& table : tables) {
    fprintf(file, "\nconst zvg_ddr_message %s[%zu] = {\n", table.name().c_str(),
            table.records().size());
    for (const Record& record : table.records()) {
      fprintf(file, "    {0x%08X, ", record.id);
      write_text(file, record.format);
      fputs("},\n", file);
    }
    fputs("};\n", file);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    fprintf(stderr, "usage: generate_catalogues HEADER SOURCE NAME=TABLE...\n");
    return 2;
  }
  std::vector<Table> tables;
  bool good = true;
  for (int i = 3; i < argc; ++i) {
    const std::string_view word = argv[i];
    const size_t equals = word.find('=');
    if (equals == std::string_view::npos) {
      fprintf(stderr, "generate_catalogues: \"%s\" is no NAME=TABLE\n", argv[i]);
      return 2;
    }
    tables.emplace_back(std::string(word.substr(0, equals)), std::string(word.substr(equals + 1)));
    good = tables.back().read() && good;
  }
  if (!good) return 1;
  const bool written =
      write_file(argv[1], tables, write_header) && write_file(argv[2], tables, write_source);
  return written ? 0 : 1;
}
