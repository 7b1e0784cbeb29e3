// Plain storage that can be mapped a second time.
#ifndef ZVGSIM_BOARD_MEMORY_H
#define ZVGSIM_BOARD_MEMORY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace zvgsim {

// A memory file of fixed size, zero at first. Nothing is allocated before the first use, and then
// only the pages that were written to.
class Memory {
 public:
  Memory(std::string name, uint64_t size) : name_(std::move(name)), size_(size) {}
  ~Memory();
  Memory(const Memory&) = delete;
  Memory& operator=(const Memory&) = delete;

  uint64_t size() const { return size_; }

  // REQUIRES: offset + width <= size(); width is 1, 2, 4 or 8. Any alignment.
  uint64_t read(uint64_t offset, unsigned width);
  void write(uint64_t offset, unsigned width, uint64_t value);

  // Maps length bytes from offset on into the process once more, as mmap() does with protection
  // and flags. Returns MAP_FAILED with errno set on failure.
  void* map(void* address, size_t length, int protection, int flags, uint64_t offset);

 private:
  uint8_t* bytes() { return bytes_ != nullptr ? bytes_ : create(); }
  uint8_t* create();

  const std::string name_;
  const uint64_t size_;
  int fd_ = -1;
  uint8_t* bytes_ = nullptr;
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_MEMORY_H
