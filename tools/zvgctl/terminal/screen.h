// The terminal as a full-screen view that is drawn anew every so often.
#ifndef ZVGCTL_SCREEN_H
#define ZVGCTL_SCREEN_H

#include <string_view>

namespace zvgctl {

enum class Look { plain, title, faint, good, warning, bad };

// Takes the terminal over while it lives; it comes back as it was, also when a signal or the
// deadline ends the process.
class Screen {
 public:
  // Throws a Failure when standard input or output is no terminal. what: the command, for the text.
  explicit Screen(const char* what);
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  int rows() const;
  int columns() const;

  // Draws into what show() then shows. Text (UTF-8) ends at the edge; rows below the last are
  // dropped. bar() fills a part, 0 to 1, of so many columns.
  void clear();
  void put(int row, int column, std::string_view text, Look look = Look::plain);
  void bar(int row, int column, int width, double part, Look look = Look::plain);
  void show();

  // The key that was pressed within that time, or 0. A new size of the window ends the wait.
  int wait_for_key(int milliseconds);
};

}  // namespace zvgctl

#endif  // ZVGCTL_SCREEN_H
