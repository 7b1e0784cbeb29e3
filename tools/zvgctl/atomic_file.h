// A file that appears under its name only once it is complete.
#ifndef ZVGCTL_ATOMIC_FILE_H
#define ZVGCTL_ATOMIC_FILE_H

#include <cstddef>
#include <string>

namespace zvgctl {

class AtomicFile {
 public:
  // Begins a temporary file beside path. Throws a Failure when path exists and overwrite is not
  // set, or when nothing can be created there.
  AtomicFile(std::string path, bool overwrite);
  // Takes the temporary file away unless commit() was called.
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  // Both throw a Failure when the disk does not take it.
  void write(const void* bytes, size_t size);
  void commit();

 private:
  std::string path_;
  std::string temporary_;
  int fd_ = -1;
};

}  // namespace zvgctl

#endif  // ZVGCTL_ATOMIC_FILE_H
