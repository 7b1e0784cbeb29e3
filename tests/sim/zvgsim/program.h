// The built program as a real process.
#ifndef TESTS_SIM_ZVGSIM_PROGRAM_H
#define TESTS_SIM_ZVGSIM_PROGRAM_H

#include <string>
#include <vector>

namespace zvgsim {

struct Finished {
  int status;  // exit status; 128 + the signal that ended it
  std::string out;
  std::string err;
};

// Runs a program to its end. Variables are "NAME=value", added to this process's environment.
Finished run_program(const std::vector<std::string>& words,
                     const std::vector<std::string>& variables = {});

// A program that goes on while the test talks to it.
class Running {
 public:
  explicit Running(const std::vector<std::string>& words);
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;
  ~Running();  // kills it when it is still there

  // The next line that it prints, without its newline; empty when it ended.
  std::string line();
  // Sends a signal and returns the exit status.
  int stop(int signal);
  // Waits for its end.
  int wait();

 private:
  int pid_ = -1;
  int out_ = -1;
};

}  // namespace zvgsim

#endif  // TESTS_SIM_ZVGSIM_PROGRAM_H
