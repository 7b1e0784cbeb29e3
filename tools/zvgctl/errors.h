// How a command ends when it cannot do what it was asked for.
#ifndef ZVGCTL_ERRORS_H
#define ZVGCTL_ERRORS_H

#include <exception>
#include <string>

namespace zvgctl {

// The exit status of the process.
enum class Exit { done = 0, failed = 1, usage = 2 };

// Ends the command; main() prints the message after "zvgctl: " on standard error.
class Failure : public std::exception {
 public:
  Failure(Exit exit, std::string message) : exit_(exit), message_(std::move(message)) {}
  Exit exit() const { return exit_; }
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  Exit exit_;
  std::string message_;
};

// The text that printf would print.
[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...);

// Throws a Failure: the board, a file or the system did not do its part.
[[noreturn, gnu::format(printf, 1, 2)]] void fail(const char* pattern, ...);

// Throws a Failure: the command line makes no sense.
[[noreturn, gnu::format(printf, 1, 2)]] void usage_error(const char* pattern, ...);

// Prints "zvgctl: " and the text on standard error; in colour on a terminal.
void print_error(const std::string& message);
[[gnu::format(printf, 1, 2)]] void warn(const char* pattern, ...);

}  // namespace zvgctl

#endif  // ZVGCTL_ERRORS_H
