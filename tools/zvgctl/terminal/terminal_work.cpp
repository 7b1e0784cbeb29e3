#include "zvgctl/terminal/terminal_work.h"

namespace zvgctl {

void TerminalWork::show(const char* phase, uint64_t done, uint64_t total) {
  if (!progress_ || phase_ != phase) {
    progress_.reset();  // takes the line of the phase before away
    phase_ = phase;
    progress_ = std::make_unique<Progress>(phase_.c_str(), total);
  }
  progress_->update(done);
  if (done >= total) progress_.reset();
}

}  // namespace zvgctl
