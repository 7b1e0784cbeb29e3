#include "sim/zvgsim/program.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

namespace zvgsim {

namespace {

int status_of(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int wait_for(int pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return status_of(status);
}

// Starts a program with its output in pipes. err < 0 leaves standard error alone.
int start(const std::vector<std::string>& words, const std::vector<std::string>& variables, int out,
          int err) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const int pid = fork();
  if (pid < 0) abort();
  if (pid != 0) return pid;
  dup2(out, STDOUT_FILENO);
  if (err >= 0) dup2(err, STDERR_FILENO);
  for (const std::string& variable : variables) putenv(const_cast<char*>(variable.c_str()));
  execv(arguments[0], arguments.data());
  _exit(126);
}

}  // namespace

Finished run_program(const std::vector<std::string>& words,
                     const std::vector<std::string>& variables) {
  int out[2], err[2];
  if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) abort();
  const int pid = start(words, variables, out[1], err[1]);
  close(out[1]);
  close(err[1]);
  Finished finished;
  std::array<pollfd, 2> ends = {{{out[0], POLLIN, 0}, {err[0], POLLIN, 0}}};
  std::string* const texts[] = {&finished.out, &finished.err};
  for (int open_ends = 2; open_ends > 0;) {
    if (poll(ends.data(), ends.size(), -1) < 0 && errno != EINTR) abort();
    for (size_t i = 0; i < ends.size(); ++i) {
      if (ends[i].fd < 0 || ends[i].revents == 0) continue;
      char buffer[4096];
      const ssize_t size = read(ends[i].fd, buffer, sizeof buffer);
      if (size > 0) {
        texts[i]->append(buffer, static_cast<size_t>(size));
      } else {
        ends[i].fd = -1;
        --open_ends;
      }
    }
  }
  close(out[0]);
  close(err[0]);
  finished.status = wait_for(pid);
  return finished;
}

Running::Running(const std::vector<std::string>& words) {
  int out[2];
  if (pipe2(out, O_CLOEXEC) != 0) abort();
  pid_ = start(words, {}, out[1], -1);
  close(out[1]);
  out_ = out[0];
}

Running::~Running() {
  if (pid_ > 0) stop(SIGKILL);
  close(out_);
}

std::string Running::line() {
  std::string line;
  char letter;
  while (read(out_, &letter, 1) == 1 && letter != '\n') line += letter;
  return line;
}

int Running::stop(int signal) {
  kill(pid_, signal);
  return wait();
}

int Running::wait() {
  const int status = wait_for(pid_);
  pid_ = -1;
  return status;
}

}  // namespace zvgsim
