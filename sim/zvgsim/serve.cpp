#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <stdexcept>

#include "doors/pty_server.h"
#include "machine/machine.h"
#include "zvgsim/commands.h"
#include "zvgsim/layout.h"

namespace zvgsim {

namespace fs = std::filesystem;

namespace {

std::atomic<bool> stop{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void on_signal(int) {
  stop = true;
}

// A symbolic link to the pseudo-terminal, while the object lives.
class Link {
 public:
  Link(const std::string& target, const std::string& path) : path_(path) {
    if (path_.empty()) return;
    std::error_code error;
    // What an earlier server left behind when it was killed leads nowhere.
    if (fs::is_symlink(path_, error) && !fs::exists(path_, error)) fs::remove(path_, error);
    if (symlink(target.c_str(), path_.c_str()) != 0) {
      const std::string reason = strerror(errno);
      throw std::runtime_error("cannot make the link " + path_ + ": " + reason);
    }
  }
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;
  ~Link() {
    if (!path_.empty()) unlink(path_.c_str());
  }

 private:
  const std::string path_;
};

}  // namespace

int serve(const ServeOptions& options) {
  Machine machine(load_board_file(find_board(options.board)), VirtualClock::Mode::real_time);
  PtyServer server(machine);
  struct sigaction action = {};
  action.sa_handler = on_signal;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
  const Link link(server.path(), options.link);
  printf("%s\n", server.path().c_str());
  if (fflush(stdout) != 0) throw std::runtime_error("cannot print the device's path");
  std::optional<uint64_t> limit;
  if (options.seconds) limit = static_cast<uint64_t>(*options.seconds * 1e9);
  server.run(stop, limit);
  return exit_done;
}

}  // namespace zvgsim
