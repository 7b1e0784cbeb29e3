// How the report is written: coloured warnings and errors, and lines that a flag chooses.
#ifndef ZVG_EDID_REPORT_TEXT_H
#define ZVG_EDID_REPORT_TEXT_H

#include <stddef.h>
#include <stdio.h>

// The newline stands before the escape that ends the colour, so what follows starts a line.
#define EDID_WARNING(text) "\033[1;33m*WARN*" text "\n\033[0m"
#define EDID_ERROR(text) "\033[1;31m*ERROR*" text "\n\033[0m"

namespace zvg::edid {

// One line of the report for one flag.
struct FlagLine {
  bool flag;
  const char* set;
  const char* clear;  // null: nothing is printed
};

template <size_t n>
void print_flag_lines(const FlagLine (&lines)[n]) {
  for (const FlagLine& line : lines) {
    const char* const text = line.flag ? line.set : line.clear;
    if (text != nullptr) puts(text);
  }
}

// One word on a line that others share.
struct FlagWord {
  bool flag;
  const char* word;
};

template <size_t n>
void print_flag_words(const FlagWord (&words)[n]) {
  for (const FlagWord& word : words) {
    if (word.flag) fputs(word.word, stdout);
  }
}

}  // namespace zvg::edid

#endif  // ZVG_EDID_REPORT_TEXT_H
