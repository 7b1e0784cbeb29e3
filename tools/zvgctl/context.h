// What the command line said, and what the chosen command wants done.
#ifndef ZVGCTL_CONTEXT_H
#define ZVGCTL_CONTEXT_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "service/registers/access_log.h"
#include "service/registers/recorder.h"
#include "zvgctl/connection_options.h"
#include "zvgctl/terminal/output_file.h"

namespace zvgctl {

struct Context {
  ConnectionText connection;
  bool json = false;
  bool csv = false;  // of a command that prints a table
  bool yes = false;
  std::string record;    // the file to record into; empty for none
  std::string log;       // the file to log accesses in; empty for none
  std::string deadline;  // seconds; empty for the command's own default
  std::string wait;      // seconds; empty for none
  bool dead_ok = false;  // a board that reads as ones is worth a warning only
  // The command shows what it reads, and a board that is dead, too.
  bool shows_dead = false;
  bool only_reads = false;  // the command changes nothing

  // The command line without --sim, to run it again on the virtual board.
  std::vector<std::string> arguments_without_sim;

  // What --log asks for; null for none.
  std::unique_ptr<zvg::AccessLog> access_log;
  // What --record asks for; null for none.
  std::unique_ptr<OutputFile> recording;
  std::unique_ptr<zvg::Recorder> recorder;

  // Who carries the board's calls; null for the C library.
  zvg::seam::Transport* transport() const {
    if (recorder) return recorder.get();
    return access_log.get();
  }

  // Set by the command that was named. Runs after the whole command line was understood; throws a
  // Failure when it cannot do its work.
  std::function<void()> action;
};

}  // namespace zvgctl

#endif  // ZVGCTL_CONTEXT_H
