#include "support/scratch.h"

#include <stdlib.h>

#include <fstream>
#include <iterator>

namespace zvgtest {

namespace fs = std::filesystem;

Scratch::Scratch() : before_(fs::current_path()) {
  std::string name = (fs::temp_directory_path() / "zvg_test_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) abort();
  folder_ = name;
  fs::current_path(folder_);
}

Scratch::~Scratch() {
  std::error_code ignored;
  fs::current_path(before_, ignored);
  fs::remove_all(folder_, ignored);
}

std::string Scratch::file(const std::string& name, const std::string& content) const {
  const fs::path path = folder_ / name;
  std::ofstream(path, std::ios::binary) << content;
  return path.string();
}

std::string Scratch::read(const std::string& name) const {
  std::ifstream stream(folder_ / name, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace zvgtest
