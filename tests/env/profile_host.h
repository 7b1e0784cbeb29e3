// The host as the profile script's editor sees it: the script in a folder of the test's own.
#ifndef TESTS_ENV_PROFILE_HOST_H
#define TESTS_ENV_PROFILE_HOST_H

#include <string>
#include <vector>

#include "support/scratch.h"

namespace zvgtest {

// While it lives, the profile script is the file "script" in a scratch folder, shell commands are
// only written down, and these calls are, in order:
//   "fopen r+"             of the script
//   "setenv NAME=VALUE"
//   "system COMMAND" and then the script's content at that time
class ProfileHost {
 public:
  ProfileHost();
  ~ProfileHost();
  ProfileHost(const ProfileHost&) = delete;
  ProfileHost& operator=(const ProfileHost&) = delete;

  void write_script(const std::string& content) { scratch_.file("script", content); }
  std::string script() const { return scratch_.read("script"); }
  std::vector<std::string> take();

  // When set, nothing is written down, and nothing allocated for it.
  bool quiet = false;
  bool writes_fail = false;
  bool setenv_fails = false;

  std::vector<std::string> log;

 private:
  Scratch scratch_;
};

}  // namespace zvgtest

#endif  // TESTS_ENV_PROFILE_HOST_H
