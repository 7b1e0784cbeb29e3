#include "service/files/work_folder.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "service/board/error.h"
#include "service/files/own_path.h"

namespace zvg {

namespace fs = std::filesystem;

WorkFolder::WorkFolder(const fs::path& parent) : before_(fs::current_path()) {
  expect_own_folders((fs::absolute(parent) / ".").string());
  std::string name = (fs::absolute(parent) / ".zvgctl-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw_error(ErrorKind::file, "cannot write in %s: %s", parent.c_str(), strerror(errno));
  }
  path_ = name;
  fs::current_path(path_);
}

WorkFolder::~WorkFolder() {
  std::error_code ignored;
  fs::current_path(before_, ignored);
  fs::remove_all(path_, ignored);
}

}  // namespace zvg
