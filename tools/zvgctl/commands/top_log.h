// The file that 'top' logs its samples into.
#ifndef ZVGCTL_TOP_LOG_H
#define ZVGCTL_TOP_LOG_H

#include <cstdio>
#include <string>

#include "service/station/board_sample.h"

namespace zvgctl {

enum class ExistingLog { keep, append, replace };

class TopLog {
 public:
  // path: empty for no log, "-" for standard output. Throws a Failure when the file cannot be
  // written, or exists and is to stay.
  TopLog(const std::string& path, ExistingLog existing);
  ~TopLog();
  TopLog(const TopLog&) = delete;
  TopLog& operator=(const TopLog&) = delete;

  // At once, so that nothing is lost with the power. Throws a Failure when it does not get there.
  void write(const zvg::BoardSample& sample);

 private:
  std::string path_;
  FILE* file_ = nullptr;
  std::string header_;  // the last that is in the file
};

}  // namespace zvgctl

#endif  // ZVGCTL_TOP_LOG_H
