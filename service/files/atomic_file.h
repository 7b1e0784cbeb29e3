// A file that appears under its name only once it is complete.
#ifndef ZVG_SERVICE_FILES_ATOMIC_FILE_H
#define ZVG_SERVICE_FILES_ATOMIC_FILE_H

#include <cstddef>
#include <string>

namespace zvg {

class AtomicFile {
 public:
  // Begins a temporary file beside path. Throws an Error when path exists and overwrite is not
  // set, or when nothing can be created there.
  //
  // stream: a descriptor that gets the bytes as they come, instead of a file; path is its name
  // then. -1 for none. Becomes this object's.
  // or_else: what helps besides another name, for that Error.
  AtomicFile(std::string path, bool overwrite, int stream = -1, const char* or_else = "");
  // Takes the temporary file away unless commit() was called.
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  // The file that is there while it is not complete; empty for a stream.
  const std::string& temporary() const { return temporary_; }

  // Both throw an Error when the disk does not take it.
  void write(const void* bytes, size_t size);
  void commit();

 private:
  std::string path_;
  std::string temporary_;
  int fd_ = -1;
};

}  // namespace zvg

#endif  // ZVG_SERVICE_FILES_ATOMIC_FILE_H
