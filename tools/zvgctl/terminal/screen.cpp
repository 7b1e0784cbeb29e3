#include "zvgctl/terminal/screen.h"

#include <curses.h>
#include <locale.h>
#include <term.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "service/text.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/interrupts.h"
#include "zvgctl/terminal/output.h"

// These two of its many macros stand in the way of names here.
#undef columns
#undef clear

namespace zvgctl {

namespace {

// Curses' colour pairs, one a look.
chtype attributes(Look look) {
  switch (look) {
    case Look::title:
      return A_BOLD;
    case Look::faint:
      return A_DIM;
    case Look::good:
    case Look::warning:
    case Look::bad:
      return static_cast<chtype>(COLOR_PAIR(static_cast<int>(look))) | A_BOLD;
    default:
      return A_NORMAL;
  }
}

// What a capability of the terminal sends; empty when it has none.
std::string capability(const char* text) {
  return text == nullptr || text == reinterpret_cast<char*>(-1) ? std::string() : std::string(text);
}

}  // namespace

Screen::Screen(const char* what) {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) {
    fail("%s needs a terminal to draw on", what);
  }
  setlocale(LC_CTYPE, "");
  // Unlike initscr(), this comes back from a terminal that it cannot use.
  SCREEN* const screen = newterm(nullptr, stdout, stdin);
  if (screen == nullptr) fail("%s cannot draw on this terminal: TERM is not known", what);
  restore_terminal_when_interrupted((capability(cursor_normal) + capability(exit_ca_mode)).c_str());
  cbreak();
  noecho();
  curs_set(0);
  keypad(stdscr, TRUE);
  if (use_colour(STDOUT_FILENO) && has_colors()) {
    start_color();
    use_default_colors();
    init_pair(static_cast<short>(Look::good), COLOR_GREEN, -1);
    init_pair(static_cast<short>(Look::warning), COLOR_YELLOW, -1);
    init_pair(static_cast<short>(Look::bad), COLOR_RED, -1);
  }
}

Screen::~Screen() {
  endwin();
  restore_terminal_when_interrupted(nullptr);
}

int Screen::rows() const {
  return getmaxy(stdscr);
}
int Screen::columns() const {
  return getmaxx(stdscr);
}

void Screen::clear() {
  werase(stdscr);
}

void Screen::put(int row, int column, std::string_view raw, Look look) {
  const std::string text = zvg::printable(raw);
  if (row < 0 || row >= rows() || column < 0 || column >= columns()) return;
  const chtype attribute = attributes(look);
  attron(attribute);
  // As many characters as there are columns; none of ours is wider than one.
  size_t size = 0;
  for (int room = columns() - column; size < text.size(); ++size) {
    const bool begins = (static_cast<unsigned char>(text[size]) & 0xC0) != 0x80;
    if (begins && room-- == 0) break;
  }
  mvaddnstr(row, column, text.c_str(), static_cast<int>(size));
  attroff(attribute);
}

void Screen::bar(int row, int column, int width, double part, Look look) {
  const char* const eighths[] = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  const double filled = std::clamp(part, 0.0, 1.0) * width;
  const int whole = static_cast<int>(filled);
  std::string text;
  for (int i = 0; i < whole; ++i) text += "█";
  text += eighths[static_cast<int>((filled - whole) * 8)];
  put(row, column, text, look);
}

void Screen::show() {
  refresh();
}

int Screen::wait_for_key(int milliseconds) {
  timeout(milliseconds);
  const int key = getch();
  return key == ERR || key == KEY_RESIZE ? 0 : key;
}

}  // namespace zvgctl
