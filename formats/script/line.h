// What a line of a register file says, before anything is done about it.
#ifndef ZVG_FORMATS_SCRIPT_LINE_H
#define ZVG_FORMATS_SCRIPT_LINE_H

#include <stddef.h>
#include <stdint.h>

namespace zvg::formats::script {

// The buffer that lines are read into. A longer line comes in pieces, each of which counts as one.
constexpr size_t line_buffer_size = 1024;

// How the file formats differ in their common lines.
struct Format {
  bool headers;  // '#' begins a header, not a comment
  bool echo;     // there are echo lines
};

constexpr Format script_format = {.headers = false, .echo = true};
constexpr Format block_file_format = {.headers = true, .echo = false};

// What a line is.
enum class LineKind {
  skipped,   // a comment or a blank line
  header,    // begins with '#', in the files whose headers are shown
  delay,     // "ssleep", "msleep" or "usleep" and a number
  echo,      // "echo" and a text
  registers  // anything else: a register line
};

// text: a line as it was read, at most line_buffer_size bytes with its newline and its NUL.
LineKind classify(const Format& format, const char* text);

constexpr size_t delay_word_length = 6;

// The wait that a delay line asks for: a number of seconds, milliseconds or microseconds.
struct Delay {
  char unit;  // 's', 'm' or 'u', the word's first letter
  int count;  // the number that follows the word; 0 when something else does
};
// text: a delay line.
Delay parse_delay(const char* text);

// What an echo line prints, a place in its text: everything after the word, its blank and the
// newline included.
const char* echo_text(const char* text);

// A register line of a script. Fields that a line does not have keep the values of the one before.
struct ScriptLine {
  static constexpr int field_count = 5;

  unsigned long address = 0;
  uint32_t value = 0;
  char operation = 0;
  uint32_t mask = 0;
  int width = 0;  // bits

  // Returns how many fields the line has.
  int parse(const char* text);
};

// A line of a check file, or of a read file, which has no last field. What a line does not have
// stays as it was.
struct BlockLine {
  static constexpr int check_field_count = 5;
  static constexpr int read_field_count = 4;

  unsigned long address = 0;
  char name[line_buffer_size] = {};  // operation letter, block letter, channel digit
  uint32_t third = 0;                // the mask of a check, nothing in a read file
  int width = 0;                     // bits
  uint32_t value = 0;                // expected or written

  // Returns how many fields the line has.
  int parse(const char* text);
  // What the third character of the name says, digit or not.
  unsigned channel() const { return static_cast<unsigned>(name[2] - '0'); }
};

}  // namespace zvg::formats::script

#endif  // ZVG_FORMATS_SCRIPT_LINE_H
