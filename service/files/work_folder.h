// A folder for files that the library names itself.
#ifndef ZVG_SERVICE_FILES_WORK_FOLDER_H
#define ZVG_SERVICE_FILES_WORK_FOLDER_H

#include <filesystem>

namespace zvg {

// The current folder while it lives, and gone with all that is in it afterwards.
class WorkFolder {
 public:
  // Throws an Error when it cannot be made there.
  explicit WorkFolder(const std::filesystem::path& parent);
  ~WorkFolder();
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path before_;
  std::filesystem::path path_;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_FILES_WORK_FOLDER_H
