// How the service's long work is followed from a terminal: progress on standard error, remarks as
// warnings, and Ctrl-C as its cancellation.
#ifndef ZVGCTL_TERMINAL_WORK_H
#define ZVGCTL_TERMINAL_WORK_H

#include <memory>
#include <string>

#include "service/work.h"
#include "zvgctl/errors.h"
#include "zvgctl/terminal/interrupts.h"
#include "zvgctl/terminal/progress.h"

namespace zvgctl {

class TerminalWork {
 public:
  const zvg::Work& work() const { return work_; }

 private:
  void show(const char* phase, uint64_t done, uint64_t total);

  std::string phase_;
  std::unique_ptr<Progress> progress_;
  const InterruptNotice interrupt_;
  const zvg::Work work_ = {
      .progress = [this](const char* phase, uint64_t done,
                         uint64_t total) { show(phase, done, total); },
      .cancelled = InterruptNotice::came,
      .note = [](const std::string& remark) { warn("%s", remark.c_str()); },
  };
};

}  // namespace zvgctl

#endif  // ZVGCTL_TERMINAL_WORK_H
