// A file without a name, for functions of the library that take a path.
#ifndef ZVG_SERVICE_FILES_MEMORY_FILE_H
#define ZVG_SERVICE_FILES_MEMORY_FILE_H

#include <cstddef>
#include <string>

namespace zvg {

// There while it lives. All throw an Error when the system has no room for it.
class MemoryFile {
 public:
  MemoryFile();
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  const char* path() const { return path_.c_str(); }
  // From its beginning on.
  void put(const void* bytes, size_t size);

 private:
  int fd_;
  std::string path_;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_FILES_MEMORY_FILE_H
