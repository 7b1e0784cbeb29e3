// What a call prints, stream by stream.
#ifndef TESTS_SUPPORT_CAPTURE_H
#define TESTS_SUPPORT_CAPTURE_H

#include <functional>
#include <string>

namespace zvgtest {

struct Output {
  std::string out;  // standard output, byte for byte
  std::string err;  // standard error
};

// Runs the call with both streams redirected at the descriptor, so that stdio, puts and write are
// all seen.
Output capture(const std::function<void()>& call);

}  // namespace zvgtest

#endif  // TESTS_SUPPORT_CAPTURE_H
