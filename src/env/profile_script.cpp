// Edits the profile script in place. It has one line "export NAME=VALUE" a setting, in the order in
// which they were first made, and nothing else: positions in it are computed from that form.
#include "env/profile_script.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "util_zvg.h"

namespace zvg::env {

namespace {

using std::string_view;

// What an assignment's line has beside it: "export " and the line feed.
constexpr size_t around_assignment = 7 + 1;

class File {
 public:
  explicit File(const char* mode) : file_(fopen(script_path, mode)) {}
  File(File&& other) noexcept : file_(std::exchange(other.file_, nullptr)) {}
  ~File() { close(); }

  bool is_open() const { return file_ != nullptr; }
  FILE* get() { return file_; }

  // What does not reach the file is said, but ends nothing.
  void write(string_view text) {
    if (fwrite(text.data(), 1, text.size(), file_) != text.size() || fflush(file_) != 0) {
      puts("file write error!");
    }
  }

  void close() {
    if (file_ != nullptr) fclose(file_);
    file_ = nullptr;
  }

 private:
  FILE* file_;
};

// Whether a file that was just to be opened was not for lack of memory, which is said then. That
// passes, and tells nothing about the script.
bool lacks_memory(const File& file) {
  if (file.is_open() || errno != ENOMEM) return false;
  fprintf(stderr, "%s was not opened: out of memory\n", script_path);
  return true;
}

// For changing the script. One that cannot be opened ends the process, since no setting can be
// made; but for lack of memory it is handed back closed.
File open_to_change(const char* mode) {
  File file(mode);
  if (!file.is_open() && !lacks_memory(file)) {
    printf("can't open file");
    exit(0);
  }
  return file;
}

void set_in_process(const char* name, const char* value) {
  if (setenv(name, value, 1) != 0) puts("set tmp env error!");
}

void reload_profile() {
  // Runs in a shell of its own, which ends with it. Whatever it answers, a login shell decides.
  [[maybe_unused]] const int status = system("source /etc/profile");
}

struct Match {
  string_view assignment;  // in the script
  string_view value;       // in it
  size_t value_position;   // counted from the lines before it
};

string_view value_of(string_view assignment) {
  const size_t equals = assignment.find('=');
  if (equals == string_view::npos) return {};
  const string_view value = assignment.substr(equals + 1);
  return value.substr(0, value.find(','));
}

// The first assignment that begins with a name.
std::optional<Match> find(string_view script, string_view name) {
  constexpr string_view separators = " \n\r\t";
  size_t length = 0;  // of the lines up to here, as their form has it
  bool is_assignment = false;
  for (size_t at = script.find_first_not_of(separators); at != string_view::npos;) {
    const size_t end = std::min(script.find_first_of(separators, at), script.size());
    const string_view word = script.substr(at, end - at);
    if (is_assignment) {
      length += word.size() + around_assignment;
      if (word.starts_with(name)) {
        const string_view value = value_of(word);
        return Match{word, value, length - value.size() - 1};
      }
    }
    is_assignment = !is_assignment;  // every other word is "export"
    at = script.find_first_not_of(separators, end);
  }
  return std::nullopt;
}

// What stands behind the line that a match ends.
string_view lines_after(string_view script, const Match& match) {
  const auto end = static_cast<size_t>(match.assignment.end() - script.begin());
  const size_t line_end = script.find('\n', end);
  return line_end == string_view::npos ? string_view() : script.substr(line_end + 1);
}

// How long the script gets by a setting.
size_t size_after(string_view script, const std::optional<Match>& match, string_view name,
                  string_view value) {
  if (!match) return script.size() + around_assignment + name.size() + 1 + value.size();
  const size_t position = match->value_position;
  if (match->value.size() == value.size()) return std::max(script.size(), position + value.size());
  return std::min(script.size(), position) + value.size() + 1 + lines_after(script, *match).size();
}

// A further line, which the script has room for.
void write_line(File& file, const char* name, const char* value) {
  char line[script_capacity];
  snprintf(line, sizeof line, "export %s=%s\n", name, value);
  file.write(line);
}

// Puts a value of another length in. The value's text gets its line feed in place, and the
// environment sees it there.
void rewrite(File& file, string_view script, const Match& match, char* value) {
  file.write(script.substr(0, match.value_position));
  strcat(value, "\n");
  file.write(value);
  const string_view after = lines_after(script, match);
  if (!after.empty()) file.write(after);
}

// Makes a setting in a script that is open for reading and writing. Returns whether it was made.
bool edit(File file, string_view script, const std::optional<Match>& match, const char* name,
          char* value) {
  if (script.empty()) {
    rewind(file.get());
    write_line(file, name, value);
    return true;
  }
  if (match && match->value.size() == strlen(value)) {
    fseek(file.get(), static_cast<long>(match->value_position), SEEK_SET);
    file.write(value);
    return true;
  }
  file.close();
  File again = open_to_change(match ? "w" : "a");
  if (!again.is_open()) return false;
  if (match) {
    rewrite(again, script, *match, value);
  } else {
    write_line(again, name, value);
  }
  return true;
}

// Empties the script, or creates it.
bool close_all() {
  File file = open_to_change("w");
  if (!file.is_open()) return false;
  puts("All function is close!");
  return true;
}

}  // namespace

bool set(const char* name, char* value) {
  if (strcmp(name, "0") == 0 && strcmp(value, "0") == 0) return close_all();
  File file = open_to_change("r+");
  if (!file.is_open()) return false;
  char content[script_capacity] = {};
  const string_view script(content, fread(content, 1, sizeof content, file.get()));
  const std::optional<Match> match = find(script, name);
  const bool too_long = script.size() == script_capacity;
  // A script that got too long could only be emptied from then on.
  if (too_long || size_after(script, match, name, value) >= script_capacity) {
    fprintf(stderr, "%s %s %zu bytes or more and was not changed\n", script_path,
            too_long ? "has" : "would have", script_capacity);
    return false;
  }
  if (!edit(std::move(file), script, match, name, value)) return false;
  set_in_process(name, value);
  reload_profile();
  return true;
}

bool list() {
  constexpr char em_dashes[] = "\u2014\u2014";
  File file("r");
  if (lacks_memory(file)) return false;
  char line[64];
  bool any = false;
  while (file.is_open() && fgets(line, sizeof line, file.get()) != nullptr) {
    if (!any) puts("The open function :");
    any = true;
    line[strcspn(line, "\r\n")] = '\0';
    char* rest = nullptr;
    strtok_r(line, " ", &rest);     // "export"
    strtok_r(nullptr, "_", &rest);  // the family of the variable
    const char* const setting = strtok_r(nullptr, "_", &rest);
    if (setting == nullptr) continue;  // not one of these settings
    printf("+%s %s", em_dashes, setting);
    if (strcmp(setting, "MGPU") == 0) {
      strtok_r(nullptr, "=", &rest);
      const char* const value = rest;
      if (strcmp(value, "0") == 0) {
        printf(" %s COMBINED", em_dashes);
      } else if (strcmp(value, "B") == 0) {
        printf(" %s BALANCE", em_dashes);
      } else {
        printf(" %s INDEPENDENT for ", em_dashes);
        if (strlen(value) > 2) putchar(value[2]);  // the core after "1:"
      }
    }
    putchar('\n');
  }
  if (!any) puts("No function is open");
  return true;
}

}  // namespace zvg::env

int zvgEnvSet(const char* name, char* value) {
  zvg::env::set(name, value);
  return 0;
}
