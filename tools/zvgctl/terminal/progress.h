// How far a long transfer is, on standard error when that is a terminal.
#ifndef ZVGCTL_PROGRESS_H
#define ZVGCTL_PROGRESS_H

#include <chrono>
#include <cstdint>

namespace zvgctl {

class Progress {
 public:
  // what: the deed, such as "dumping". total: bytes.
  Progress(const char* what, uint64_t total);
  ~Progress();  // takes the line away
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Shows the bytes done and the rate, a few times a second at the most.
  void update(uint64_t done);

 private:
  const char* what_;
  uint64_t total_;
  bool shown_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point start_;
  std::chrono::steady_clock::time_point last_;
};

}  // namespace zvgctl

#endif  // ZVGCTL_PROGRESS_H
