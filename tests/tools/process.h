// A program that runs as a process of its own, and all that comes out of it.
#ifndef TESTS_TOOLS_PROCESS_H
#define TESTS_TOOLS_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace zvgtest {

struct Result {
  int exit = -1;    // exit status; -1 when a signal ended it
  int signal = 0;   // that signal; SIGKILL also when it did not end in time
  std::string out;  // standard output, byte for byte
  std::string err;  // standard error
  double seconds = 0;
};

struct Setting {
  std::vector<std::pair<std::string, std::string>> environment = {};  // added to this process's own
  std::string input = {};                                             // standard input
  std::chrono::seconds patience{60};                                  // until it is killed
  bool powerless = false;     // even as root, may not read what its mode forbids
  std::string terminal = {};  // a terminal's path for standard input instead
  uid_t user = 0;             // whom root runs it as
};

class Process {
 public:
  Process(const std::vector<std::string>& words, const Setting& setting = {});
  ~Process();  // kills it if it still runs
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t pid() const { return pid_; }
  void send(int signal);
  // Collects output until standard output holds the text; false when it ends or time is up before.
  bool wait_for_output(const std::string& text);
  // What came on standard output so far.
  const std::string& output() const { return result_.out; }
  Result finish();

 private:
  bool collect(int timeout_ms);  // false once both streams have ended

  Setting setting_;
  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
  Result result_;
  std::chrono::steady_clock::time_point start_;
};

Result run(const std::vector<std::string>& words, const Setting& setting = {});

}  // namespace zvgtest

#endif  // TESTS_TOOLS_PROCESS_H
