// A folder of a test's own, which is the current one while the object lives.
#ifndef TESTS_SUPPORT_SCRATCH_H
#define TESTS_SUPPORT_SCRATCH_H

#include <filesystem>
#include <string>

namespace zvgtest {

class Scratch {
 public:
  Scratch();
  ~Scratch();
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  // The path of a file in the folder, whether it is there or not.
  std::string path(const std::string& name) const { return (folder_ / name).string(); }
  // Writes a file into the folder and returns its path.
  std::string file(const std::string& name, const std::string& content) const;
  // The content of a file in the folder; empty when there is none.
  std::string read(const std::string& name) const;

 private:
  std::filesystem::path folder_;
  std::filesystem::path before_;
};

}  // namespace zvgtest

#endif  // TESTS_SUPPORT_SCRATCH_H
