// How a command ends when it cannot do what it was asked for.
#ifndef ZVGCTL_ERRORS_H
#define ZVGCTL_ERRORS_H

#include <string>

#include "service/board/error.h"

namespace zvgctl {

using namespace zvg;  // the tool is made of the service's words

// The exit status of the process.
enum class Exit { done = 0, failed = 1, usage = 2 };

// Ends the command, as every zvg::Error does; the message is printed after "zvgctl: " on standard
// error.
class Failure : public zvg::Error {
 public:
  Failure(Exit exit, std::string message)
      : Error(exit == Exit::usage ? zvg::ErrorKind::bad_argument : zvg::ErrorKind::bad_data,
              std::move(message)),
        exit_(exit) {}
  Exit exit() const { return exit_; }

 private:
  Exit exit_;
};

// Throws a Failure: the board, a file or the system did not do its part.
[[noreturn, gnu::format(printf, 1, 2)]] void fail(const char* pattern, ...);

// Throws a Failure: the command line makes no sense.
[[noreturn, gnu::format(printf, 1, 2)]] void usage_error(const char* pattern, ...);

// Prints "zvgctl: " and the text on standard error; in colour on a terminal.
void print_error(const std::string& message);
[[gnu::format(printf, 1, 2)]] void warn(const char* pattern, ...);

}  // namespace zvgctl

#endif  // ZVGCTL_ERRORS_H
