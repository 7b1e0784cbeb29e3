// A folder for files that the library names itself.
#ifndef ZVGCTL_WORK_FOLDER_H
#define ZVGCTL_WORK_FOLDER_H

#include <filesystem>

namespace zvgctl {

// The current folder while it lives, and gone with all that is in it afterwards.
class WorkFolder {
 public:
  // Throws a Failure when it cannot be made there.
  explicit WorkFolder(const std::filesystem::path& parent);
  ~WorkFolder();
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path before_;
  std::filesystem::path path_;
};

}  // namespace zvgctl

#endif  // ZVGCTL_WORK_FOLDER_H
