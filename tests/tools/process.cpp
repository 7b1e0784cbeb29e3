#include "tools/process.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace zvgtest {

namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
  Pipe() {
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  }
  std::array<int, 2> ends{};
};

// Appends what there is to read; closes the descriptor at its end.
void drain(int& fd, std::string& text) {
  char buffer[65536];
  const ssize_t size = read(fd, buffer, sizeof buffer);
  if (size > 0) {
    text.append(buffer, static_cast<size_t>(size));
  } else {
    close(fd);
    fd = -1;
  }
}

}  // namespace

Process::Process(const std::vector<std::string>& words, const Setting& setting)
    : setting_(setting), start_(Clock::now()) {
  const Pipe in;
  const Pipe out;
  const Pipe err;
  std::vector<char*> argv;
  for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("no process");
  if (pid_ == 0) {
    if (setting.terminal.empty()) {
      dup2(in.ends[0], STDIN_FILENO);
    } else {
      dup2(open(setting.terminal.c_str(), O_RDWR | O_NOCTTY), STDIN_FILENO);
    }
    dup2(out.ends[1], STDOUT_FILENO);
    dup2(err.ends[1], STDERR_FILENO);
    for (const auto& [name, value] : setting.environment) setenv(name.c_str(), value.c_str(), 1);
    if (setting.powerless) {
      prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
      prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
    }
    if (setting.user != 0 && (setgid(setting.user) != 0 || setuid(setting.user) != 0)) _exit(126);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(in.ends[0]);
  close(out.ends[1]);
  close(err.ends[1]);
  out_ = out.ends[0];
  err_ = err.ends[0];
  // Inputs are a few characters: they fit the pipe.
  if (!setting.input.empty() && write(in.ends[1], setting.input.data(), setting.input.size()) < 0) {
    throw std::runtime_error("no input");
  }
  close(in.ends[1]);
}

Process::~Process() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  if (out_ >= 0) close(out_);
  if (err_ >= 0) close(err_);
}

void Process::send(int signal) {
  kill(pid_, signal);
}

bool Process::collect(int timeout_ms) {
  std::array<pollfd, 2> streams = {{{out_, POLLIN, 0}, {err_, POLLIN, 0}}};
  if (poll(streams.data(), streams.size(), timeout_ms) > 0) {
    if (streams[0].revents != 0) drain(out_, result_.out);
    if (streams[1].revents != 0) drain(err_, result_.err);
  }
  return out_ >= 0 || err_ >= 0;
}

bool Process::wait_for_output(const std::string& text) {
  const auto end = start_ + setting_.patience;
  while (result_.out.find(text) == std::string::npos) {
    if (Clock::now() >= end || !collect(50)) return result_.out.find(text) != std::string::npos;
  }
  return true;
}

Result Process::finish() {
  const auto end = start_ + setting_.patience;
  while (collect(50)) {
    if (Clock::now() >= end) kill(pid_, SIGKILL);
  }
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  result_.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result_.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  result_.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  return result_;
}

Result run(const std::vector<std::string>& words, const Setting& setting) {
  return Process(words, setting).finish();
}

}  // namespace zvgtest
