// The text files of register lines: what all of their runners read in the same way.
#ifndef ZVG_SCRIPT_SCRIPT_FILE_H
#define ZVG_SCRIPT_SCRIPT_FILE_H

#include <stdint.h>
#include <stdio.h>

#include "formats/script/line.h"

namespace zvg::script {

using formats::script::block_file_format;
using formats::script::BlockLine;
using formats::script::Format;
using formats::script::line_buffer_size;
using formats::script::script_format;
using formats::script::ScriptLine;

// What is left of a line for its runner.
enum class Line {
  nothing,  // skipped, or carried out by the reader: a delay or an echo
  header,
  registers
};

// A file that is being run, line by line.
class ScriptFile {
 public:
  explicit ScriptFile(const Format& format) : format_(format) {}
  ScriptFile(const ScriptFile&) = delete;
  ScriptFile& operator=(const ScriptFile&) = delete;
  ~ScriptFile() { close(); }

  // Returns 0, or -errno with the reason on standard error.
  int open(const char* path);

  // Reads the next line and carries out what is common to the formats. False at the end.
  bool next(Line* line);

  char* text() { return text_; }
  int number() const { return number_; }

  void close();
  // Lets go of the file without closing it.
  void abandon();

 private:
  Format format_;
  FILE* file_ = nullptr;
  int number_ = 0;
  char text_[line_buffer_size] = {};
};

// Whether a value read is the expected one, in the bits of the line's mask.
inline bool matches(const ScriptLine& line, uint32_t value) {
  return ((value ^ line.value) & line.mask) == 0;
}

// Messages that the script runners share. number: of the line.
void report_bad_operation(const ScriptFile& file, const char* text);
void report_failed_write(int number, unsigned long address, uint32_t value);
void report_failed_read(int number, unsigned long address);

}  // namespace zvg::script

#endif  // ZVG_SCRIPT_SCRIPT_FILE_H
